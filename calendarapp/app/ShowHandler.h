#pragma once

#include "calendarapp/app/ScriptingContext.h"
#include "platform/appleevents/AppleEvent.h"

#include <string>

namespace calendarapp {

// 'wrbt'/'aec3' (show): logs which to-do a client wants to see and, when a show command is
// configured, runs it detached with the to-do's item file as its last argument — a to-do
// program or editor, say. The command is a shell command line; without one nothing runs.
class ShowHandler {
public:
    ShowHandler(const ScriptingContext& context, std::string command)
        : context_(context), command_(std::move(command)) {}

    platform::appleevents::AppleEvent handle(const platform::appleevents::AppleEvent& request) const;

private:
    const ScriptingContext& context_;
    std::string command_;
};

} // namespace calendarapp
