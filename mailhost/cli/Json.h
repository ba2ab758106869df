#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mailhost {

// Just enough JSON for the command line's listings: objects and arrays written in
// order, strings escaped, one value per call.
class Json {
public:
    Json& beginObject();
    Json& endObject();
    Json& beginArray();
    Json& endArray();
    Json& key(std::string_view name);
    Json& value(std::string_view text);
    Json& value(const char* text) { return value(std::string_view(text)); }
    Json& value(std::int64_t number);
    Json& value(std::uint64_t number);
    Json& value(bool flag);

    const std::string& str() const { return out_; }
    static std::string escape(std::string_view text);

private:
    void separate();
    std::string out_;
    bool needComma_ = false;
};

} // namespace mailhost
