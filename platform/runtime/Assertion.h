#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace platform::runtime {

// An internal-consistency failure: code that cannot go on (an interface file that does
// not load) reports where and why. The default handler logs the failure and aborts,
// as an uncaught assertion would; tests install a handler that throws instead, to
// observe the failure.
class Assertion {
public:
    using Handler = std::function<void(std::string_view method, int line, std::string_view description)>;

    [[noreturn]] static void fail(std::string_view method, int line, std::string_view description);
    // Returns the previous handler; an empty handler restores the default.
    static Handler setHandler(Handler handler);
};

} // namespace platform::runtime
