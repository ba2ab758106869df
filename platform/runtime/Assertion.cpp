#include "platform/runtime/Assertion.h"

#include "platform/foundation/Log.h"

#include <cstdlib>
#include <mutex>
#include <utility>

namespace platform::runtime {

namespace {
std::mutex handlerMutex;
Assertion::Handler& handler() {
    static Assertion::Handler h;
    return h;
}
} // namespace

void Assertion::fail(std::string_view method, int line, std::string_view description) {
    Handler h;
    {
        std::lock_guard lock(handlerMutex);
        h = handler();
    }
    Log::line("*** Assertion failure in " + std::string(method) + ", line " + std::to_string(line) + ": " +
              std::string(description));
    if (h)
        h(method, line, description);
    std::abort();
}

Assertion::Handler Assertion::setHandler(Handler h) {
    std::lock_guard lock(handlerMutex);
    return std::exchange(handler(), std::move(h));
}

} // namespace platform::runtime
