#pragma once

#include <string>
#include <utility>
#include <variant>

namespace platform {

// What went wrong, in words a user can act on. `code` carries a domain-specific
// number (an errno, a status) where the caller needs to branch on it.
struct Error {
    std::string message;
    int code = 0;
};

// The outcome of fallible I/O or parsing. Errors are values, never exceptions, so
// nothing unwinds across a module boundary.
template <class T> class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}

    bool ok() const { return state_.index() == 0; }
    explicit operator bool() const { return ok(); }

    T& value() & { return std::get<0>(state_); }
    const T& value() const& { return std::get<0>(state_); }
    T&& value() && { return std::get<0>(std::move(state_)); }
    const Error& error() const { return std::get<1>(state_); }

    T valueOr(T fallback) const& { return ok() ? value() : std::move(fallback); }

private:
    std::variant<T, Error> state_;
};

template <> class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Error error) : error_(std::move(error)), failed_(true) {}

    bool ok() const { return !failed_; }
    explicit operator bool() const { return ok(); }
    const Error& error() const { return error_; }

private:
    Error error_;
    bool failed_ = false;
};

inline Error makeError(std::string message, int code = 0) {
    return Error{std::move(message), code};
}

namespace detail {
template <class T> T takeValue(Result<T>&& result) {
    return std::move(result).value();
}
inline void takeValue(Result<void>&&) {}
} // namespace detail

} // namespace platform

// Propagation of failures without the hand-written `if (!r) return r.error();`.
//
//   auto tokens = LUMETTA_TRY(QueryLexer::tokenize(query));   // the value, or return the error
//   LUMETTA_TRY_VOID(file.write(bytes));                      // success, or return the error
//
// Both evaluate their expression exactly once and, on failure, return its Error unchanged (message
// and code) from the enclosing function, whose return type must be constructible from an Error
// (any Result). Use them only where the error is passed on as it is: an error that needs more
// context ("cannot save " + name) is still written out by hand. LUMETTA_TRY is a GCC/Clang
// statement expression; the result it names is a copy when the expression is a named Result.
#define LUMETTA_TRY_CONCAT_(a, b) a##b
#define LUMETTA_TRY_NAME_(n) LUMETTA_TRY_CONCAT_(lumettaTried_, n)
#define LUMETTA_TRY_IMPL_(expr, name)                                                                        \
    __extension__({                                                                                          \
        auto name = (expr);                                                                                  \
        if (!name)                                                                                           \
            return name.error();                                                                             \
        ::platform::detail::takeValue(std::move(name));                                                      \
    })
#define LUMETTA_TRY(expr) LUMETTA_TRY_IMPL_(expr, LUMETTA_TRY_NAME_(__COUNTER__))

// For a Result<void>, or a Result whose value the caller does not need: a plain statement.
#define LUMETTA_TRY_VOID(expr)                                                                               \
    do {                                                                                                     \
        if (auto lumettaTriedVoid_ = (expr); !lumettaTriedVoid_)                                             \
            return lumettaTriedVoid_.error();                                                                \
    } while (0)
