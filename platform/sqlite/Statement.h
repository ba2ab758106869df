#pragma once

#include "platform/foundation/Result.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace platform::sqlite {

// One prepared statement. Binding indexes start at 1, column indexes at 0, as in
// SQLite. Errors carry SQLite's message and code.
class Statement {
public:
    Statement(sqlite3* db, sqlite3_stmt* stmt) : db_(db), stmt_(stmt) {}
    ~Statement();
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&& other) noexcept;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& bind(int index, std::int64_t value);
    Statement& bind(int index, double value);
    Statement& bind(int index, std::string_view text);
    Statement& bindNull(int index);
    Statement& bind(int index, const std::optional<std::string>& text);

    // Advances to the next row: true with a row, false when done.
    Result<bool> step();
    // Runs a statement that returns no rows to completion.
    Result<void> run();
    void reset();

    std::int64_t columnInt(int column) const;
    double columnDouble(int column) const;
    std::string columnText(int column) const;
    bool columnIsNull(int column) const;

private:
    sqlite3* db_;
    sqlite3_stmt* stmt_;
};

} // namespace platform::sqlite
