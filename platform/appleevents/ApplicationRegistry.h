#pragma once

#include "platform/foundation/Result.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace platform::appleevents {

// Which program is the application for a bundle identifier. Built in: "com.apple.iCal" is
// `lumetta-calendar`, installed beside the running program; the environment variable
// LUMETTA_CALENDAR_EXECUTABLE names another file (a build tree, a test). Programs can
// register more identifiers at run time.
//
// A built-in application is started on demand, by whatever client needs it, and nobody
// quits it: it is told to end after a while without requests (--exit-when-idle, 300 s;
// LUMETTA_CALENDAR_IDLE_EXIT sets other seconds, 0 none), or every client command would
// leave one running.
class ApplicationRegistry {
public:
    struct Application {
        std::filesystem::path executable;
        std::vector<std::string> arguments; // after the program name
    };

    // Registers (or replaces) the program for an identifier, ahead of the built-in table.
    static void registerApplication(std::string bundleIdentifier, Application application);
    static void unregisterApplication(std::string_view bundleIdentifier);

    // The option of a built-in application that names its idle period.
    static constexpr const char* kExitWhenIdleOption = "--exit-when-idle";
    static constexpr int kDefaultIdleSeconds = 300;

    // The program to start: a registered one; else the built-in name, overridden by its
    // environment variable, else looked for beside the running program, then on PATH, with
    // its idle period as arguments. An error with fnfErr when the identifier is unknown or
    // the program is not there.
    [[nodiscard]] static Result<Application> lookUp(std::string_view bundleIdentifier);
};

} // namespace platform::appleevents
