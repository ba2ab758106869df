#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"
#include "platform/foundation/StringsTable.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform::runtime {

class Class;

// A bundle on disk: `<Name>.<ext>/Contents/` with `Info.plist`, the loadable module
// under `Linux/` and `Resources/`. Classes know the bundle that defined them, so code
// can find its own resources and version.
class Bundle {
public:
    static Result<std::unique_ptr<Bundle>> open(const std::filesystem::path& path);

    const std::filesystem::path& path() const { return path_; }
    const Dictionary& infoDictionary() const { return info_; }
    std::string bundleIdentifier() const;
    std::string version() const; // CFBundleVersion
    std::filesystem::path resourcePath() const { return path_ / "Contents" / "Resources"; }
    // Contents/Linux/<CFBundleExecutable>.so
    std::filesystem::path executablePath() const;
    // `Resources/<name>.<ext>` or `Resources/English.lproj/<name>.<ext>`, if it exists.
    std::optional<std::filesystem::path> pathForResource(std::string_view name, std::string_view ext) const;
    // The text for `key` in the strings table `table` (".strings" in the resources),
    // or `fallback`.
    std::string localizedString(std::string_view key, std::string_view fallback,
                                std::string_view table) const;

    // Which bundle defined a class; nullptr for the host's own classes.
    static Bundle* bundleForClass(const Class* cls);
    static void setBundleForClass(const Class* cls, Bundle* bundle);

private:
    Bundle(std::filesystem::path path, Dictionary info) : path_(std::move(path)), info_(std::move(info)) {}

    std::filesystem::path path_;
    Dictionary info_;
    mutable std::map<std::string, StringsTable, std::less<>> tables_;
};

} // namespace platform::runtime
