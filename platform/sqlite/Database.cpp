#include "platform/sqlite/Database.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <string>
#include <unistd.h>

namespace platform::sqlite {

Result<std::unique_ptr<Database>> Database::open(const std::filesystem::path& path) {
    // The databases hold mail: a new one is made readable by its owner only. SQLite
    // would make it with the usual 0644, and it gives its -wal, -shm and -journal
    // files the mode of the database, so the empty file made here sets them all.
    const int made = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (made >= 0)
        ::close(made);
    else if (errno != EEXIST)
        return makeError("cannot create database " + path.string() + ": " + std::strerror(errno), errno);
    sqlite3* db = nullptr;
    const int rc = sqlite3_open_v2(
        path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        std::string message = db ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
        sqlite3_close(db);
        return makeError("cannot open database " + path.string() + ": " + message, rc);
    }
    std::unique_ptr<Database> database(new Database(db));
    sqlite3_busy_timeout(db, 10000);
    // WAL lets readers go on while one process writes; NORMAL sync is durable across
    // application crashes, and the message files themselves carry the tags. Reading through
    // a memory map spares a command that scans thousands of rows a system call per page.
    if (auto r = database->exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON; "
                                "PRAGMA mmap_size=1073741824;");
        !r)
        return makeError("cannot open database " + path.string() + ": " + r.error().message, r.error().code);
    return database;
}

Database::~Database() {
    // Statements must be finalised before their connection closes.
    statements_.clear();
    sqlite3_close_v2(db_);
}

Result<void> Database::exec(std::string_view sql) {
    char* error = nullptr;
    const std::string text(sql);
    const int rc = sqlite3_exec(db_, text.c_str(), nullptr, nullptr, &error);
    if (rc != SQLITE_OK) {
        std::string message = error ? error : sqlite3_errstr(rc);
        sqlite3_free(error);
        return makeError("database: " + message, rc);
    }
    return {};
}

Result<Statement> Database::prepare(std::string_view sql) {
    sqlite3_stmt* stmt = nullptr;
    const int rc = sqlite3_prepare_v2(db_, sql.data(), static_cast<int>(sql.size()), &stmt, nullptr);
    if (rc != SQLITE_OK)
        return makeError(std::string("database: ") + sqlite3_errmsg(db_), rc);
    return Statement(db_, stmt);
}

std::int64_t Database::lastInsertRowId() const {
    return sqlite3_last_insert_rowid(db_);
}

int Database::changes() const {
    return sqlite3_changes(db_);
}

} // namespace platform::sqlite
