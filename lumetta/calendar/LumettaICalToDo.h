#pragma once

#include <string>

namespace lumetta {

// The calendar client's handle on one to-do item, by its unique identifier. The
// tag store uses it to point a linked to-do at its message file whenever the host
// writes that file; talking to the calendar application comes with the calendar
// client, and until then pointing a to-do somewhere is only traced.
class LumettaICalToDo {
public:
    explicit LumettaICalToDo(std::string uid) : uid_(std::move(uid)) {}

    const std::string& uid() const { return uid_; }
    void setURL(const std::string& url);

private:
    std::string uid_;
};

} // namespace lumetta
