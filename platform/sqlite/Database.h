#pragma once

#include "platform/foundation/IgnoreError.h"
#include "platform/foundation/Result.h"
#include "platform/sqlite/Statement.h"
#include "platform/sqlite/StatementCache.h"

#include <filesystem>
#include <memory>
#include <string_view>

struct sqlite3;

namespace platform::sqlite {

// An SQLite database in write-ahead-log mode, shared safely with other processes (the
// command line while the desktop client runs): writers wait for each other up to a
// busy timeout instead of failing at once.
class Database {
public:
    static Result<std::unique_ptr<Database>> open(const std::filesystem::path& path);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    Result<void> exec(std::string_view sql);
    Result<Statement> prepare(std::string_view sql);
    // A statement prepared once per connection and lent out for one use (see
    // StatementCache): what every query run more than once should use.
    Result<StatementCache::Loan> cached(std::string_view sql) { return statements_.get(sql); }
    StatementCache& statements() { return statements_; }
    std::int64_t lastInsertRowId() const;
    int changes() const;

    // Runs `body` inside one immediate transaction; rolls back when it fails.
    template <class F> Result<void> transaction(F&& body) {
        if (auto r = exec("BEGIN IMMEDIATE"); !r)
            return r;
        Result<void> result = body();
        if (!result) {
            ignoreError(exec("ROLLBACK"), "rollback: the failure of the transaction's body is passed on");
            return result;
        }
        return exec("COMMIT");
    }

private:
    explicit Database(sqlite3* db) : db_(db), statements_(*this) {}
    sqlite3* db_;
    StatementCache statements_;
};

} // namespace platform::sqlite
