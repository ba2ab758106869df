#include "mailhost/cli/CalendarCommand.h"

#include "platform/appleevents/AESend.h"
#include "platform/appleevents/ApplicationRegistry.h"
#include "platform/appleevents/Workspace.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Dictionary.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

namespace mailhost {

using namespace platform::appleevents;

namespace {

constexpr const char* kCalendar = "com.apple.iCal";
constexpr const char* kProgram = "lumetta-calendar";
// The application's own property for the folder of its store.
constexpr OSType kStoreFolderProperty = fourCharCode("LmSF");
constexpr long kQuitTimeoutTicks = 10 * 60;
constexpr auto kGoneTimeout = std::chrono::seconds(5);

bool running() {
    const platform::Array applications = Workspace::sharedWorkspace().launchedApplications();
    for (const platform::Value& entry : applications.items())
        if (const platform::Dictionary* application = entry.dictionary();
            application != nullptr &&
            application->get("NSApplicationBundleIdentifier").stringValue() == kCalendar)
            return true;
    return false;
}

// Where lumetta-calendar keeps its calendars unless told otherwise: where to-do programs
// look for the user's calendars.
std::string defaultStoreFolder() {
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome != nullptr && dataHome[0] == '/')
        return (std::filesystem::path(dataHome) / "calendars").string();
    const char* home = std::getenv("HOME");
    return (std::filesystem::path(home != nullptr ? home : "/") / ".local/share/calendars").string();
}

std::string runningStoreFolder() {
    AppleEvent get = AppleEvent::toBundleIdentifier(fourCharCode("core"), fourCharCode("getd"), kCalendar);
    get.setParam(keyDirectObject, AEDesc::propertySpecifier(kStoreFolderProperty, AEDesc::null()));
    AppleEvent reply;
    if (AESendMessage(get, &reply, kAEWaitReply | kAENeverInteract, kAEDefaultTimeout) != noErr ||
        reply.directObject() == nullptr)
        return "(unknown: the application did not say)";
    return reply.directObject()->stringValue().value_or("(unknown)");
}

// Started by hand, the calendar runs until `calendar stop`: only a start on demand, by a
// command that needs it, ends by itself once idle.
void withoutIdleExit() {
    auto application = ApplicationRegistry::lookUp(kCalendar);
    if (!application)
        return; // the launch says why
    auto& arguments = application.value().arguments;
    const auto option =
        std::find(arguments.begin(), arguments.end(), ApplicationRegistry::kExitWhenIdleOption);
    if (option == arguments.end())
        return;
    arguments.erase(option, option + 1 < arguments.end() ? option + 2 : arguments.end());
    ApplicationRegistry::registerApplication(kCalendar, std::move(application.value()));
}

} // namespace

CalendarCommand::CalendarCommand(CLI::App& app) {
    auto* calendar = app.add_subcommand("calendar", "Look at, start and stop the calendar application");
    calendar->require_subcommand(1);
    status_ =
        calendar->add_subcommand("status", "Whether lumetta-calendar runs, and the folder of its store");
    start_ =
        calendar->add_subcommand("start", "Start lumetta-calendar in the background, to run until stopped");
    stop_ = calendar->add_subcommand("stop", "Ask lumetta-calendar to quit");
}

bool CalendarCommand::chosen() const {
    return status_->parsed() || start_->parsed() || stop_->parsed();
}

int CalendarCommand::run(std::ostream& out, std::ostream& err) const {
    if (status_->parsed())
        return status(out);
    return start_->parsed() ? start(out, err) : stop(out, err);
}

int CalendarCommand::status(std::ostream& out) {
    if (running())
        out << kProgram << ": running\nstore: " << runningStoreFolder() << "\n";
    else
        out << kProgram << ": not running\nstore: " << defaultStoreFolder() << " (when started)\n";
    return 0;
}

int CalendarCommand::start(std::ostream& out, std::ostream& err) {
    withoutIdleExit();
    platform::Value process;
    auto launched = Workspace::sharedWorkspace().launchAppWithBundleIdentifier(
        kCalendar, NSWorkspaceLaunchWithoutActivation, nullptr, &process);
    if (!launched) {
        err << "lumetta calendar start: " << launched.error().message << "\n";
        return 1;
    }
    if (process.isNull())
        out << kProgram << " is already running\n";
    else
        out << kProgram << " started (process " << process.intValue() << ")\n";
    return 0;
}

int CalendarCommand::stop(std::ostream& out, std::ostream& err) {
    if (!running()) {
        out << kProgram << " is not running\n";
        return 0;
    }
    const AppleEvent quit = AppleEvent::toBundleIdentifier(kCoreEventClass, fourCharCode("quit"), kCalendar);
    AppleEvent reply;
    const OSStatus status = AESendMessage(quit, &reply, kAEWaitReply | kAENeverInteract, kQuitTimeoutTicks);
    if (status != noErr && status != procNotFound) {
        err << "lumetta calendar stop: the application did not take the quit event (status " << status
            << ")\n";
        return 1;
    }
    const auto deadline = std::chrono::steady_clock::now() + kGoneTimeout;
    while (running()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            err << "lumetta calendar stop: " << kProgram << " still answers after being asked to quit\n";
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    out << kProgram << " stopped\n";
    return 0;
}

} // namespace mailhost
