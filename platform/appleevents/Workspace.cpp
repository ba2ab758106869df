#include "platform/appleevents/Workspace.h"

#include "platform/appleevents/AESend.h"
#include "platform/appleevents/AESocketPath.h"
#include "platform/appleevents/AESocketTransport.h"
#include "platform/appleevents/ApplicationRegistry.h"
#include "platform/appleevents/DetachedProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace platform::appleevents {

namespace {

constexpr std::string_view kSocketSuffix = ".sock";

// Whether the process still runs. It is not ours to wait for (the system adopted it), and
// where nothing reaps adopted processes it lingers as a zombie, which counts as ended.
bool stillRunning(pid_t pid) {
    if (::kill(pid, 0) != 0 && errno != EPERM)
        return false;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(stat, line))
        return true;
    const auto close = line.rfind(')');
    return close == line.npos || close + 2 >= line.size() || line[close + 2] != 'Z';
}

} // namespace

Workspace& Workspace::sharedWorkspace() {
    static Workspace workspace;
    return workspace;
}

platform::Array Workspace::launchedApplications() const {
    std::vector<std::string> identifiers;
    const auto folder = AESocketPath::checkFolder();
    std::error_code failed;
    if (folder) {
        for (const auto& entry : std::filesystem::directory_iterator(folder.value(), failed)) {
            const std::string name = entry.path().filename().string();
            if (name.size() <= kSocketSuffix.size() || !name.ends_with(kSocketSuffix))
                continue;
            const std::string identifier = name.substr(0, name.size() - kSocketSuffix.size());
            if (AESocketPath::isValidBundleIdentifier(identifier) && AESocketTransport::answers(entry.path()))
                identifiers.push_back(identifier);
        }
    }
    std::sort(identifiers.begin(), identifiers.end());
    platform::Array running;
    for (const std::string& identifier : identifiers)
        running.add(platform::Dictionary{{"NSApplicationBundleIdentifier", identifier}});
    return running;
}

Result<void> Workspace::launchAppWithBundleIdentifier(std::string_view bundleIdentifier,
                                                      std::uint32_t options,
                                                      const AEDesc* additionalEventParamDescriptor,
                                                      platform::Value* launchIdentifier) {
    if (launchIdentifier != nullptr)
        *launchIdentifier = platform::Value();
    const auto socket = AESocketPath::forBundleIdentifier(bundleIdentifier);
    if (!socket)
        return makeError(socket.error().message, paramErr);
    if (AESocketTransport::answers(socket.value()))
        return {};

    const auto application = LUMETTA_TRY(ApplicationRegistry::lookUp(bundleIdentifier));
    const pid_t pid = LUMETTA_TRY(DetachedProcess::spawn(application.executable, application.arguments));
    if (launchIdentifier != nullptr)
        *launchIdentifier = platform::Value(static_cast<long long>(pid));
    if ((options & NSWorkspaceLaunchAsync) != 0)
        return {};

    const auto deadline = std::chrono::steady_clock::now() + launchTimeout_;
    auto pause = std::chrono::milliseconds(2);
    while (!AESocketTransport::answers(socket.value())) {
        if (!stillRunning(pid))
            return makeError(std::string(bundleIdentifier) + " ended before answering", procNotFound);
        if (std::chrono::steady_clock::now() >= deadline)
            return makeError(std::string(bundleIdentifier) + " did not answer in time", errAETimeout);
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(50));
    }

    if (additionalEventParamDescriptor != nullptr && !additionalEventParamDescriptor->isNull()) {
        AppleEvent open =
            AppleEvent::toBundleIdentifier(kCoreEventClass, kAEOpenApplication, bundleIdentifier);
        open.setParam(keyDirectObject, *additionalEventParamDescriptor);
        (void)AESendMessage(open, nullptr, kAENoReply | kAENeverInteract, kAEDefaultTimeout);
    }
    return {};
}

} // namespace platform::appleevents
