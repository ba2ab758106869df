#include "platform/foundation/RunLoop.h"

#include <atomic>

namespace platform {

namespace {
std::atomic<RunLoop*> mainLoop{nullptr};
}

RunLoop* RunLoop::main() {
    return mainLoop.load(std::memory_order_acquire);
}

void RunLoop::setMain(RunLoop* loop) {
    mainLoop.store(loop, std::memory_order_release);
}

} // namespace platform
