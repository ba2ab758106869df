#include "mailhost/mail/LibraryStore.h"

#include "mailhost/mail/MessageEnvelope.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

#include <map>
#include <optional>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Result;
using platform::Value;
using platform::runtime::Runtime;
using platform::runtime::Seam;

namespace {

struct Seams {
    Seam<Result<std::size_t>(Object*)>* rebuild = nullptr;
    Seam<void(Object*, const MessagesAddedNotification&)>* messagesAdded = nullptr;
    Seam<void(Object*)>* dealloc = nullptr;
};

Seams& seams() {
    static Seams s;
    return s;
}

// The message files of one row number found in the mailbox folder.
struct FoundFiles {
    bool full = false;    // <rowid>.emlx
    bool partial = false; // <rowid>.partial.emlx
};

// What the index should hold for a message file, read from the file alone; nullopt
// for a file that is not a message file at all (no count line, unreadable).
std::optional<MessageEnvelope::FromFile> readEnvelope(const fs::path& path, std::int64_t rowid,
                                                      std::int64_t mailbox, bool partial,
                                                      std::vector<std::string>& skipped) {
    auto file = MessageEnvelope::fromFile(path);
    if (!file) {
        platform::Log::line("Rebuild skips " + path.string() + ": " + file.error().message);
        skipped.push_back(path.string() + ": " + file.error().message);
        return std::nullopt;
    }
    Envelope& e = file.value().envelope;
    e.rowid = rowid;
    e.mailbox = mailbox;
    e.partial = partial;
    return std::move(file.value());
}

// Every message file of the mailbox itself, by row number. Nested mailboxes are
// folders of their own and are left to their own stores. An error while listing
// fails the whole scan: a partial listing would make present files look deleted.
Result<std::map<std::int64_t, FoundFiles>> scanMailbox(const LibraryLayout& layout,
                                                       const MailboxRecord& box) {
    const fs::path folder = layout.mailboxFolder(box.name);
    std::error_code ec;
    if (!fs::is_directory(folder, ec))
        return platform::makeError("the folder of mailbox \"" + box.name +
                                   "\" is missing: " + folder.string());
    std::map<std::int64_t, FoundFiles> found;
    fs::recursive_directory_iterator it(folder, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const fs::path& path = it->path();
        std::error_code typeError;
        if (it->is_directory(typeError)) {
            const std::string name = path.filename().string();
            if (name.ends_with(".mbox") || (it.depth() == 0 && name == "Attachments"))
                it.disable_recursion_pending();
            continue;
        }
        auto where = layout.locate(path);
        if (!where || where->mailbox != box.name)
            continue;
        if (where->sharded != box.sharded) {
            platform::Log::line("Rebuild skips " + path.string() + ": mailbox \"" + box.name +
                                "\" keeps its messages in the " + (box.sharded ? "sharded" : "plain") +
                                " layout");
            continue;
        }
        (where->partial ? found[where->rowid].partial : found[where->rowid].full) = true;
    }
    if (ec)
        return platform::makeError("cannot list " + folder.string() + ": " + ec.message(), ec.value());
    return found;
}

bool hasMessageFile(const LibraryLayout& layout, const MailboxRecord& box, std::int64_t rowid) {
    std::error_code ec;
    return fs::exists(layout.messagePath(box.name, rowid, box.sharded, false), ec) ||
           fs::exists(layout.messagePath(box.name, rowid, box.sharded, true), ec);
}

void reindexFiles(Library& library, const std::map<std::int64_t, Envelope>& known,
                  const std::vector<std::int64_t>& gone, const MailboxRecord& box) {
    platform::spotlight::MetadataStore* metadata = library.metadata();
    if (!metadata)
        return;
    // The files may have been changed by hand: every one is indexed again, in one batch.
    platform::spotlight::MetadataStore::Transaction batch(*metadata);
    const LibraryLayout& layout = library.layout();
    for (std::int64_t rowid : gone)
        library.indexer().forgetMessageFile(
            layout.messagePath(box.name, rowid, box.sharded, known.at(rowid).partial));
    std::vector<std::string> indexed;
    for (const Envelope& e : library.index().messagesInMailbox(box.id)) {
        const fs::path path = layout.messagePath(box.name, e.rowid, box.sharded, e.partial);
        if (library.indexer().indexMessageFileAt(path, box.name))
            indexed.push_back(path.string());
    }
    library.indexer().announceIndexedFiles(indexed);
    if (auto r = batch.commit(); !r)
        platform::Log::line("Could not save the metadata index of \"" + box.name +
                            "\": " + r.error().message);
}

} // namespace

Class& LibraryStore::registerClass() {
    Seams& s = seams();
    Class& cls = Runtime::defineClass(kClassName);
    if (!s.rebuild) {
        s.rebuild = new Seam<Result<std::size_t>(Object*)>(cls, "_rebuildTableOfContentsSynchronously",
                                                           &LibraryStore::hostRebuildTableOfContents);
        s.messagesAdded = new Seam<void(Object*, const MessagesAddedNotification&)>(
            cls, "handleMessagesAdded:", &LibraryStore::hostHandleMessagesAdded);
        s.dealloc = new Seam<void(Object*)>(cls, "dealloc", &LibraryStore::hostDealloc);
    }
    cls.setFactory([](Class* c) { return std::make_unique<LibraryStore>(c); });
    return cls;
}

std::unique_ptr<LibraryStore> LibraryStore::forMailbox(Library& library, const std::string& mailbox) {
    if (!library.index().mailboxNamed(mailbox))
        return nullptr;
    std::unique_ptr<Object> object = registerClass().createInstance();
    auto* store = dynamic_cast<LibraryStore*>(object.get());
    if (!store)
        return nullptr;
    object.release();
    store->library_ = &library;
    store->mailbox_ = mailbox;
    return std::unique_ptr<LibraryStore>(store);
}

LibraryStore::~LibraryStore() {
    if (seams().dealloc)
        (*seams().dealloc)(this);
}

MessageList LibraryStore::copyOfAllMessages() const {
    return library_ ? library_->messagesInMailbox(mailbox_) : MessageList();
}

Result<std::size_t> LibraryStore::rebuildTableOfContents() {
    return (*seams().rebuild)(this);
}

void LibraryStore::handleMessagesAdded(const MessagesAddedNotification& notification) {
    (*seams().messagesAdded)(this, notification);
}

Result<std::size_t> LibraryStore::hostRebuildTableOfContents(Object* self, Sel) {
    auto* store = dynamic_cast<LibraryStore*>(self);
    if (!store || !store->library_)
        return platform::makeError("the store is not attached to a library");
    return store->rebuildFromDisk();
}

Result<std::size_t> LibraryStore::rebuildFromDisk() {
    EnvelopeIndex& index = library_->index();
    const LibraryLayout& layout = library_->layout();
    const auto box = index.mailboxNamed(mailbox_);
    if (!box)
        return platform::makeError("no mailbox named \"" + mailbox_ + "\"");
    const auto found = LUMETTA_TRY(scanMailbox(layout, *box));
    skipped_.clear();

    // Files are read before the index is locked; the changes then go in as one
    // transaction, so a failure leaves the index as it was.
    std::map<std::int64_t, Envelope> known;
    for (auto& e : index.messagesInMailbox(box->id))
        known.emplace(e.rowid, std::move(e));
    std::vector<std::int64_t> gone;
    for (const auto& [rowid, e] : known)
        if (!found.contains(rowid))
            gone.push_back(rowid);
    std::vector<Envelope> changed; // rows to update
    std::vector<Envelope> added;   // rows to insert
    for (const auto& [rowid, files] : found) {
        // Where both exist, the full file is the message; the partial one is a leftover.
        const bool partial = !files.full;
        const fs::path path = layout.messagePath(box->name, rowid, box->sharded, partial);
        auto read = readEnvelope(path, rowid, box->id, partial, skipped_);
        auto row = known.find(rowid);
        if (row != known.end()) {
            Envelope e = row->second;
            const bool flagsDiffer = read && read->knowsFlags && read->envelope.flags != e.flags;
            if (flagsDiffer || e.partial != partial) {
                e.flags = flagsDiffer ? read->envelope.flags : e.flags;
                e.partial = partial;
                changed.push_back(std::move(e));
            }
            continue;
        }
        if (!read)
            continue;
        // A row number the index gives to another mailbox: the file was moved here by
        // hand when the other mailbox no longer has it; otherwise two messages claim
        // one number and the one already indexed keeps it.
        if (auto other = index.message(rowid)) {
            auto otherBox = index.mailbox(other->mailbox);
            if (otherBox && hasMessageFile(layout, *otherBox, rowid)) {
                platform::Log::line("Rebuild skips " + path.string() + ": message " + std::to_string(rowid) +
                                    " belongs to mailbox \"" + otherBox->name + "\"");
                continue;
            }
            changed.push_back(std::move(read->envelope));
            continue;
        }
        added.push_back(std::move(read->envelope));
    }

    auto applied = index.transaction([&]() -> Result<void> {
        for (std::int64_t rowid : gone)
            if (auto r = index.remove(rowid); !r)
                return r;
        for (const Envelope& e : changed)
            if (auto r = index.update(e); !r)
                return r;
        for (const Envelope& e : added)
            LUMETTA_TRY_VOID(index.insert(e));
        return {};
    });
    if (!applied)
        return platform::makeError("cannot rebuild mailbox \"" + mailbox_ + "\": " + applied.error().message,
                                   applied.error().code);
    reindexFiles(*library_, known, gone, *box);

    // Observers hold objects made before the rebuild: every message is announced anew.
    MessagesAddedNotification notification{kMessagesAddedNotification, copyOfAllMessages()};
    handleMessagesAdded(notification);
    platform::Array ids;
    for (const auto& message : notification.messages)
        if (auto* stored = dynamic_cast<LibraryMessage*>(message.get()))
            ids.add(Value(static_cast<long long>(stored->libraryID())));
    platform::NotificationCenter::defaultCenter().post(kMessagesAddedNotification, this,
                                                       {{"mailbox", mailbox_}, {"libraryIDs", ids}});
    return notification.messages.size();
}

} // namespace mailhost
