#pragma once

#include "calendarapp/app/CountHandler.h"
#include "calendarapp/app/DeleteHandler.h"
#include "calendarapp/app/GetDataHandler.h"
#include "calendarapp/app/MakeHandler.h"
#include "calendarapp/app/ObjectResolver.h"
#include "calendarapp/app/PropertyReader.h"
#include "calendarapp/app/PropertyWriter.h"
#include "calendarapp/app/ScriptingContext.h"
#include "calendarapp/app/SetDataHandler.h"
#include "calendarapp/app/ShowHandler.h"
#include "calendarapp/store/ToDoStore.h"
#include "platform/appleevents/AEEventHandler.h"
#include "platform/appleevents/AEHandlerTable.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

namespace calendarapp {

// The calendar application: answers the events of its scripting clients over a to-do
// store. It handles 'core' get, set, make, delete and count, 'wrbt'/'aec3' show,
// 'misc'/'actv' activate (nothing to bring forward here), and the application events
// open, reopen and quit; anything else is errAEEventNotHandled.
//
//     CalendarApplication calendar({ToDoStore::defaultRoot()});
//     auto server = AEServer::listen(kCalendarBundleIdentifier, calendar.handler());
//     calendar.setQuitAction([&] { server.value()->stop(); });
//     server.value()->run();
//
// Events are handled one at a time (the server sees to that); the application holds no
// state between them besides the store's cache of parsed files.
class CalendarApplication {
public:
    struct Options {
        std::filesystem::path storeRoot;
        // A shell command the show event runs with the to-do's file; empty runs nothing.
        std::string showCommand;
        // Holds every request this long before handling it, so that tests can catch the
        // application in the middle of one.
        std::chrono::milliseconds requestDelay{0};
    };

    explicit CalendarApplication(Options options);
    CalendarApplication(const CalendarApplication&) = delete;
    CalendarApplication& operator=(const CalendarApplication&) = delete;

    // The handler to serve with; the application must outlive it.
    platform::appleevents::AEEventHandler handler();
    // Runs after answering 'aevt'/'quit' (stopping the server, typically).
    void setQuitAction(std::function<void()> quit) { quit_ = std::move(quit); }

    ToDoStore& store() { return store_; }

private:
    platform::appleevents::AppleEvent handle(const platform::appleevents::AppleEvent& request);

    Options options_;
    ToDoStore store_;
    PropertyReader reader_;
    ObjectResolver resolver_;
    PropertyWriter writer_;
    ScriptingContext context_;
    GetDataHandler get_;
    SetDataHandler set_;
    MakeHandler make_;
    DeleteHandler delete_;
    CountHandler count_;
    ShowHandler show_;
    platform::appleevents::AEHandlerTable table_;
    std::function<void()> quit_;
};

} // namespace calendarapp
