#pragma once

#include "platform/foundation/Result.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace calendarapp {

// An item file as content lines, for changing a few properties of its to-do while every
// other byte stays as the file had it: properties and components the store does not
// know, their order, their folding and the file's line ends. A line that is not changed
// is written back exactly as read; values are unfolded only to be looked at.
class ContentLines {
public:
    // Finds the to-do: the first VTODO directly inside the VCALENDAR that does not
    // override one occurrence of a repeating to-do (no RECURRENCE-ID). Fails when BEGIN
    // and END lines do not pair up or there is no such to-do.
    static platform::Result<ContentLines> parse(std::string_view text);

    std::string text() const;

    // The first value of a property of the to-do itself (not of its alarms), unfolded
    // and still escaped. Names compare ignoring case, here and below.
    std::optional<std::string> value(std::string_view name) const;

    // Puts `lines` (content lines as libical formats them, each ending in CRLF) in place of
    // every occurrence of the to-do's property `name`, where the first one was; a property
    // not there yet goes after the to-do's other properties. Empty `lines` removes it.
    void replace(std::string_view name, std::string_view lines);
    void remove(std::string_view name) { replace(name, {}); }

    // Alarms with ACTION:DISPLAY directly inside the to-do, in file order.
    std::size_t displayAlarmCount() const;
    // Adds a component (formatted lines) at the end of the to-do.
    void appendComponent(std::string_view lines);
    // As replace(), for a property of the index-th display alarm; false when there is none.
    bool replaceInDisplayAlarm(std::size_t index, std::string_view name, std::string_view lines);

private:
    struct Line {
        std::string raw;       // the physical lines with their line ends
        std::string name;      // upper case
        std::string component; // for BEGIN and END: the component's name, upper case
    };
    struct Block {
        std::size_t begin = 0; // index of the BEGIN line
        std::size_t end = 0;   // index of the matching END line
    };
    struct Children {
        std::vector<std::size_t> properties;
        std::vector<Block> components;
    };

    static platform::Result<Block> findToDo(const std::vector<Line>& lines);
    std::vector<Line> split(std::string_view text) const;
    Children childrenOf(const Block& block) const;
    std::vector<Block> displayAlarms() const;
    void replaceIn(const Block& block, std::string_view name, std::string_view lines);

    std::vector<Line> lines_;
    std::string lineEnd_ = "\r\n";
};

} // namespace calendarapp
