#include "calendarapp/app/CalendarApplication.h"

#include "calendarapp/app/CalendarCodes.h"
#include "calendarapp/app/EventReply.h"

#include <thread>

namespace calendarapp {

using namespace platform::appleevents;

CalendarApplication::CalendarApplication(Options options)
    : options_(std::move(options)), store_(options_.storeRoot), reader_(store_), resolver_(store_, reader_),
      writer_(store_), context_{store_, reader_, resolver_, writer_}, get_(context_), set_(context_),
      make_(context_), delete_(context_), count_(context_), show_(context_, options_.showCommand) {
    const auto install = [this](OSType eventClass, OSType eventID, auto& handler) {
        table_.install(eventClass, eventID, [&handler](const AppleEvent& e) { return handler.handle(e); });
    };
    install(kAECoreSuite, kAEGetData, get_);
    install(kAECoreSuite, kAESetData, set_);
    install(kAECoreSuite, kAECreateElement, make_);
    install(kAECoreSuite, kAEDelete, delete_);
    install(kAECoreSuite, kAECountElements, count_);
    install(kCalendarSuite, kAEShow, show_);
    const auto nothingToDo = [](const AppleEvent& e) {
        return EventReply::done(e);
    };
    table_.install(kAEMiscStandards, kAEActivate, nothingToDo);
    table_.install(kCoreEventClass, kAEOpenApplication, nothingToDo);
    table_.install(kCoreEventClass, kAEReopenApplication, nothingToDo);
    table_.install(kCoreEventClass, kAEQuitApplication, [this](const AppleEvent& e) {
        if (quit_)
            quit_();
        return EventReply::done(e);
    });
}

AEEventHandler CalendarApplication::handler() {
    return [this](const AppleEvent& request) {
        return handle(request);
    };
}

AppleEvent CalendarApplication::handle(const AppleEvent& request) {
    if (options_.requestDelay.count() > 0)
        std::this_thread::sleep_for(options_.requestDelay);
    return table_.dispatch(request);
}

} // namespace calendarapp
