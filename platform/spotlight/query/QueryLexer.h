#pragma once

#include "platform/foundation/Result.h"
#include "platform/spotlight/query/QueryToken.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace platform::spotlight {

// Cuts query text into tokens. White space between tokens is free, so "a!=\"x\"cd " and
// "a != \"x\"cd" read alike; a character that starts no token is an error at its offset.
class QueryLexer {
public:
    [[nodiscard]] static Result<std::vector<QueryToken>> tokenize(std::string_view query);

private:
    explicit QueryLexer(std::string_view query) : query_(query) {}

    [[nodiscard]] Result<void> run();
    [[nodiscard]] Result<void> quoted();
    [[nodiscard]] Result<void> number();
    [[nodiscard]] Result<void> variable();
    [[nodiscard]] Result<void> symbol();
    void identifier();
    void skipSpace();
    bool startsNumber() const;
    char peek(std::size_t ahead = 0) const;
    void add(QueryToken::Kind kind, std::size_t start, std::size_t length);

    std::string_view query_;
    std::size_t at_ = 0;
    std::vector<QueryToken> tokens_;
};

} // namespace platform::spotlight
