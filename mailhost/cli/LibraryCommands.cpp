#include "mailhost/cli/LibraryCommands.h"

#include "mailhost/cli/Json.h"
#include "mailhost/cli/MessageListing.h"
#include "mailhost/cli/Plural.h"
#include "mailhost/import/MessageSource.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryAdoption.h"
#include "mailhost/mail/LibraryStore.h"
#include "mailhost/mail/MessageWriter.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "mailhost/message/MessageBody.h"
#include "mailhost/rules/ConcreteMessageMall.h"
#include "mailhost/rules/MessageRules.h"
#include "platform/foundation/Date.h"

#include <charconv>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace mailhost {

namespace fs = std::filesystem;

namespace {

std::optional<std::int64_t> parseId(const std::string& text) {
    std::int64_t id = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (ec != std::errc() || end != text.data() + text.size() || id <= 0)
        return std::nullopt;
    return id;
}

// The library's messages for the numbers given; nullopt (after saying which) when
// one of them names no message.
std::optional<MessageList> findMessages(Library& library, const std::vector<std::string>& ids,
                                        std::ostream& err) {
    MessageList found;
    for (const auto& text : ids) {
        auto id = parseId(text);
        auto message = id ? library.message(*id) : nullptr;
        if (!message) {
            err << "lumetta: no message " << text << "\n";
            return std::nullopt;
        }
        found.push_back(message);
    }
    return found;
}

// Read (bit 0), flagged (bit 4), answered (bit 2), draft (bit 6), deleted (bit 1).
std::uint64_t flagWord(const ImportedMessage& m) {
    return (m.read ? 1u : 0u) | (m.deleted ? 2u : 0u) | (m.answered ? 4u : 0u) | (m.flagged ? 16u : 0u) |
           (m.draft ? 64u : 0u) | (m.forwarded ? 256u : 0u);
}

} // namespace

std::unique_ptr<Library> LibraryCommands::openLibrary(const Context& c) {
    auto library = Library::open(c.library, false);
    if (!library) {
        c.err << "lumetta: " << library.error().message << "\n";
        return nullptr;
    }
    return std::move(library.value());
}

fs::path LibraryCommands::defaultLibraryPath() {
    if (const char* env = std::getenv("LUMETTA_LIBRARY"); env && *env)
        return env;
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data)
        return fs::path(data) / "lumetta-mail" / "Mail";
    const char* home = std::getenv("HOME");
    return fs::path(home ? home : ".") / ".local" / "share" / "lumetta-mail" / "Mail";
}

int LibraryCommands::init(const Context& c) {
    auto library = Library::open(c.library, true);
    if (!library) {
        c.err << "lumetta: " << library.error().message << "\n";
        return 1;
    }
    c.out << "mail library ready at " << c.library.string() << " with mailboxes";
    for (const auto& box : library.value()->mailboxes())
        c.out << " " << box.name;
    c.out << "\n";
    return 0;
}

int LibraryCommands::mailboxes(const Context& c) {
    auto library = openLibrary(c);
    if (!library)
        return 1;
    Json json;
    json.beginArray();
    for (const auto& box : library->mailboxes()) {
        const auto count = library->index().messagesInMailbox(box.id).size();
        if (c.json)
            json.beginObject()
                .key("name")
                .value(box.name)
                .key("messages")
                .value(static_cast<std::int64_t>(count))
                .endObject();
        else
            c.out << box.name << "\t" << count << "\n";
    }
    if (c.json)
        c.out << json.endArray().str() << "\n";
    return 0;
}

int LibraryCommands::list(const Context& c, const std::string& mailbox) {
    auto library = openLibrary(c);
    if (!library)
        return 1;
    std::vector<std::string> names;
    if (!mailbox.empty()) {
        if (!library->index().mailboxNamed(mailbox)) {
            c.err << "lumetta: no mailbox named \"" << mailbox << "\" (see 'lumetta mailboxes')\n";
            return 1;
        }
        names.push_back(mailbox);
    } else {
        for (const auto& box : library->mailboxes())
            names.push_back(box.name);
    }
    MessageList messages;
    for (const auto& name : names)
        for (auto& m : library->messagesInMailbox(name))
            messages.push_back(std::move(m));
    MessageListing::print(c, messages);
    return 0;
}

int LibraryCommands::findMessage(const Context& c, const std::string& idOrPath,
                                 std::unique_ptr<Library>& library, std::shared_ptr<Message>& message) {
    message.reset();
    if (auto id = parseId(idOrPath)) {
        if (!library)
            library = openLibrary(c);
        if (!library)
            return 1;
        message = library->message(*id);
        if (!message) {
            c.err << "lumetta: no message " << idOrPath << " in " << c.library.string() << "\n";
            return 1;
        }
    } else if (fs::is_regular_file(idOrPath)) {
        message = RecoveredMessage::withPath(idOrPath);
    }
    if (!message) {
        c.err << "lumetta: \"" << idOrPath << "\" is neither a message number nor a message file\n";
        return 2;
    }
    return 0;
}

int LibraryCommands::show(const Context& c, const std::string& idOrPath, bool body) {
    std::unique_ptr<Library> library;
    std::shared_ptr<Message> message;
    if (const int status = findMessage(c, idOrPath, library, message))
        return status;
    // A loose file is checked as import checks one: a count line promising more than
    // the file holds means the message is cut short, and what is there is not shown
    // as if it were the whole of it.
    if (auto* loose = dynamic_cast<RecoveredMessage*>(message.get())) {
        auto file = EmlxFile::read(loose->path());
        if (!file) {
            c.err << "lumetta: " << file.error().message << "\n";
            return 1;
        }
        if (file.value().condition() == EmlxFile::Condition::Truncated) {
            const auto line = EmlxFile::parseCountLine(file.value().bytes());
            c.err << "lumetta: " << loose->path().string() << ": the byte count says "
                  << (line ? line.value().count : 0) << " bytes, but only " << file.value().messageLength()
                  << " follow\n";
            return 1;
        }
    }
    if (c.json) {
        Json json;
        if (auto* stored = dynamic_cast<LibraryMessage*>(message.get())) {
            MessageListing::writeJson(json, *stored);
        } else {
            const MessageHeaders* h = message->headers();
            json.beginObject().key("path").value(static_cast<RecoveredMessage&>(*message).path().string());
            json.key("subject").value(h ? h->subject() : "").key("from").value(h ? h->from() : "");
            json.key("to")
                .value(h ? h->to() : "")
                .key("flags")
                .value(static_cast<std::uint64_t>(message->flags()));
            json.endObject();
        }
        c.out << json.str() << "\n";
    } else if (const MessageHeaders* h = message->headers()) {
        for (const char* field : {"From", "To", "Cc", "Subject", "Date", "Message-ID"})
            if (auto v = h->firstHeaderForKey(field))
                c.out << field << ": " << *v << "\n";
    } else {
        c.err << "lumetta: the message file cannot be read\n";
        return 1;
    }
    if (body) {
        auto bytes = message->messageBytes();
        if (!bytes) {
            c.err << "lumetta: " << bytes.error().message << "\n";
            return 1;
        }
        const auto split = bytes.value().find("\n\n");
        c.out << "\n" << (split == std::string::npos ? std::string() : bytes.value().substr(split + 2));
    }
    return 0;
}

int LibraryCommands::import(const Context& c, const std::string& mailbox,
                            const std::vector<std::string>& paths, bool applyRules) {
    auto library = openLibrary(c);
    if (!library)
        return 1;
    if (!library->index().mailboxNamed(mailbox))
        if (auto created = library->createMailbox(mailbox); !created) {
            c.err << "lumetta: " << created.error().message << "\n";
            return 1;
        }
    // New mail goes through the active rules, a batch at a time once the batch is stored.
    std::unique_ptr<ConcreteMessageMall> mall;
    if (applyRules) {
        if (auto rules = MessageRules::load(library->layout().root()); !rules)
            c.err << "lumetta: rules not applied: " << rules.error().message << "\n";
        else if (!rules.value().activeRules().empty())
            mall = ConcreteMessageMall::forLibrary(rules.value());
    }
    MessageList arrived;
    std::size_t matched = 0;
    std::vector<std::string> ruleFailures;
    auto route = [&] {
        if (mall && !arrived.empty()) {
            auto outcome = mall->route(arrived, {mailbox});
            matched += outcome.matched;
            for (auto& failure : outcome.failures)
                ruleFailures.push_back(std::move(failure));
        }
        arrived.clear();
    };
    const bool terminal = ::isatty(STDERR_FILENO);
    std::size_t imported = 0, skipped = 0;
    // Messages are stored in batches: one index transaction and one flush each.
    constexpr std::size_t kBatch = 1000;
    auto batch = std::make_unique<Library::BulkAdd>(*library);
    auto commit = [&]() -> bool {
        if (auto r = batch->commit(); !r) {
            c.err << "lumetta: import not saved: " << r.error().message << "\n";
            return false;
        }
        return true;
    };
    for (const auto& path : paths) {
        auto source = MessageSource::open(path);
        if (!source) {
            c.err << "lumetta: " << source.error().message << "\n";
            ++skipped;
            continue;
        }
        ImportedMessage m;
        for (;;) {
            auto next = source.value()->next(m);
            if (!next) {
                c.err << "lumetta: skipped " << next.error().message << "\n";
                ++skipped;
                continue;
            }
            if (!next.value())
                break;
            const double received = m.receivedDate ? m.receivedDate->seconds : platform::Clock::now().seconds;
            auto added = library->addMessage(mailbox, m.bytes, flagWord(m), received, m.properties);
            if (!added) {
                c.err << "lumetta: " << m.origin << ": " << added.error().message << "\n";
                ++skipped;
                continue;
            }
            ++imported;
            if (mall)
                arrived.push_back(added.value());
            if (imported % kBatch == 0) {
                if (!commit())
                    return 1;
                route();
                batch = std::make_unique<Library::BulkAdd>(*library);
            }
            if (terminal && imported % 100 == 0) {
                const auto total = source.value()->totalBytes();
                c.err << "\rimporting " << path << ": " << Plural::of(imported, "message")
                      << (total ? ", " + std::to_string(source.value()->bytesRead() * 100 / total) + "%" : "")
                      << std::flush;
            }
        }
    }
    if (!commit())
        return 1;
    route();
    if (terminal)
        c.err << "\r\033[K";
    c.out << "imported " << Plural::of(imported, "message") << " into " << mailbox;
    if (mall)
        c.out << "; rules matched " << matched;
    if (skipped)
        c.out << "; skipped " << skipped << " (see above)";
    c.out << "\n";
    // The messages are stored whatever a rule's action did; what an action could not
    // do is told, as after 'rules apply'.
    for (const auto& failure : ruleFailures)
        c.err << "lumetta: " << failure << "\n";
    return skipped && !imported ? 1 : 0;
}

int LibraryCommands::adopt(const Context& c, const fs::path& folder, const std::string& name) {
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) {
        c.err << "lumetta: " << folder.string() << " is not a folder\n";
        return 1;
    }
    const bool terminal = ::isatty(STDERR_FILENO);
    auto progress = [&](std::size_t n) {
        if (terminal)
            c.err << "\radopting: " << Plural::of(n, "message") << std::flush;
    };
    platform::Result<LibraryAdoption::Report> report = platform::makeError("");
    std::string where;
    if (LibraryAdoption::isMailboxFolder(folder)) {
        auto library = Library::open(c.library, true);
        if (!library) {
            c.err << "lumetta: " << library.error().message << "\n";
            return 1;
        }
        std::string box = name;
        if (box.empty()) {
            box = fs::absolute(folder).lexically_normal().filename().string();
            if (box.empty())
                box = fs::absolute(folder).lexically_normal().parent_path().filename().string();
            if (box.ends_with(".mbox"))
                box.resize(box.size() - 5);
        }
        report = LibraryAdoption::adoptMailbox(*library.value(), folder, box, progress);
        where = "mailbox \"" + box + "\" of " + c.library.string();
    } else {
        report = LibraryAdoption::adoptLibrary(folder, progress);
        where =
            folder.string() + " (use --library " + folder.string() + " or LUMETTA_LIBRARY to work with it)";
    }
    if (terminal)
        c.err << "\r\033[K";
    if (!report) {
        c.err << "lumetta: " << report.error().message << "\n";
        return 1;
    }
    for (const auto& skipped : report.value().skipped)
        c.err << "lumetta: skipped " << skipped << "\n";
    c.out << "adopted " << Plural::of(report.value().messages, "message") << " in "
          << Plural::of(report.value().mailboxes, "mailbox", "mailboxes") << " into " << where << "\n";
    return report.value().messages == 0 && !report.value().skipped.empty() ? 1 : 0;
}

int LibraryCommands::copy(const Context& c, const std::vector<std::string>& ids, const std::string& mailbox) {
    auto library = openLibrary(c);
    if (!library)
        return 1;
    if (!library->index().mailboxNamed(mailbox)) {
        c.err << "lumetta: no mailbox named \"" << mailbox << "\" (see 'lumetta mailboxes')\n";
        return 1;
    }
    auto found = findMessages(*library, ids, c.err);
    if (!found)
        return 1;
    const MessageList& sources = *found;
    auto copies = Library::duplicateMessages(sources, mailbox);
    if (!copies || copies->size() != sources.size()) {
        c.err << "lumetta: "
              << Plural::of(copies ? sources.size() - copies->size() : sources.size(), "message")
              << " could not be copied (see the system log)\n";
        if (!copies)
            return 1;
    }
    Json json;
    json.beginArray();
    for (const auto& [source, copy] : *copies) {
        const auto& stored = static_cast<const LibraryMessage&>(*copy);
        if (c.json)
            MessageListing::writeJson(json, stored);
        else
            c.out << "copied " << source->messageID() << " to " << mailbox << " as " << stored.libraryID()
                  << "\n";
    }
    if (c.json)
        c.out << json.endArray().str() << "\n";
    return copies->size() == sources.size() ? 0 : 1;
}

int LibraryCommands::rebuild(const Context& c, const std::string& mailbox) {
    auto library = openLibrary(c);
    if (!library)
        return 1;
    auto store = LibraryStore::forMailbox(*library, mailbox);
    if (!store) {
        c.err << "lumetta: no mailbox named \"" << mailbox << "\" (see 'lumetta mailboxes')\n";
        return 1;
    }
    auto count = store->rebuildTableOfContents();
    if (!count) {
        c.err << "lumetta: " << count.error().message << "\n";
        return 1;
    }
    for (const auto& skipped : store->skippedFiles())
        c.err << "lumetta: skipped " << skipped << " (the file is left as it is)\n";
    c.out << "rebuilt " << mailbox << ": " << Plural::of(count.value(), "message") << "\n";
    return 0;
}

int LibraryCommands::stripAttachments(const Context& c, const std::string& text) {
    auto library = openLibrary(c);
    if (!library)
        return 1;
    auto id = parseId(text);
    auto message = id ? library->message(*id) : nullptr;
    if (!message) {
        c.err << "lumetta: no message " << text << "\n";
        return 1;
    }
    // Said plainly, apart from the failures: nothing was removed, and no new message made.
    if (auto file = EmlxFile::read(message->path()); file && !file.value().refusesWrites()) {
        const std::string_view bytes = file.value().messageBytes();
        if (auto stripped = MessageBody::removingAttachments(bytes); stripped && stripped.value() == bytes) {
            c.err << "lumetta: message " << text << " has no attachments; nothing was removed\n";
            return 1;
        }
    }
    auto writer = MessageWriter::create();
    auto stripped = writer ? writer->createMessageByRemovingAttachmentsFromMessage(message) : nullptr;
    auto* stored = dynamic_cast<LibraryMessage*>(stripped.get());
    if (!stored) {
        c.err << "lumetta: the attachments of message " << text
              << " were not removed (it has none, or it cannot be read; see the system log)\n";
        return 1;
    }
    if (c.json) {
        Json json;
        MessageListing::writeJson(json, *stored);
        c.out << json.str() << "\n";
    } else {
        c.out << "removed the attachments of " << text << "; the message is now " << stored->libraryID()
              << "\n";
    }
    return 0;
}

int LibraryCommands::mark(const Context& c, const std::vector<std::string>& ids, const std::string& how) {
    auto library = openLibrary(c);
    if (!library)
        return 1;
    auto changed = findMessages(*library, ids, c.err);
    if (!changed)
        return 1;
    for (const auto& message : *changed) {
        std::uint64_t flags = message->flags();
        if (how == "read")
            flags |= 1;
        else if (how == "unread")
            flags &= ~std::uint64_t{1};
        else if (how == "flagged")
            flags |= 16;
        else if (how == "unflagged")
            flags &= ~std::uint64_t{16};
        message->setFlags(flags);
    }
    Library::flagsChangedForMessages(*changed);
    auto written = library->writeChangedMessages();
    if (!written) {
        c.err << "lumetta: " << written.error().message << "\n";
        return 1;
    }
    c.out << "marked " << changed->size() << " message" << (changed->size() == 1 ? "" : "s") << " " << how
          << "\n";
    return 0;
}

} // namespace mailhost
