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

} // namespace platform
