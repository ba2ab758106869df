#include "platform/spotlight/MetadataStore.h"

#include "platform/foundation/IgnoreError.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Text.h"

#include <atomic>
#include <exception>
#include <set>

namespace platform::spotlight {

namespace {

// Attributes are one row per element so that "any element matches" is a plain indexed
// lookup. `folded` (case and diacritics removed) serves string comparisons, `number` the
// numeric and date ones; each index holds only the rows that have its column. The string
// index carries the text as well, so that a comparison the folded form cannot settle alone
// ("K" but not "k") is still answered from the index without reading the rows. Texts go to
// a full-text table whose tokenizer ignores case and diacritics, keyed by the item's id.
constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS items (
    id INTEGER PRIMARY KEY,
    path TEXT NOT NULL UNIQUE
);
CREATE TABLE IF NOT EXISTS attributes (
    item INTEGER NOT NULL,
    name TEXT NOT NULL,
    position INTEGER NOT NULL,
    kind INTEGER NOT NULL,
    text TEXT,
    folded TEXT,
    number,
    PRIMARY KEY (item, name, position)
) WITHOUT ROWID;
DROP INDEX IF EXISTS attributes_folded;
CREATE INDEX IF NOT EXISTS attributes_folded_text ON attributes(name, folded, text) WHERE folded IS NOT NULL;
CREATE INDEX IF NOT EXISTS attributes_number ON attributes(name, number) WHERE number IS NOT NULL;
CREATE VIRTUAL TABLE IF NOT EXISTS texts USING fts5(body, tokenize = 'unicode61 remove_diacritics 2');
)sql";

std::atomic<MetadataStore*> currentStore{nullptr};

// The cached statement for `sql` with `arguments` bound to ?1, ?2, ...
template <class... Arguments>
Result<sqlite::StatementCache::Loan> bound(sqlite::StatementCache& statements, const std::string& sql,
                                           Arguments... arguments) {
    auto loan = statements.get(sql);
    if (!loan)
        return loan;
    int index = 0;
    (loan.value()->bind(++index, arguments), ...);
    return loan;
}

// Runs a statement that returns no rows.
template <class... Arguments>
Result<void> execute(sqlite::StatementCache& statements, const std::string& sql, Arguments... arguments) {
    auto loan = LUMETTA_TRY(bound(statements, sql, arguments...));
    LUMETTA_TRY_VOID(loan->step());
    return {};
}

void logReadError(std::string_view what, const Error& error) {
    Log::line("metadata index: cannot read " + std::string(what) + ": " + error.message);
}

} // namespace

MetadataStore::MetadataStore(std::unique_ptr<sqlite::Database> db)
    : db_(std::move(db)), statements_(&db_->statements()) {}

MetadataStore::~MetadataStore() {
    MetadataStore* self = this;
    currentStore.compare_exchange_strong(self, nullptr);
}

Result<std::unique_ptr<MetadataStore>> MetadataStore::open(const std::filesystem::path& root) {
    const std::filesystem::path file = root / kFileName;
    auto db = LUMETTA_TRY(sqlite::Database::open(file));
    if (auto r = db->exec(kSchema); !r)
        return makeError(file.string() + ": " + r.error().message, r.error().code);
    return std::unique_ptr<MetadataStore>(new MetadataStore(std::move(db)));
}

void MetadataStore::setCurrent(MetadataStore* store) {
    currentStore.store(store);
}

MetadataStore* MetadataStore::current() {
    return currentStore.load();
}

Result<void> MetadataStore::control(const char* sql) const {
    // Every write nests a savepoint in the batch around it: prepared once, these cost
    // next to nothing, where parsing them on each call cost more than the write.
    return execute(*statements_, sql);
}

Result<void> MetadataStore::inTransaction(bool write, const std::function<Result<void>()>& body) const {
    std::lock_guard lock(mutex_);
    const bool outermost = depth_ == 0;
    // Reads nested in a transaction already see its snapshot; a write begins IMMEDIATE so
    // that it waits for another process's writer up front instead of failing halfway.
    const char* begin =
        outermost ? (write ? "BEGIN IMMEDIATE" : "BEGIN") : (write ? "SAVEPOINT store" : nullptr);
    if (begin != nullptr) {
        if (auto r = control(begin); !r)
            return r;
    }
    ++depth_;
    Result<void> result;
    try {
        result = body();
    } catch (const std::exception& e) {
        result = makeError(std::string("metadata index: ") + e.what());
    } catch (...) {
        result = makeError("metadata index: unexpected failure");
    }
    --depth_;
    if (depth_ == 0)
        lastItem_.reset();
    if (begin == nullptr)
        return result;
    if (!result) {
        lastItem_.reset(); // it may name a row the rollback takes away
        platform::ignoreError(
            db_->exec(outermost ? "ROLLBACK" : "ROLLBACK TO store; RELEASE store"),
            "metadata rollback: the failure that ended the transaction is the one passed on");
        return result;
    }
    if (auto r = control(outermost ? "COMMIT" : "RELEASE store"); !r) {
        if (outermost)
            platform::ignoreError(db_->exec("ROLLBACK"),
                                  "metadata rollback after a failed commit, whose error is passed on");
        return r;
    }
    return {};
}

Result<void> MetadataStore::batch(const std::function<Result<void>()>& body) {
    return inTransaction(true, body);
}

MetadataStore::Transaction::Transaction(MetadataStore& store) : store_(store), lock_(store.mutex_) {
    outermost_ = store_.depth_ == 0;
    open_ = store_.control(outermost_ ? "BEGIN IMMEDIATE" : "SAVEPOINT store").ok();
    if (open_)
        ++store_.depth_;
}

MetadataStore::Transaction::~Transaction() {
    if (!open_)
        return;
    --store_.depth_;
    store_.lastItem_.reset();
    platform::ignoreError(store_.db_->exec(outermost_ ? "ROLLBACK" : "ROLLBACK TO store; RELEASE store"),
                          "metadata batch left uncommitted: nothing of it may stay");
}

Result<void> MetadataStore::Transaction::commit() {
    if (!open_)
        return makeError("metadata index: the batch could not be started");
    open_ = false;
    --store_.depth_;
    store_.lastItem_.reset();
    if (auto r = store_.control(outermost_ ? "COMMIT" : "RELEASE store"); !r) {
        platform::ignoreError(store_.db_->exec(outermost_ ? "ROLLBACK" : "ROLLBACK TO store; RELEASE store"),
                              "metadata rollback after a failed commit, whose error is passed on");
        return r;
    }
    return {};
}

Result<void> MetadataStore::read(const std::function<Result<void>(MetadataLookup&)>& body) const {
    return inTransaction(false, [&]() -> Result<void> {
        MetadataLookup lookup(*statements_);
        return body(lookup);
    });
}

Result<std::optional<std::int64_t>> MetadataStore::findItem(std::string_view path) const {
    // Mirroring one message's tags asks for the same item a dozen times in a row; inside
    // a transaction no other writer can change it, so the last answer stands.
    if (lastItem_ && depth_ > 0 && lastItem_->first == path)
        return std::optional<std::int64_t>(lastItem_->second);
    auto s = LUMETTA_TRY(bound(*statements_, "SELECT id FROM items WHERE path = ?1", path));
    auto row = LUMETTA_TRY(s->step());
    if (!row)
        return std::optional<std::int64_t>();
    const std::int64_t id = s->columnInt(0);
    if (depth_ > 0)
        lastItem_.emplace(std::string(path), id);
    return std::optional<std::int64_t>(id);
}

Result<std::int64_t> MetadataStore::ensureItem(std::string_view path) {
    auto found = LUMETTA_TRY(findItem(path));
    if (found)
        return *found;
    LUMETTA_TRY_VOID(execute(*statements_, "INSERT INTO items (path) VALUES (?1)", path));
    const std::int64_t id = db_->lastInsertRowId();
    lastItem_.emplace(std::string(path), id);
    return id;
}

Result<bool> MetadataStore::deleteAttribute(std::int64_t item, std::string_view name) {
    if (name == kMDItemTextContent)
        return deleteText(item);
    LUMETTA_TRY_VOID(
        execute(*statements_, "DELETE FROM attributes WHERE item = ?1 AND name = ?2", item, name));
    return db_->changes() > 0;
}

Result<void> MetadataStore::insertAttribute(std::int64_t item, std::string_view name,
                                            const std::vector<AttributeElement>& elements) {
    auto s = LUMETTA_TRY(
        statements_->get("INSERT INTO attributes (item, name, position, kind, text, folded, number) "
                         "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)"));
    for (const AttributeElement& element : elements) {
        sqlite::Statement& statement = *s;
        statement.reset();
        statement.bind(1, item).bind(2, name).bind(3, std::int64_t{element.position});
        statement.bind(4, std::int64_t{static_cast<int>(element.kind)});
        switch (element.kind) {
        case ElementKind::String:
            statement.bind(5, std::string_view(element.text));
            statement.bind(6, std::string_view(text::fold(element.text, true, true)));
            break;
        case ElementKind::Integer:
        case ElementKind::Boolean:
            statement.bind(7, element.integer);
            break;
        case ElementKind::Real:
        case ElementKind::Date:
            statement.bind(7, element.real);
            break;
        case ElementKind::EmptyArray:
            break;
        }
        LUMETTA_TRY_VOID(statement.step());
    }
    return {};
}

Result<bool> MetadataStore::deleteText(std::int64_t item) {
    LUMETTA_TRY_VOID(execute(*statements_, "DELETE FROM texts WHERE rowid = ?1", item));
    return db_->changes() > 0;
}

Result<void> MetadataStore::setAttribute(std::string_view path, std::string_view name, const Value& value) {
    if (name.empty())
        return makeError("metadata index: an attribute needs a name");
    if (observer_ && !value.isNull())
        observer_(path);
    if (value.isNull()) {
        LUMETTA_TRY_VOID(removeAttribute(path, name));
        return {};
    }
    if (name == kMDItemTextContent) {
        if (!value.isString())
            return makeError("metadata index: the text of " + std::string(path) + " must be a string");
        return setTextContent(path, *value.string());
    }
    auto elements = AttributeCodec::encode(value);
    if (!elements)
        return makeError("metadata index: " + std::string(name) + ": " + elements.error().message);
    return inTransaction(true, [&]() -> Result<void> {
        auto item = LUMETTA_TRY(ensureItem(path));
        // Most writes restate what is there (a file saved again, tags mirrored after a
        // change to another tag); leaving those rows alone keeps the commit small.
        auto same = LUMETTA_TRY(holds(item, name, elements.value()));
        if (same)
            return {};
        LUMETTA_TRY_VOID(deleteAttribute(item, name));
        return insertAttribute(item, name, elements.value());
    });
}

Result<bool> MetadataStore::holds(std::int64_t item, std::string_view name,
                                  const std::vector<AttributeElement>& elements) const {
    auto s =
        LUMETTA_TRY(bound(*statements_,
                          "SELECT position, kind, text, number FROM attributes WHERE item = ?1 AND name = ?2 "
                          "ORDER BY position",
                          item, name));
    sqlite::Statement& statement = *s;
    std::size_t at = 0;
    for (;; ++at) {
        auto row = LUMETTA_TRY(statement.step());
        if (!row)
            return at == elements.size();
        if (at >= elements.size())
            return false;
        const AttributeElement& e = elements[at];
        if (statement.columnInt(0) != e.position || statement.columnInt(1) != static_cast<int>(e.kind))
            return false;
        switch (e.kind) {
        case ElementKind::String:
            if (statement.columnText(2) != e.text)
                return false;
            break;
        case ElementKind::Integer:
        case ElementKind::Boolean:
            if (statement.columnInt(3) != e.integer)
                return false;
            break;
        case ElementKind::Real:
        case ElementKind::Date:
            if (statement.columnDouble(3) != e.real)
                return false;
            break;
        case ElementKind::EmptyArray:
            break;
        }
    }
}

Result<bool> MetadataStore::removeFromItem(std::string_view path,
                                           const std::function<Result<bool>(std::int64_t)>& remove) {
    bool removed = false;
    auto r = inTransaction(true, [&]() -> Result<void> {
        auto item = LUMETTA_TRY(findItem(path));
        if (!item)
            return {};
        auto done = LUMETTA_TRY(remove(*item));
        removed = done;
        return {};
    });
    if (!r)
        return r.error();
    return removed;
}

Result<bool> MetadataStore::removeAttribute(std::string_view path, std::string_view name) {
    if (observer_)
        observer_(path);
    return removeFromItem(path, [&](std::int64_t item) { return deleteAttribute(item, name); });
}

Result<void> MetadataStore::setTextContent(std::string_view path, std::string_view text) {
    return inTransaction(true, [&]() -> Result<void> {
        auto item = LUMETTA_TRY(ensureItem(path));
        LUMETTA_TRY_VOID(deleteText(item));
        if (text.empty())
            return {};
        return execute(*statements_, "INSERT INTO texts (rowid, body) VALUES (?1, ?2)", item, text);
    });
}

Result<void> MetadataStore::replaceHostAttributes(std::string_view path, const Dictionary& values,
                                                  const std::vector<std::string>& hostNames) {
    // Everything is checked before anything is written, so a bad value leaves the item as
    // it was.
    std::vector<std::pair<std::string, std::vector<AttributeElement>>> encoded;
    std::string text;
    for (const auto& [name, value] : values.entries()) {
        if (name == kMDItemTextContent) {
            if (!value.isString())
                return makeError("metadata index: the text of " + std::string(path) + " must be a string");
            text = *value.string();
            continue;
        }
        auto elements = AttributeCodec::encode(value);
        if (!elements)
            return makeError("metadata index: " + name + ": " + elements.error().message);
        encoded.emplace_back(name, std::move(elements.value()));
    }
    std::set<std::string, std::less<>> replaced(hostNames.begin(), hostNames.end());
    for (const auto& [name, value] : values.entries())
        replaced.insert(name);
    return inTransaction(true, [&]() -> Result<void> {
        auto item = LUMETTA_TRY(ensureItem(path));
        for (const std::string& name : replaced) {
            LUMETTA_TRY_VOID(deleteAttribute(item, name));
        }
        for (const auto& [name, elements] : encoded) {
            if (auto r = insertAttribute(item, name, elements); !r)
                return r;
        }
        return text.empty() ? Result<void>() : setTextContent(path, text);
    });
}

Result<bool> MetadataStore::removeItem(std::string_view path) {
    return removeFromItem(path, [&](std::int64_t item) -> Result<bool> {
        lastItem_.reset();
        for (const char* sql : {"DELETE FROM attributes WHERE item = ?1",
                                "DELETE FROM texts WHERE rowid = ?1", "DELETE FROM items WHERE id = ?1"}) {
            LUMETTA_TRY_VOID(execute(*statements_, sql, item));
        }
        return true;
    });
}

Result<void> MetadataStore::readAttributes(std::int64_t item, std::string_view onlyName,
                                           Dictionary& into) const {
    auto s = LUMETTA_TRY(statements_->get(onlyName.empty()
                                              ? "SELECT name, position, kind, text, number FROM attributes "
                                                "WHERE item = ?1 ORDER BY name, position"
                                              : "SELECT name, position, kind, text, number FROM attributes "
                                                "WHERE item = ?1 AND name = ?2 ORDER BY position"));
    sqlite::Statement& statement = *s;
    statement.bind(1, item);
    if (!onlyName.empty())
        statement.bind(2, onlyName);
    return readRows(statement, into);
}

// Rows of (name, position, kind, text, number) ordered by name and position, gathered
// into one value per name.
Result<void> MetadataStore::readRows(sqlite::Statement& statement, Dictionary& into) const {
    std::string name;
    std::vector<AttributeElement> elements;
    for (;;) {
        auto row = LUMETTA_TRY(statement.step());
        std::string rowName = row ? statement.columnText(0) : std::string();
        if (!elements.empty() && (!row || rowName != name)) {
            into.set(name, AttributeCodec::decode(elements));
            elements.clear();
        }
        if (!row)
            return {};
        name = std::move(rowName);
        AttributeElement element;
        element.position = static_cast<int>(statement.columnInt(1));
        element.kind = static_cast<ElementKind>(statement.columnInt(2));
        element.text = statement.columnText(3);
        element.integer = statement.columnInt(4);
        element.real = statement.columnDouble(4);
        elements.push_back(std::move(element));
    }
}

Result<void> MetadataStore::readText(std::int64_t item, Dictionary& into) const {
    auto s = LUMETTA_TRY(bound(*statements_, "SELECT body FROM texts WHERE rowid = ?1", item));
    auto row = LUMETTA_TRY(s->step());
    if (row)
        into.set(std::string(kMDItemTextContent), s->columnText(0));
    return {};
}

Value MetadataStore::attribute(std::string_view path, std::string_view name) const {
    Dictionary found;
    auto r = inTransaction(false, [&]() -> Result<void> {
        auto item = LUMETTA_TRY(findItem(path));
        if (!item || name.empty())
            return {};
        return name == kMDItemTextContent ? readText(*item, found) : readAttributes(*item, name, found);
    });
    if (!r)
        logReadError(std::string(name) + " of " + std::string(path), r.error());
    return found.get(name);
}

Dictionary MetadataStore::attributes(std::string_view path) const {
    Dictionary found;
    auto r = inTransaction(false, [&]() -> Result<void> {
        auto item = LUMETTA_TRY(findItem(path));
        if (!item)
            return {};
        if (auto read = readAttributes(*item, {}, found); !read)
            return read;
        return readText(*item, found);
    });
    if (!r)
        logReadError("the attributes of " + std::string(path), r.error());
    return found;
}

Dictionary MetadataStore::attributes(std::string_view path, const std::vector<std::string>& names) const {
    Dictionary found;
    if (names.empty())
        return found;
    auto r = inTransaction(false, [&]() -> Result<void> {
        auto item = LUMETTA_TRY(findItem(path));
        if (!item)
            return {};
        // One statement per count of names, prepared once: a tag mirror asks for the same
        // eight names for every message.
        std::string sql =
            "SELECT name, position, kind, text, number FROM attributes WHERE item = ?1 AND name IN (";
        for (std::size_t i = 0; i < names.size(); ++i)
            sql += (i ? ", ?" : "?") + std::to_string(i + 2);
        sql += ") ORDER BY name, position";
        auto s = LUMETTA_TRY(statements_->get(sql));
        sqlite::Statement& statement = *s;
        statement.bind(1, *item);
        bool wantsText = false;
        for (std::size_t i = 0; i < names.size(); ++i) {
            statement.bind(static_cast<int>(i + 2), std::string_view(names[i]));
            wantsText = wantsText || names[i] == kMDItemTextContent;
        }
        if (auto read = readRows(statement, found); !read)
            return read;
        return wantsText ? readText(*item, found) : Result<void>();
    });
    if (!r)
        logReadError("attributes of " + std::string(path), r.error());
    return found;
}

bool MetadataStore::hasItem(std::string_view path) const {
    std::lock_guard lock(mutex_);
    auto item = findItem(path);
    if (!item)
        logReadError(std::string(path), item.error());
    return item.ok() && item.value().has_value();
}

std::size_t MetadataStore::itemCount() const {
    std::lock_guard lock(mutex_);
    auto s = statements_->get("SELECT count(*) FROM items");
    if (!s)
        return 0;
    auto row = s.value()->step();
    if (!row || !row.value()) {
        if (!row)
            logReadError("the number of items", row.error());
        return 0;
    }
    return static_cast<std::size_t>(s.value()->columnInt(0));
}

Result<std::vector<std::string>> MetadataStore::itemPaths() const {
    std::vector<std::string> paths;
    auto r = inTransaction(false, [&]() -> Result<void> {
        auto s = LUMETTA_TRY(statements_->get("SELECT path FROM items ORDER BY path"));
        for (;;) {
            auto row = LUMETTA_TRY(s->step());
            if (!row)
                return {};
            paths.push_back(s->columnText(0));
        }
    });
    if (!r)
        return r.error();
    return paths;
}

} // namespace platform::spotlight
