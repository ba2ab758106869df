#pragma once

#include "platform/foundation/Result.h"
#include "platform/foundation/Value.h"
#include "platform/spotlight/AttributeCodec.h"
#include "platform/spotlight/MetadataLookup.h"
#include "platform/sqlite/Database.h"
#include "platform/sqlite/StatementCache.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::spotlight {

// The attribute that holds a message's text. It lives in the full-text table rather than
// with the other attributes, so that searching it is a word lookup and not a scan.
inline constexpr std::string_view kMDItemTextContent = "kMDItemTextContent";

// The metadata index of one mail library: `Metadata.sqlite` in the library's root folder,
// holding named, typed attributes per file path and the files' text for full-text search.
//
// One connection serves every thread, behind a recursive mutex. Each operation is several
// statements that must see and leave the index consistent, and SQLite admits one writer at
// a time anyway, so connections per thread would add locking traffic without letting
// writes overlap; queries are short enough to take turns. The mutex is recursive so that a
// batch's body can call the store. Other processes (the command line beside the desktop
// client) share the file through write-ahead logging and wait for each other's writes up
// to the connection's busy timeout.
class MetadataStore {
public:
    static constexpr const char* kFileName = "Metadata.sqlite";

    // Opens, and creates when missing, the index in `root`.
    [[nodiscard]] static Result<std::unique_ptr<MetadataStore>> open(const std::filesystem::path& root);
    ~MetadataStore();
    MetadataStore(const MetadataStore&) = delete;
    MetadataStore& operator=(const MetadataStore&) = delete;

    // The store the MDItem functions use: the library that is open in this process. A
    // store stops being current when it is destroyed.
    static void setCurrent(MetadataStore* store);
    static MetadataStore* current();

    // Told the path of every attribute write and removal before it is made: whoever owns
    // the files notes which entries may be about to run ahead of them. Set once, before
    // other threads use the store.
    using AttributeWriteObserver = std::function<void(std::string_view path)>;
    void setAttributeWriteObserver(AttributeWriteObserver observer) { observer_ = std::move(observer); }

    // Writes one attribute of the file at `path`, adding the item when the index does not
    // know it yet. A null value removes the attribute.
    [[nodiscard]] Result<void> setAttribute(std::string_view path, std::string_view name, const Value& value);
    // Null when the item or the attribute is absent (or the index cannot be read).
    Value attribute(std::string_view path, std::string_view name) const;
    // True when there was an attribute to remove.
    [[nodiscard]] Result<bool> removeAttribute(std::string_view path, std::string_view name);
    // Every attribute of the item, by name in alphabetical order, and its text last.
    Dictionary attributes(std::string_view path) const;
    // Only the attributes named (the text too when named), read in one go.
    Dictionary attributes(std::string_view path, const std::vector<std::string>& names) const;
    bool hasItem(std::string_view path) const;
    // True when the index knew the item.
    [[nodiscard]] Result<bool> removeItem(std::string_view path);
    // Empty text removes it.
    [[nodiscard]] Result<void> setTextContent(std::string_view path, std::string_view text);
    // A re-index by the mail client: the attributes named in `hostNames` or in `values` are
    // replaced by `values`, and every other attribute stays, since others (the tags) wrote
    // those and a rewrite of the message file must not lose them.
    [[nodiscard]] Result<void> replaceHostAttributes(std::string_view path, const Dictionary& values,
                                                     const std::vector<std::string>& hostNames);
    std::size_t itemCount() const;
    // The path of every item, sorted.
    [[nodiscard]] Result<std::vector<std::string>> itemPaths() const;

    // Runs `body` in one transaction, committed when it succeeds and rolled back when it
    // fails, so that indexing a whole mailbox costs one commit. Batches nest. Other threads
    // wait until the batch ends; `body` must not wait for them.
    [[nodiscard]] Result<void> batch(const std::function<Result<void>()>& body);
    // A batch whose body is not one function: an import adds its messages one call at a
    // time and commits every thousand. The store is this thread's until the transaction
    // ends; dropping it uncommitted rolls its writes back.
    class Transaction {
    public:
        explicit Transaction(MetadataStore& store);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        [[nodiscard]] Result<void> commit();

    private:
        MetadataStore& store_;
        std::unique_lock<std::recursive_mutex> lock_;
        bool open_ = false;
        bool outermost_ = false;
    };

    // Runs `body` with the index's reads over one consistent snapshot (queries).
    [[nodiscard]] Result<void> read(const std::function<Result<void>(MetadataLookup&)>& body) const;

private:
    explicit MetadataStore(std::unique_ptr<sqlite::Database> db);

    // Runs a transaction control statement (BEGIN, SAVEPOINT, COMMIT, RELEASE).
    [[nodiscard]] Result<void> control(const char* sql) const;
    [[nodiscard]] Result<void> inTransaction(bool write, const std::function<Result<void>()>& body) const;
    [[nodiscard]] Result<std::optional<std::int64_t>> findItem(std::string_view path) const;
    [[nodiscard]] Result<std::int64_t> ensureItem(std::string_view path);
    // Runs `remove` on the item at `path` in a write transaction; false when there is none.
    [[nodiscard]] Result<bool> removeFromItem(std::string_view path,
                                              const std::function<Result<bool>(std::int64_t)>& remove);
    // Whether the item's attribute is stored as exactly these elements.
    [[nodiscard]] Result<bool> holds(std::int64_t item, std::string_view name,
                                     const std::vector<AttributeElement>& elements) const;
    [[nodiscard]] Result<bool> deleteAttribute(std::int64_t item, std::string_view name);
    [[nodiscard]] Result<void> insertAttribute(std::int64_t item, std::string_view name,
                                               const std::vector<AttributeElement>& elements);
    [[nodiscard]] Result<bool> deleteText(std::int64_t item);
    [[nodiscard]] Result<void> readAttributes(std::int64_t item, std::string_view onlyName,
                                              Dictionary& into) const;
    [[nodiscard]] Result<void> readRows(sqlite::Statement& statement, Dictionary& into) const;
    [[nodiscard]] Result<void> readText(std::int64_t item, Dictionary& into) const;

    mutable std::recursive_mutex mutex_;
    AttributeWriteObserver observer_;
    std::unique_ptr<sqlite::Database> db_;
    // The connection's own cache.
    sqlite::StatementCache* statements_;
    // How many transactions are open on this connection: the outermost one begins and
    // commits, inner ones are savepoints.
    mutable int depth_ = 0;
    // The item last found by path, while a transaction is open (see findItem).
    mutable std::optional<std::pair<std::string, std::int64_t>> lastItem_;
};

} // namespace platform::spotlight
