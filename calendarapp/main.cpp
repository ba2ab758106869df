// lumetta-calendar: the calendar application. Answers Apple Events for "com.apple.iCal"
// on its socket, in the foreground, over a vdir to-do store, until it is told to quit
// ('aevt'/'quit', SIGTERM or SIGINT); the socket goes with it.
#include "calendarapp/app/CalendarApplication.h"
#include "calendarapp/app/CalendarCodes.h"
#include "platform/appleevents/AEServer.h"
#include "platform/foundation/Log.h"

#include <CLI/CLI.hpp>
#include <atomic>
#include <csignal>
#include <iostream>

namespace {

using platform::appleevents::AEServer;

std::atomic<AEServer*> serving{nullptr};

void stopServing(int) {
    if (AEServer* server = serving.load())
        server->stop();
}

void handleTerminationSignals() {
    struct sigaction action {};
    action.sa_handler = stopServing;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"lumetta-calendar: the calendar application Lumetta keeps its to-dos in"};
    std::string store = calendarapp::ToDoStore::defaultRoot().string();
    std::string socket;
    std::string showCommand;
    int delayMilliseconds = 0;
    app.add_option("--store", store, "The folder of calendars (default $XDG_DATA_HOME/calendars)");
    app.add_option("--socket", socket,
                   "Listen at this socket instead of the one for com.apple.iCal in $XDG_RUNTIME_DIR");
    app.add_option("--show-command", showCommand,
                   "Shell command run with a to-do's file when a client asks to show it");
    app.add_option("--request-delay-ms", delayMilliseconds, "Hold every request this long (tests)")
        ->group("")
        ->check(CLI::NonNegativeNumber);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int status = app.exit(e);
        return status == 0 ? 0 : 2;
    }

    calendarapp::CalendarApplication calendar(
        {store, showCommand, std::chrono::milliseconds(delayMilliseconds)});
    auto server = socket.empty()
                      ? AEServer::listen(calendarapp::kCalendarBundleIdentifier, calendar.handler())
                      : AEServer::listenAt(socket, calendar.handler());
    if (!server) {
        std::cerr << "lumetta-calendar: " << server.error().message << "\n";
        return 1;
    }
    AEServer& running = *server.value();
    calendar.setQuitAction([&running] { running.stop(); });
    serving.store(&running);
    handleTerminationSignals();

    const std::string started =
        "lumetta-calendar: answering at " + running.socketPath().string() + " with the calendars in " + store;
    platform::Log::line(started);
    std::cerr << started << std::endl;
    running.run();
    serving.store(nullptr);
    server.value().reset(); // removes the socket
    platform::Log::line("lumetta-calendar: stopped");
    return 0;
}
