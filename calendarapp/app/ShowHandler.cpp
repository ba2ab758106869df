#include "calendarapp/app/ShowHandler.h"

#include "calendarapp/app/EventReply.h"
#include "platform/appleevents/DetachedProcess.h"
#include "platform/foundation/Log.h"

namespace calendarapp {

using namespace platform::appleevents;

AppleEvent ShowHandler::handle(const AppleEvent& request) const {
    const AEDesc* direct = request.directObject();
    if (direct == nullptr)
        return EventReply::missingParameter(request, keyDirectObject);
    auto resolution = context_.resolver.resolve(*direct);
    if (!resolution)
        return EventReply::failure(request, resolution.error());
    for (const ObjectRef& object : resolution.value().objects) {
        if (object.kind != ObjectRef::Kind::ToDo) {
            platform::Log::line("lumetta-calendar: show " + object.description());
            continue;
        }
        auto toDo = context_.reader.toDoOf(object);
        if (!toDo)
            return EventReply::failure(request, toDo.error());
        const std::string file = toDo.value()->file.string();
        platform::Log::line("lumetta-calendar: show " + object.description() + " (" + file + ")");
        if (command_.empty())
            continue;
        // The file goes to the shell as "$1", never spliced into the command line.
        auto started =
            DetachedProcess::spawn("/bin/sh", {"-c", command_ + " \"$1\"", "lumetta-calendar-show", file});
        if (!started)
            return EventReply::failure(request,
                                       platform::makeError("Can't run the show command \"" + command_ +
                                                               "\": " + started.error().message,
                                                           errAEEventFailed));
    }
    return EventReply::done(request);
}

} // namespace calendarapp
