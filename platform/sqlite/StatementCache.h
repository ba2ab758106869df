#pragma once

#include "platform/foundation/Result.h"
#include "platform/sqlite/Statement.h"

#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace platform::sqlite {

class Database;

// Prepared statements of one connection, kept by their SQL text for the life of the
// connection: the library and its indexes run the same few statements thousands of times
// per command, and preparing one costs more than running it.
//
// A statement is lent out whole and comes back when the loan ends, so threads sharing the
// connection never step the same statement, and a caller that needs a statement again
// while it holds a loan on it (a nested read) gets a second one prepared for it.
class StatementCache {
public:
    // A statement out of the cache, returned to it reset when the loan ends, so that a
    // query left half-read never holds a read snapshot open.
    class Loan {
    public:
        Loan(StatementCache& owner, std::string sql, Statement statement)
            : owner_(&owner), sql_(std::move(sql)), statement_(std::move(statement)) {}
        ~Loan();
        Loan(Loan&& other) noexcept;
        Loan& operator=(Loan&&) = delete;
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        Statement& operator*() { return statement_; }
        Statement* operator->() { return &statement_; }

    private:
        StatementCache* owner_;
        std::string sql_;
        Statement statement_;
    };

    explicit StatementCache(Database& db) : db_(db) {}
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    [[nodiscard]] Result<Loan> get(std::string_view sql);
    // Finalises every idle statement (before the connection closes).
    void clear();

private:
    void giveBack(std::string sql, Statement statement);

    Database& db_;
    std::mutex mutex_;
    std::unordered_map<std::string, std::vector<Statement>> idle_;
};

} // namespace platform::sqlite
