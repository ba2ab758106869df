#pragma once

#include "platform/foundation/Result.h"
#include "platform/sqlite/Database.h"
#include "platform/sqlite/Statement.h"

#include <string>
#include <unordered_map>

namespace platform::spotlight {

// Prepared statements of one connection, kept by their SQL text: indexing a library runs
// the same few statements hundreds of thousands of times, and preparing costs more than
// running them. Not thread-safe; the store serialises its users.
class StatementCache {
public:
    // A statement lent out of the cache. It is reset when the loan ends, so a query left
    // half-read never holds a read snapshot open.
    class Loan {
    public:
        explicit Loan(sqlite::Statement& statement) : statement_(&statement) {}
        ~Loan();
        Loan(Loan&& other) noexcept;
        Loan& operator=(Loan&&) = delete;
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        sqlite::Statement& operator*() const { return *statement_; }
        sqlite::Statement* operator->() const { return statement_; }

    private:
        sqlite::Statement* statement_;
    };

    explicit StatementCache(sqlite::Database& db) : db_(db) {}

    [[nodiscard]] Result<Loan> get(const std::string& sql);

private:
    sqlite::Database& db_;
    std::unordered_map<std::string, sqlite::Statement> statements_;
};

} // namespace platform::spotlight
