#include "platform/appleevents/ApplicationRegistry.h"

#include "platform/appleevents/AECodes.h"

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
};

constexpr BuiltIn kBuiltIns[] = {
    {"com.apple.iCal", "lumetta-calendar", "LUMETTA_CALENDAR_EXECUTABLE"},
};

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
                return Application{candidate, {}};
        return makeError("the program for " + std::string(bundleIdentifier) + " (" +
                             std::string(overridden && *overridden ? overridden : builtIn.executableName) +
                             ") is not installed",
                         fnfErr);
    }
    return makeError("no application is known for " + std::string(bundleIdentifier), fnfErr);
}

} // namespace platform::appleevents
