#include "platform/appleevents/ApplicationRegistry.h"

#include "platform/appleevents/AECodes.h"
#include "platform/foundation/Log.h"

#include <charconv>
#include <cstdlib>
#include <map>
#include <mutex>
#include <unistd.h>

namespace platform::appleevents {

namespace {

struct BuiltIn {
    std::string_view bundleIdentifier;
    std::string_view executableName;
    const char* overrideVariable;
    const char* idleVariable; // seconds without a request before it ends
};

constexpr BuiltIn kBuiltIns[] = {
    {"com.apple.iCal", "lumetta-calendar", "LUMETTA_CALENDAR_EXECUTABLE", "LUMETTA_CALENDAR_IDLE_EXIT"},
};

// The arguments that end a built-in application after its idle period: the default, or
// whole seconds from its variable; none for 0. A value that is no such number is logged
// and the default used, so a typing slip never leaves applications running for ever.
std::vector<std::string> idleArguments(const BuiltIn& builtIn) {
    long seconds = ApplicationRegistry::kDefaultIdleSeconds;
    if (const char* text = std::getenv(builtIn.idleVariable); text && *text) {
        long given = 0;
        const std::string_view value(text);
        const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), given);
        if (ec == std::errc() && end == value.data() + value.size() && given >= 0)
            seconds = given;
        else
            Log::line(std::string(builtIn.idleVariable) + "=" + text + " is not a number of seconds; " +
                      std::string(builtIn.executableName) + " ends after " + std::to_string(seconds) +
                      " s without a request");
    }
    if (seconds == 0)
        return {};
    return {ApplicationRegistry::kExitWhenIdleOption, std::to_string(seconds)};
}

std::mutex registryMutex;
std::map<std::string, ApplicationRegistry::Application, std::less<>>& registered() {
    static std::map<std::string, ApplicationRegistry::Application, std::less<>> table;
    return table;
}

bool isExecutable(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && ::access(path.c_str(), X_OK) == 0;
}

std::filesystem::path besideRunningProgram(std::string_view name) {
    std::error_code failed;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", failed);
    return failed ? std::filesystem::path() : self.parent_path() / name;
}

std::filesystem::path onPath(std::string_view name) {
    const char* path = std::getenv("PATH");
    std::string_view rest = path ? path : "";
    while (!rest.empty()) {
        const auto colon = rest.find(':');
        const auto folder = rest.substr(0, colon);
        if (!folder.empty() && isExecutable(std::filesystem::path(folder) / name))
            return std::filesystem::path(folder) / name;
        rest = colon == rest.npos ? std::string_view() : rest.substr(colon + 1);
    }
    return {};
}

} // namespace

void ApplicationRegistry::registerApplication(std::string bundleIdentifier, Application application) {
    std::lock_guard lock(registryMutex);
    registered()[std::move(bundleIdentifier)] = std::move(application);
}

void ApplicationRegistry::unregisterApplication(std::string_view bundleIdentifier) {
    std::lock_guard lock(registryMutex);
    if (const auto found = registered().find(bundleIdentifier); found != registered().end())
        registered().erase(found);
}

Result<ApplicationRegistry::Application> ApplicationRegistry::lookUp(std::string_view bundleIdentifier) {
    {
        std::lock_guard lock(registryMutex);
        if (const auto found = registered().find(bundleIdentifier); found != registered().end())
            return found->second;
    }
    for (const BuiltIn& builtIn : kBuiltIns) {
        if (builtIn.bundleIdentifier != bundleIdentifier)
            continue;
        const char* overridden = std::getenv(builtIn.overrideVariable);
        const std::filesystem::path candidates[] = {
            overridden && *overridden ? std::filesystem::path(overridden)
                                      : besideRunningProgram(builtIn.executableName),
            overridden && *overridden ? std::filesystem::path() : onPath(builtIn.executableName),
        };
        for (const auto& candidate : candidates)
            if (!candidate.empty() && isExecutable(candidate))
                return Application{candidate, idleArguments(builtIn)};
        return makeError("the program for " + std::string(bundleIdentifier) + " (" +
                             std::string(overridden && *overridden ? overridden : builtIn.executableName) +
                             ") is not installed",
                         fnfErr);
    }
    return makeError("no application is known for " + std::string(bundleIdentifier), fnfErr);
}

} // namespace platform::appleevents
