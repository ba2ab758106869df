#include "mailhost/cli/MetadataCommands.h"

#include "mailhost/cli/Json.h"
#include "mailhost/cli/MessageListing.h"
#include "mailhost/cli/Plural.h"
#include "mailhost/cli/ValueOutput.h"
#include "mailhost/mail/Library.h"
#include "platform/spotlight/query/QueryError.h"
#include "platform/spotlight/query/QueryEvaluator.h"
#include "platform/spotlight/query/QueryParser.h"

#include <algorithm>
#include <iomanip>
#include <set>
#include <unistd.h>
#include <unordered_map>

namespace mailhost {

namespace fs = std::filesystem;
namespace md = platform::spotlight;
using platform::Value;

namespace {

md::MetadataStore* metadataOf(const MetadataCommands::Context& c, Library& library) {
    md::MetadataStore* store = library.metadata();
    if (!store)
        c.err << "lumetta: the metadata index of " << c.library.string()
              << " cannot be opened (see the system log)\n";
    return store;
}

void hintAtEmptyIndex(const MetadataCommands::Context& c, Library& library, md::MetadataStore& store) {
    if (store.itemCount() == 0 && !library.mailboxes().empty())
        c.err << "lumetta: the metadata index is empty; 'lumetta reindex' fills it from the message files\n";
}

std::string typeName(const Value& v) {
    switch (v.type()) {
    case Value::Type::String:
        return "string";
    case Value::Type::Integer:
    case Value::Type::Real:
        return "number";
    case Value::Type::Date:
        return "date";
    case Value::Type::Boolean:
        return "boolean";
    case Value::Type::Array: {
        std::set<std::string> kinds;
        for (const Value& item : v.array()->items())
            kinds.insert(typeName(item));
        return kinds.size() == 1 ? "array of " + *kinds.begin() + "s" : "array";
    }
    default:
        return "value";
    }
}

// Message text can run to pages: the listing shows its start.
std::string shown(const std::string& name, const Value& v) {
    constexpr std::size_t kTextShown = 160;
    std::string text = ValueOutput::plain(v);
    if (name == md::kMDItemTextContent) {
        std::replace(text.begin(), text.end(), '\n', ' ');
        if (text.size() > kTextShown) {
            std::size_t cut = kTextShown;
            while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
                --cut; // never inside a UTF-8 sequence
            text = text.substr(0, cut) + "... (" + std::to_string(v.string()->size()) + " bytes)";
        }
    }
    return text;
}

} // namespace

int MetadataCommands::mdfind(const Context& c, const std::string& query, bool count) {
    auto parsed = md::QueryParser::parse(query);
    if (!parsed) {
        c.err << "lumetta: the query does not read:\n"
              << md::QueryError::render(query, parsed.error()) << "\n";
        return 2;
    }
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return 1;
    md::MetadataStore* store = metadataOf(c, *library);
    if (!store)
        return 1;
    const md::QueryEvaluator evaluator(*store);
    if (count) {
        auto found = evaluator.count(parsed.value());
        if (!found) {
            c.err << "lumetta: the metadata index cannot be searched: " << found.error().message << "\n";
            return 1;
        }
        c.out << found.value() << "\n";
        if (found.value() == 0)
            hintAtEmptyIndex(c, *library, *store);
        return 0;
    }
    auto paths = evaluator.evaluate(parsed.value());
    if (!paths) {
        c.err << "lumetta: the metadata index cannot be searched: " << paths.error().message << "\n";
        return 1;
    }
    // The index lists files; the Envelope Index says which of them are messages of the
    // library, read for all hits at once.
    std::vector<std::int64_t> rows;
    rows.reserve(paths.value().size());
    for (const std::string& path : paths.value())
        if (auto where = library->layout().locate(path))
            rows.push_back(where->rowid);
    std::size_t listed = 0;
    if (c.json) {
        std::unordered_map<std::int64_t, std::shared_ptr<LibraryMessage>> stored;
        for (auto& message : library->messages(rows))
            stored.emplace(message->libraryID(), std::move(message));
        MessageList messages;
        for (const std::int64_t row : rows)
            if (auto found = stored.find(row); found != stored.end())
                messages.push_back(found->second);
        MessageListing::print(c, messages);
        listed = messages.size();
    } else {
        const auto files = library->messagePaths(rows);
        std::string out;
        for (const std::int64_t row : rows) {
            if (auto found = files.find(row); found != files.end()) {
                out += std::to_string(row);
                out += '\t';
                out += found->second;
                out += '\n';
                ++listed;
            }
        }
        c.out << out;
    }
    if (listed == 0)
        hintAtEmptyIndex(c, *library, *store);
    return 0;
}

int MetadataCommands::mdls(const Context& c, const std::string& idOrPath) {
    std::unique_ptr<Library> library;
    std::shared_ptr<Message> message;
    std::string path;
    if (const int status = LibraryCommands::findMessage(c, idOrPath, library, message))
        return status;
    if (auto* stored = dynamic_cast<LibraryMessage*>(message.get()))
        path = stored->path().string();
    else
        path = fs::absolute(idOrPath).lexically_normal().string();
    if (!library && !(library = LibraryCommands::openLibrary(c)))
        return 1;
    md::MetadataStore* store = metadataOf(c, *library);
    if (!store)
        return 1;
    if (!store->hasItem(path)) {
        c.err << "lumetta: " << path << " is not in the metadata index of " << c.library.string()
              << " (files outside the library never are; 'lumetta reindex' re-reads the library)\n";
        return 1;
    }
    const platform::Dictionary attributes = store->attributes(path);
    if (c.json) {
        Json json;
        json.beginObject().key("path").value(path).key("attributes").beginObject();
        for (const auto& [name, value] : attributes.entries()) {
            json.key(name).beginObject().key("type").value(typeName(value)).key("value");
            ValueOutput::writeJson(json, value);
            json.endObject();
        }
        c.out << json.endObject().endObject().str() << "\n";
        return 0;
    }
    std::size_t width = 0;
    for (const auto& [name, value] : attributes.entries())
        width = std::max(width, name.size());
    c.out << path << "\n";
    for (const auto& [name, value] : attributes.entries())
        c.out << "  " << std::left << std::setw(static_cast<int>(width)) << name << "  (" << typeName(value)
              << ")  " << shown(name, value) << "\n";
    return 0;
}

int MetadataCommands::reindex(const Context& c) {
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return 1;
    md::MetadataStore* store = metadataOf(c, *library);
    if (!store)
        return 1;
    const bool terminal = ::isatty(STDERR_FILENO);
    auto saved = [&](md::MetadataStore::Transaction& batch) {
        auto r = batch.commit();
        if (!r)
            c.err << "lumetta: the metadata index was not saved: " << r.error().message << "\n";
        return r.ok();
    };
    std::set<std::string> live;
    std::size_t indexed = 0, unreadable = 0;
    MessageList all;
    auto batch = std::make_unique<md::MetadataStore::Transaction>(*store);
    for (const auto& box : library->mailboxes()) {
        for (auto& message : library->messagesInMailbox(box.name)) {
            const std::string path = static_cast<const LibraryMessage&>(*message).path().string();
            // A file that can no longer be read loses its entry: what the index held of
            // it may be anything, and searches must not answer with it.
            if (!library->indexer().indexMessageFileAt(path, box.name)) {
                c.err << "lumetta: cannot read " << path << "\n";
                ++unreadable;
                continue;
            }
            live.insert(path);
            all.push_back(std::move(message));
            if (++indexed % 1000 == 0) {
                if (!saved(*batch))
                    return 1;
                batch = std::make_unique<md::MetadataStore::Transaction>(*store);
                if (terminal)
                    c.err << "\rindexing: " << Plural::of(indexed, "message") << std::flush;
            }
        }
    }
    if (!saved(*batch))
        return 1;
    batch.reset();
    // Items of files that no longer exist would answer searches with messages that are gone.
    std::size_t dropped = 0;
    auto known = store->itemPaths();
    if (known) {
        for (const std::string& path : known.value())
            if (!live.contains(path) && store->removeItem(path).ok())
                ++dropped;
    }
    if (terminal)
        c.err << "\rwriting the tags of " << Plural::of(all.size(), "message") << " again" << std::flush;
    Library::flagsChangedForMessages(all);
    Library::updateMessageFiles(nullptr);
    if (terminal)
        c.err << "\r\033[K";
    c.out << "indexed " << Plural::of(indexed, "message");
    if (dropped)
        c.out << "; removed " << Plural::of(dropped, "entry", "entries") << " of files that are gone";
    if (unreadable)
        c.out << "; " << Plural::of(unreadable, "file") << " could not be read (see above)";
    c.out << "\n";
    return unreadable ? 1 : 0;
}

} // namespace mailhost
