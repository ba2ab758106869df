#include "platform/foundation/Format.h"

#include <cstdio>
#include <optional>

namespace platform {

namespace {

struct Directive {
    std::string flags;
    std::optional<int> width;
    std::optional<int> precision;
    char conversion = 0;
};

// Reads "[flags][width][.precision][length]conversion" after a '%'; nullopt when the
// text there is not a conversion this formatter knows.
std::optional<Directive> readDirective(std::string_view fmt, std::size_t& i) {
    Directive directive;
    while (i < fmt.size() && std::string_view("-+ 0#").find(fmt[i]) != std::string_view::npos)
        directive.flags += fmt[i++];
    auto number = [&]() -> std::optional<int> {
        if (i >= fmt.size() || fmt[i] < '0' || fmt[i] > '9')
            return std::nullopt;
        int n = 0;
        while (i < fmt.size() && fmt[i] >= '0' && fmt[i] <= '9' && n < 10000)
            n = n * 10 + (fmt[i++] - '0');
        return n;
    };
    directive.width = number();
    if (i < fmt.size() && fmt[i] == '.') {
        ++i;
        directive.precision = number().value_or(0);
    }
    while (i < fmt.size() && std::string_view("lhqz").find(fmt[i]) != std::string_view::npos)
        ++i;
    if (i >= fmt.size() || std::string_view("@diuxXfgeEs").find(fmt[i]) == std::string_view::npos)
        return std::nullopt;
    directive.conversion = fmt[i];
    return directive;
}

std::string printfDirective(const Directive& directive, const char* length, char conversion) {
    std::string s = "%" + directive.flags;
    if (directive.width)
        s += std::to_string(*directive.width);
    if (directive.precision)
        s += "." + std::to_string(*directive.precision);
    return s + length + conversion;
}

std::string pad(std::string text, const Directive& directive) {
    if (directive.precision && text.size() > static_cast<std::size_t>(*directive.precision))
        text.resize(static_cast<std::size_t>(*directive.precision));
    if (directive.width && text.size() < static_cast<std::size_t>(*directive.width)) {
        const std::string fill(static_cast<std::size_t>(*directive.width) - text.size(), ' ');
        text = directive.flags.find('-') != std::string::npos ? text + fill : fill + text;
    }
    return text;
}

std::string render(const Directive& directive, const Value* arg) {
    if (!arg)
        return pad("(null)", directive);
    char buf[128];
    switch (directive.conversion) {
    case '@':
        return pad(arg->description(), directive);
    case 's':
        return pad(arg->stringValue(), directive);
    case 'd':
    case 'i':
        std::snprintf(buf, sizeof buf, printfDirective(directive, "ll", 'd').c_str(),
                      static_cast<long long>(arg->integerValue()));
        return buf;
    case 'u':
    case 'x':
    case 'X':
        std::snprintf(buf, sizeof buf, printfDirective(directive, "ll", directive.conversion).c_str(),
                      static_cast<unsigned long long>(arg->unsignedValue()));
        return buf;
    default:
        std::snprintf(buf, sizeof buf, printfDirective(directive, "", directive.conversion).c_str(),
                      arg->doubleValue());
        return buf;
    }
}

} // namespace

std::string format(std::string_view fmt, std::initializer_list<Value> args) {
    std::string out;
    out.reserve(fmt.size() + 32);
    auto next = args.begin();
    for (std::size_t i = 0; i < fmt.size(); ++i) {
        if (fmt[i] != '%') {
            out += fmt[i];
            continue;
        }
        if (i + 1 < fmt.size() && fmt[i + 1] == '%') {
            out += '%';
            ++i;
            continue;
        }
        std::size_t j = i + 1;
        const auto directive = readDirective(fmt, j);
        if (!directive) {
            out += '%'; // not a conversion: copied as it stands
            continue;
        }
        const Value* arg = next == args.end() ? nullptr : &*next++;
        out += render(*directive, arg);
        i = j;
    }
    return out;
}

} // namespace platform
