#include "mailhost/library/EnvelopeIndex.h"

namespace mailhost {

using platform::Result;
using platform::sqlite::Database;

namespace {

constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS mailboxes (
    ROWID INTEGER PRIMARY KEY,
    name TEXT NOT NULL UNIQUE,
    sharded INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE IF NOT EXISTS messages (
    ROWID INTEGER PRIMARY KEY,
    mailbox INTEGER NOT NULL REFERENCES mailboxes(ROWID),
    message_id TEXT NOT NULL DEFAULT '',
    subject TEXT NOT NULL DEFAULT '',
    sender TEXT NOT NULL DEFAULT '',
    recipients TEXT NOT NULL DEFAULT '',
    date_sent REAL NOT NULL DEFAULT 0,
    date_received REAL NOT NULL DEFAULT 0,
    flags INTEGER NOT NULL DEFAULT 0,
    remote_id TEXT NOT NULL DEFAULT '',
    partial INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX IF NOT EXISTS messages_mailbox ON messages(mailbox);
CREATE INDEX IF NOT EXISTS messages_message_id ON messages(message_id);
)sql";

constexpr const char* kColumns = "ROWID, mailbox, message_id, subject, sender, recipients, date_sent, "
                                 "date_received, flags, remote_id, partial";

Envelope readEnvelope(const platform::sqlite::Statement& s) {
    Envelope e;
    e.rowid = s.columnInt(0);
    e.mailbox = s.columnInt(1);
    e.messageID = s.columnText(2);
    e.subject = s.columnText(3);
    e.sender = s.columnText(4);
    e.recipients = s.columnText(5);
    e.dateSent = s.columnDouble(6);
    e.dateReceived = s.columnDouble(7);
    e.flags = static_cast<std::uint64_t>(s.columnInt(8));
    e.remoteID = s.columnText(9);
    e.partial = s.columnInt(10) != 0;
    return e;
}

void bindEnvelope(platform::sqlite::Statement& s, const Envelope& e) {
    s.bind(1, e.mailbox)
        .bind(2, std::string_view(e.messageID))
        .bind(3, std::string_view(e.subject))
        .bind(4, std::string_view(e.sender))
        .bind(5, std::string_view(e.recipients))
        .bind(6, e.dateSent)
        .bind(7, e.dateReceived)
        .bind(8, static_cast<std::int64_t>(e.flags))
        .bind(9, std::string_view(e.remoteID))
        .bind(10, std::int64_t{e.partial ? 1 : 0});
}

// Rows as one JSON array, bound as a single parameter: a listing of thousands of
// messages is one query, not one per message.
std::string jsonList(std::span<const std::int64_t> rowids) {
    std::string list = "[";
    for (const std::int64_t rowid : rowids) {
        list += std::to_string(rowid);
        list += ',';
    }
    list.back() = ']';
    return list;
}

// Runs `select` ("SELECT ... FROM messages") over the rows named, `take` seeing each
// result row. A failing statement takes nothing: a listing then shows fewer messages,
// as it would had they gone meanwhile.
template <class Take>
void eachRowOf(platform::sqlite::Database& db, const std::string& select,
               std::span<const std::int64_t> rowids, Take take) {
    if (rowids.empty())
        return;
    auto s = db.cached(select + " WHERE ROWID IN (SELECT value FROM json_each(?1))");
    if (!s)
        return;
    const std::string list = jsonList(rowids);
    s.value()->bind(1, std::string_view(list));
    while (s.value()->step().valueOr(false))
        take(*s.value());
}

} // namespace

Result<std::unique_ptr<EnvelopeIndex>> EnvelopeIndex::open(const std::filesystem::path& file) {
    auto db = LUMETTA_TRY(Database::open(file));
    if (auto r = db->exec(kSchema); !r)
        return platform::makeError(file.string() + ": " + r.error().message, r.error().code);
    return std::unique_ptr<EnvelopeIndex>(new EnvelopeIndex(std::move(db)));
}

Result<MailboxRecord> EnvelopeIndex::addMailbox(const std::string& name, bool sharded) {
    if (auto existing = mailboxNamed(name))
        return *existing;
    auto s = LUMETTA_TRY(db_->cached("INSERT INTO mailboxes (name, sharded) VALUES (?1, ?2)"));
    LUMETTA_TRY_VOID(s->bind(1, std::string_view(name)).bind(2, std::int64_t{sharded ? 1 : 0}).run());
    return MailboxRecord{db_->lastInsertRowId(), name, sharded};
}

std::vector<MailboxRecord> EnvelopeIndex::mailboxes() const {
    std::vector<MailboxRecord> out;
    auto s = db_->cached("SELECT ROWID, name, sharded FROM mailboxes ORDER BY name");
    if (!s)
        return out;
    while (s.value()->step().valueOr(false))
        out.push_back({s.value()->columnInt(0), s.value()->columnText(1), s.value()->columnInt(2) != 0});
    return out;
}

std::optional<MailboxRecord> EnvelopeIndex::mailboxNamed(const std::string& name) const {
    auto s = db_->cached("SELECT ROWID, name, sharded FROM mailboxes WHERE name = ?1");
    if (!s || !s.value()->bind(1, std::string_view(name)).step().valueOr(false))
        return std::nullopt;
    return MailboxRecord{s.value()->columnInt(0), s.value()->columnText(1), s.value()->columnInt(2) != 0};
}

std::optional<MailboxRecord> EnvelopeIndex::mailbox(std::int64_t id) const {
    auto s = db_->cached("SELECT ROWID, name, sharded FROM mailboxes WHERE ROWID = ?1");
    if (!s || !s.value()->bind(1, id).step().valueOr(false))
        return std::nullopt;
    return MailboxRecord{s.value()->columnInt(0), s.value()->columnText(1), s.value()->columnInt(2) != 0};
}

Result<std::int64_t> EnvelopeIndex::insert(const Envelope& envelope) {
    auto s = LUMETTA_TRY(db_->cached(std::string("INSERT INTO messages (") + kColumns +
                                     ") VALUES (?11, ?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)"));
    bindEnvelope(*s, envelope);
    if (envelope.rowid > 0)
        s->bind(11, envelope.rowid);
    else
        s->bindNull(11);
    LUMETTA_TRY_VOID(s->run());
    return db_->lastInsertRowId();
}

Result<void> EnvelopeIndex::update(const Envelope& envelope) {
    auto s = LUMETTA_TRY(
        db_->cached("UPDATE messages SET mailbox = ?1, message_id = ?2, subject = ?3, sender = ?4, "
                    "recipients = ?5, date_sent = ?6, date_received = ?7, flags = ?8, remote_id = ?9, "
                    "partial = ?10 WHERE ROWID = ?11"));
    bindEnvelope(*s, envelope);
    s->bind(11, envelope.rowid);
    return s->run();
}

Result<void> EnvelopeIndex::updateFlags(std::span<const std::pair<std::int64_t, std::uint64_t>> flagsByRow) {
    return db_->transaction([&]() -> Result<void> {
        auto s = LUMETTA_TRY(db_->cached("UPDATE messages SET flags = ?1 WHERE ROWID = ?2"));
        for (const auto& [rowid, flags] : flagsByRow) {
            s->reset();
            if (auto r = s->bind(1, static_cast<std::int64_t>(flags)).bind(2, rowid).run(); !r)
                return r;
        }
        return {};
    });
}

Result<void> EnvelopeIndex::remove(std::int64_t rowid) {
    auto s = LUMETTA_TRY(db_->cached("DELETE FROM messages WHERE ROWID = ?1"));
    return s->bind(1, rowid).run();
}

std::vector<Envelope> EnvelopeIndex::query(const std::string& where, std::int64_t arg) const {
    std::vector<Envelope> out;
    auto s = db_->cached(std::string("SELECT ") + kColumns + " FROM messages " + where);
    if (!s)
        return out;
    s.value()->bind(1, arg);
    while (s.value()->step().valueOr(false))
        out.push_back(readEnvelope(*s.value()));
    return out;
}

std::optional<Envelope> EnvelopeIndex::message(std::int64_t rowid) const {
    auto found = query("WHERE ROWID = ?1", rowid);
    if (found.empty())
        return std::nullopt;
    return found.front();
}

std::vector<Envelope> EnvelopeIndex::messages(std::span<const std::int64_t> rowids) const {
    std::vector<Envelope> out;
    out.reserve(rowids.size());
    eachRowOf(*db_, std::string("SELECT ") + kColumns + " FROM messages", rowids,
              [&](platform::sqlite::Statement& row) { out.push_back(readEnvelope(row)); });
    return out;
}

std::vector<MessagePlace> EnvelopeIndex::places(std::span<const std::int64_t> rowids) const {
    std::vector<MessagePlace> out;
    out.reserve(rowids.size());
    eachRowOf(*db_, "SELECT ROWID, mailbox, partial FROM messages", rowids,
              [&](platform::sqlite::Statement& row) {
                  out.push_back({row.columnInt(0), row.columnInt(1), row.columnInt(2) != 0});
              });
    return out;
}

std::vector<Envelope> EnvelopeIndex::messagesInMailbox(std::int64_t mailbox) const {
    return query("WHERE mailbox = ?1 ORDER BY date_received, ROWID", mailbox);
}

std::size_t EnvelopeIndex::messageCount() const {
    auto s = db_->cached("SELECT count(*) FROM messages");
    if (!s || !s.value()->step().valueOr(false))
        return 0;
    return static_cast<std::size_t>(s.value()->columnInt(0));
}

} // namespace mailhost
