#include "platform/foundation/Log.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <syslog.h>

namespace platform {

namespace {
std::mutex captureMutex;
ScopedLogCapture* capture = nullptr;

void toSyslog(std::string_view text) {
    static std::once_flag opened;
    std::call_once(opened, [] { openlog(program_invocation_short_name, LOG_PID, LOG_USER); });
    syslog(LOG_NOTICE, "%.*s", static_cast<int>(text.size()), text.data());
    static const bool echo = [] {
        const char* v = std::getenv("LUMETTA_LOG_STDERR");
        return v && std::string_view(v) == "1";
    }();
    if (echo)
        std::fprintf(stderr, "%s: %.*s\n", program_invocation_short_name, static_cast<int>(text.size()),
                     text.data());
}
} // namespace

void Log::line(std::string_view text) {
    {
        std::lock_guard lock(captureMutex);
        if (capture) {
            capture->add(text);
            return;
        }
    }
    toSyslog(text);
}

ScopedLogCapture::ScopedLogCapture() {
    std::lock_guard lock(captureMutex);
    previous_ = capture;
    capture = this;
}

ScopedLogCapture::~ScopedLogCapture() {
    std::lock_guard lock(captureMutex);
    capture = previous_;
}

void ScopedLogCapture::add(std::string_view text) {
    std::lock_guard lock(mutex_);
    lines_.emplace_back(text);
}

std::vector<std::string> ScopedLogCapture::lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

bool ScopedLogCapture::contains(std::string_view fragment) const {
    std::lock_guard lock(mutex_);
    for (const auto& l : lines_)
        if (l.find(fragment) != std::string::npos)
            return true;
    return false;
}

void ScopedLogCapture::clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
}

} // namespace platform
