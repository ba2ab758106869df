// lumetta-calendar: the calendar application. Answers Apple Events for "com.apple.iCal"
// on its socket, in the foreground, over a vdir to-do store, until it is told to quit
// ('aevt'/'quit', SIGTERM or SIGINT) or, with --exit-when-idle, until no request came for
// that long; the socket goes with it.
#include "calendarapp/app/CalendarApplication.h"
#include "calendarapp/app/CalendarCodes.h"
#include "calendarapp/app/IdleWatch.h"
#include "platform/appleevents/AEServer.h"
#include "platform/foundation/Log.h"

#include <CLI/CLI.hpp>
#include <atomic>
#include <csignal>
#include <iostream>
#include <sstream>

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
    double idleSeconds = 0;
    app.add_option("--store", store, "The folder of calendars (default $XDG_DATA_HOME/calendars)");
    app.add_option("--socket", socket,
                   "Listen at this socket instead of the one for com.apple.iCal in $XDG_RUNTIME_DIR");
    app.add_option("--show-command", showCommand,
                   "Shell command run with a to-do's file when a client asks to show it");
    app.add_option("--exit-when-idle", idleSeconds,
                   "Quit after this many seconds without a request (0, the default: never); clients that "
                   "start the calendar on demand pass it")
        ->check(CLI::Range(0.0, 366.0 * 24 * 3600));
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
    calendarapp::IdleWatch idle(std::chrono::milliseconds(static_cast<long long>(idleSeconds * 1000)));
    const auto handler = idleSeconds > 0 ? idle.watching(calendar.handler()) : calendar.handler();
    auto server = socket.empty() ? AEServer::listen(calendarapp::kCalendarBundleIdentifier, handler)
                                 : AEServer::listenAt(socket, handler);
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
    if (idleSeconds > 0)
        idle.start([&running, idleSeconds] {
            std::ostringstream line;
            line << "lumetta-calendar: no request for " << idleSeconds << " s; quitting";
            platform::Log::line(line.str());
            running.stop();
        });
    running.run();
    idle.stop(); // before the server it would stop goes
    serving.store(nullptr);
    server.value().reset(); // removes the socket
    platform::Log::line("lumetta-calendar: stopped");
    return 0;
}
