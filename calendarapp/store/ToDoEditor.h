#pragma once

#include "calendarapp/store/ContentLines.h"
#include "calendarapp/store/ToDo.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace calendarapp {

// Changes the to-do of one item file. Only the lines of the properties it sets are
// rewritten (formatted by libical); everything else in the file is kept byte for byte,
// so properties and components written by other programs survive.
class ToDoEditor {
public:
    // Fails when the bytes are not a readable to-do (the same test the store reads with).
    static platform::Result<ToDoEditor> open(std::string_view bytes);

    // The bytes of a new item file: one calendar object with one to-do, created `now`.
    static platform::Result<std::string> compose(std::string_view uid, const ToDoProperties& properties,
                                                 platform::Date now);

    const std::string& uid() const { return uid_; }

    // Text values: empty or absent removes the property. NUL bytes are refused, and so are
    // control characters in a URL, which would break the line.
    platform::Result<void> setSummary(const std::optional<std::string>& summary);
    platform::Result<void> setDescription(const std::optional<std::string>& description);
    platform::Result<void> setUrl(const std::optional<std::string>& url);
    // Dates are written in UTC to the second; dates outside 1900-9999 are refused.
    platform::Result<void> setDueDate(std::optional<platform::Date> due);
    // Completing sets COMPLETED, STATUS:COMPLETED and PERCENT-COMPLETE:100; clearing removes
    // COMPLETED and undoes the other two only where they say "completed", so a cancelled or
    // half-done to-do keeps its status.
    platform::Result<void> setCompletionDate(std::optional<platform::Date> completed);
    // 0-9, kept as the nearest of 1, 5, 9 or none (see ToDoPriority).
    platform::Result<void> setPriority(int priority);

    // A display alarm at an absolute date, after the to-do's other alarms.
    platform::Result<void> addDisplayAlarm(platform::Date trigger);
    // Sets the index-th display alarm (from 0) to an absolute date.
    platform::Result<void> moveDisplayAlarm(std::size_t index, platform::Date trigger);

    // Whether the sets so far changed anything: setting a value the file already holds
    // must not rewrite it, or the to-do would look changed to everyone who syncs it.
    bool changed() const { return lines_.text() != opened_; }

    // Marks a change made `now`: LAST-MODIFIED and DTSTAMP, and SEQUENCE one up.
    void touch(platform::Date now);

    // The changed bytes, after checking that they read back as the same to-do.
    platform::Result<std::string> finish() const;

private:
    explicit ToDoEditor(ContentLines lines) : lines_(std::move(lines)) {}
    platform::Result<void> setText(int kind, const std::optional<std::string>& value);
    platform::Result<void> setDate(int kind, std::optional<platform::Date> value);

    ContentLines lines_;
    std::string opened_; // the lines as opened, rendered the way finish() renders them
    std::string uid_;
    std::string summary_;
};

} // namespace calendarapp
