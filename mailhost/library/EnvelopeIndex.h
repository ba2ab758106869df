#pragma once

#include "platform/foundation/Result.h"
#include "platform/sqlite/Database.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace mailhost {

// What the library knows of one stored message without opening its file.
struct Envelope {
    std::int64_t rowid = 0; // the library row number, also the file's name
    std::int64_t mailbox = 0;
    std::string messageID; // the "message-id" header as written
    std::string subject;
    std::string sender;
    std::string recipients;
    double dateSent = 0;     // seconds since 2001
    double dateReceived = 0; // seconds since 2001
    std::uint64_t flags = 0;
    std::string remoteID;
    bool partial = false; // stored as <rowid>.partial.emlx
};

// Where a stored message's file is, as far as the index says: enough to name the file.
struct MessagePlace {
    std::int64_t rowid = 0;
    std::int64_t mailbox = 0;
    bool partial = false;
};

struct MailboxRecord {
    std::int64_t id = 0;
    std::string name;     // path below the library root without ".mbox": "Projects/Apollo"
    bool sharded = false; // files under Data/<digits>/Messages/
};

// The library's index of mailboxes and messages ("Envelope Index" in the library
// root), so that listing a mailbox never reads message files.
class EnvelopeIndex {
public:
    static platform::Result<std::unique_ptr<EnvelopeIndex>> open(const std::filesystem::path& file);

    platform::Result<MailboxRecord> addMailbox(const std::string& name, bool sharded = false);
    std::vector<MailboxRecord> mailboxes() const;
    std::optional<MailboxRecord> mailboxNamed(const std::string& name) const;
    std::optional<MailboxRecord> mailbox(std::int64_t id) const;

    // Inserts with the envelope's rowid when it is set (adoption keeps file names),
    // otherwise with the next free one; returns the rowid used.
    platform::Result<std::int64_t> insert(const Envelope& envelope);
    platform::Result<void> update(const Envelope& envelope);
    // New flag words for many rows at once, in one transaction: all or none.
    platform::Result<void> updateFlags(std::span<const std::pair<std::int64_t, std::uint64_t>> flagsByRow);
    platform::Result<void> remove(std::int64_t rowid);
    std::optional<Envelope> message(std::int64_t rowid) const;
    // The envelopes of those rows that exist, in no particular order.
    std::vector<Envelope> messages(std::span<const std::int64_t> rowids) const;
    // The same rows' places only, which a listing of thousands of files needs.
    std::vector<MessagePlace> places(std::span<const std::int64_t> rowids) const;
    std::vector<Envelope> messagesInMailbox(std::int64_t mailbox) const;
    std::size_t messageCount() const;

    // For batches that span calls: begin, then commit or roll back.
    platform::Result<void> begin() { return db_->exec("BEGIN IMMEDIATE"); }
    platform::Result<void> commit() { return db_->exec("COMMIT"); }
    platform::Result<void> rollback() { return db_->exec("ROLLBACK"); }

    template <class F> platform::Result<void> transaction(F&& body) {
        return db_->transaction(std::forward<F>(body));
    }

private:
    explicit EnvelopeIndex(std::unique_ptr<platform::sqlite::Database> db) : db_(std::move(db)) {}
    std::vector<Envelope> query(const std::string& where, std::int64_t arg) const;

    std::unique_ptr<platform::sqlite::Database> db_;
};

} // namespace mailhost
