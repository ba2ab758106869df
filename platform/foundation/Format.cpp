#include "platform/foundation/Format.h"

#include <cstdio>

namespace platform {

std::string format(std::string_view fmt, std::initializer_list<Value> args) {
    std::string out;
    out.reserve(fmt.size() + 32);
    auto next = args.begin();
    auto take = [&]() -> const Value* {
        return next == args.end() ? nullptr : &*next++;
    };
    for (std::size_t i = 0; i < fmt.size(); ++i) {
        if (fmt[i] != '%' || i + 1 >= fmt.size()) {
            out += fmt[i];
            continue;
        }
        std::size_t j = i + 1;
        while (j < fmt.size() && fmt[j] == 'l')
            ++j;
        if (j >= fmt.size()) {
            out.append(fmt.substr(i));
            break;
        }
        const char conversion = fmt[j];
        if (conversion == '%' && j == i + 1) {
            out += '%';
            i = j;
            continue;
        }
        if (std::string_view("@diufgs").find(conversion) == std::string_view::npos) {
            out.append(fmt.substr(i, j - i + 1));
            i = j;
            continue;
        }
        const Value* arg = take();
        if (!arg) {
            out += "(null)";
        } else {
            char buf[64];
            switch (conversion) {
            case '@':
                out += arg->description();
                break;
            case 'd':
            case 'i':
                out += std::to_string(arg->integerValue());
                break;
            case 'u':
                out += std::to_string(arg->unsignedValue());
                break;
            case 'f':
                std::snprintf(buf, sizeof buf, "%f", arg->doubleValue());
                out += buf;
                break;
            case 'g':
                std::snprintf(buf, sizeof buf, "%g", arg->doubleValue());
                out += buf;
                break;
            default:
                out += arg->stringValue();
                break;
            }
        }
        i = j;
    }
    return out;
}

} // namespace platform
