#include "platform/sqlite/Statement.h"

#include <sqlite3.h>
#include <utility>

namespace platform::sqlite {

Statement::~Statement() {
    if (stmt_)
        sqlite3_finalize(stmt_);
}

Statement::Statement(Statement&& other) noexcept
    : db_(other.db_), stmt_(std::exchange(other.stmt_, nullptr)) {}

Statement& Statement::operator=(Statement&& other) noexcept {
    if (this != &other) {
        if (stmt_)
            sqlite3_finalize(stmt_);
        db_ = other.db_;
        stmt_ = std::exchange(other.stmt_, nullptr);
    }
    return *this;
}

Statement& Statement::bind(int index, std::int64_t value) {
    sqlite3_bind_int64(stmt_, index, value);
    return *this;
}

Statement& Statement::bind(int index, double value) {
    sqlite3_bind_double(stmt_, index, value);
    return *this;
}

Statement& Statement::bind(int index, std::string_view text) {
    sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return *this;
}

Statement& Statement::bindNull(int index) {
    sqlite3_bind_null(stmt_, index);
    return *this;
}

Statement& Statement::bind(int index, const std::optional<std::string>& text) {
    return text ? bind(index, std::string_view(*text)) : bindNull(index);
}

Result<bool> Statement::step() {
    const int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    return makeError(std::string("database: ") + sqlite3_errmsg(db_), rc);
}

Result<void> Statement::run() {
    auto r = step();
    reset();
    if (!r)
        return r.error();
    return {};
}

void Statement::reset() {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
}

std::int64_t Statement::columnInt(int column) const {
    return sqlite3_column_int64(stmt_, column);
}

double Statement::columnDouble(int column) const {
    return sqlite3_column_double(stmt_, column);
}

std::string Statement::columnText(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, column));
    return text ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(stmt_, column)))
                : std::string();
}

bool Statement::columnIsNull(int column) const {
    return sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

} // namespace platform::sqlite
