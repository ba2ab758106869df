#include "mailhost/cli/CriteriaCommands.h"

#include "mailhost/cli/Json.h"
#include "mailhost/cli/MessageListing.h"
#include "mailhost/cli/Plural.h"
#include "mailhost/criteria/CriterionSyntax.h"
#include "mailhost/criteria/SmartMailboxQuery.h"
#include "mailhost/criteria/SmartMailboxes.h"
#include "mailhost/library/MailboxName.h"
#include "mailhost/mail/Library.h"

#include <unistd.h>

namespace mailhost {

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

// The criteria typed on the command line as one compound, or nullptr after saying why.
std::shared_ptr<MessageCriterion> typed(const CriteriaCommands::Context& c,
                                        const std::vector<std::string>& texts, bool all, int& status) {
    auto made = CriterionSyntax::compound(texts, all);
    if (!made) {
        c.err << "lumetta: " << made.error().message << "\n";
        status = made.error().code;
        return nullptr;
    }
    std::string why;
    if (!made.value()->isValid(&why)) {
        c.err << "lumetta: " << why << "\n";
        status = kUsage;
        return nullptr;
    }
    return made.value();
}

// A criterion as a shell word: quoted when a shell would split or expand it.
std::string shellWord(const std::string& text) {
    if (text.find_first_of(" \t\n'\"\\$`*?[]<>|&;()!#") == std::string::npos)
        return text;
    std::string out = "'";
    for (const char ch : text)
        out += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
    return out + "'";
}

std::vector<std::string> typedParts(const MessageCriterion& compound) {
    std::vector<std::string> out;
    for (const auto& part : compound.criteria())
        if (part)
            out.push_back(CriterionSyntax::describe(*part));
    return out;
}

// The smart mailboxes, for reading or, locked until they are let go, for changing.
std::optional<SmartMailboxes> loadStore(const CriteriaCommands::Context& c, const Library& library,
                                        bool forEditing) {
    auto store = forEditing ? SmartMailboxes::edit(library.layout().root())
                            : SmartMailboxes::load(library.layout().root());
    if (!store) {
        c.err << "lumetta: " << store.error().message << "\n";
        return std::nullopt;
    }
    return std::move(store.value());
}

std::shared_ptr<MessageCriterion> stored(const CriteriaCommands::Context& c, const SmartMailboxes& store,
                                         const std::string& name) {
    auto criterion = store.criterion(name);
    if (!criterion)
        c.err << "lumetta: "
              << (store.contains(name) ? "the entry of smart mailbox \"" + name + "\" is damaged"
                                       : "no smart mailbox named \"" + name + "\"")
              << " (see 'lumetta smart list')\n";
    return criterion;
}

void printExplanation(const CriteriaCommands::Context& c, const std::string& name,
                      const MessageCriterion& criterion, const SmartMailboxQuery& query, std::size_t count) {
    std::vector<std::string> index, memory;
    for (const auto& part : query.parts()) {
        if (!part)
            continue;
        if (SmartMailboxQuery::isIndexQuery(*part))
            index.push_back(part->expression().value_or(""));
        else
            memory.push_back(CriterionSyntax::describe(*part));
    }
    const char* match = query.allMustMatch() ? "all" : "any";
    if (c.json) {
        Json json;
        json.beginObject().key("name").value(name).key("match").value(match).key("stored").beginArray();
        for (const auto& text : typedParts(criterion))
            json.value(text);
        json.endArray().key("index").beginArray();
        for (const auto& text : index)
            json.value(text);
        json.endArray().key("memory").beginArray();
        for (const auto& text : memory)
            json.value(text);
        json.endArray().key("count").value(static_cast<std::uint64_t>(count)).endObject();
        c.out << json.str() << "\n";
        return;
    }
    c.out << "smart mailbox \"" << name << "\": " << match << " of these must match\n";
    c.out << "  stored:";
    for (const auto& text : typedParts(criterion))
        c.out << " " << shellWord(text);
    c.out << "\n";
    for (const auto& text : index)
        c.out << "  index query: " << text << "\n";
    for (const auto& text : memory)
        c.out << "  in memory:   " << text << "\n";
    c.out << "  " << count << (count == 1 ? " message matches\n" : " messages match\n");
}

} // namespace

int CriteriaCommands::find(const Context& c, const std::vector<std::string>& criteria, bool all,
                           const std::string& mailbox) {
    int status = 0;
    auto compound = typed(c, criteria, all, status);
    if (!compound)
        return status;
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    std::vector<std::string> names;
    if (!mailbox.empty() && !library->index().mailboxNamed(mailbox)) {
        c.err << "lumetta: no mailbox named \"" << mailbox << "\" (see 'lumetta mailboxes')\n";
        return kFailed;
    }
    // As a smart mailbox is listed: the metadata index answers every part it can, and
    // only the messages it leaves are read. Without an index every message is.
    if (library->metadata()) {
        auto found = SmartMailboxQuery(compound).messages(*library, mailbox);
        if (!found) {
            c.err << "lumetta: " << found.error().message << "\n";
            return kFailed;
        }
        MessageListing::print(c, found.value());
        return 0;
    }
    for (const auto& box : library->mailboxes())
        if (mailbox.empty() || box.name == mailbox)
            names.push_back(box.name);
    MessageList scope;
    for (const auto& name : names)
        for (auto& m : library->messagesInMailbox(name))
            scope.push_back(std::move(m));
    // Reading message texts takes a while on a large library: show how far it got.
    const bool progress = ::isatty(STDERR_FILENO) && compound->containsBodyCriterion() && scope.size() > 1000;
    MessageList found;
    for (std::size_t i = 0; i < scope.size(); ++i) {
        if (progress && i % 500 == 0)
            c.err << "\rsearching " << i << " of " << Plural::of(scope.size(), "message") << std::flush;
        if (compound->doesMessageSatisfyCriterion(scope[i].get()))
            found.push_back(scope[i]);
    }
    if (progress)
        c.err << "\r\033[K" << std::flush;
    MessageListing::print(c, found);
    return 0;
}

int CriteriaCommands::smartAdd(const Context& c, const std::string& name,
                               const std::vector<std::string>& criteria, bool all) {
    if (name.empty()) {
        c.err << "lumetta: a smart mailbox needs a name\n";
        return kUsage;
    }
    // A line break in the name would split the lines of every listing of it.
    if (auto valid = MailboxName::checkText(name); !valid) {
        c.err << "lumetta: " << valid.error().message << "\n";
        return kUsage;
    }
    int status = 0;
    auto compound = typed(c, criteria, all, status);
    if (!compound)
        return status;
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto store = loadStore(c, *library, true);
    if (!store)
        return kFailed;
    if (store->contains(name)) {
        c.err << "lumetta: there is a smart mailbox named \"" << name << "\" already (remove it first)\n";
        return kFailed;
    }
    store->set(name, *compound);
    if (auto saved = store->save(); !saved) {
        c.err << "lumetta: " << saved.error().message << "\n";
        return kFailed;
    }
    c.out << "smart mailbox \"" << name << "\": " << (all ? "all" : "any") << " of";
    for (const auto& text : typedParts(*compound))
        c.out << " " << shellWord(text);
    c.out << "\n";
    return 0;
}

int CriteriaCommands::smartList(const Context& c) {
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto store = loadStore(c, *library, false);
    if (!store)
        return kFailed;
    Json json;
    json.beginArray();
    for (const std::string& name : store->names()) {
        auto criterion = store->criterion(name);
        const char* match = !criterion ? "damaged" : criterion->allCriteriaMustBeSatisfied() ? "all" : "any";
        const std::vector<std::string> parts =
            criterion ? typedParts(*criterion) : std::vector<std::string>{};
        if (c.json) {
            json.beginObject().key("name").value(name).key("match").value(match).key("criteria").beginArray();
            for (const auto& text : parts)
                json.value(text);
            json.endArray().endObject();
            continue;
        }
        c.out << name << "\t" << match << "\t";
        for (std::size_t i = 0; i < parts.size(); ++i)
            c.out << (i ? " " : "") << shellWord(parts[i]);
        c.out << "\n";
    }
    if (c.json)
        c.out << json.endArray().str() << "\n";
    return 0;
}

int CriteriaCommands::smartShow(const Context& c, const std::string& name, bool explain) {
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto store = loadStore(c, *library, false);
    if (!store)
        return kFailed;
    auto criterion = stored(c, *store, name);
    if (!criterion)
        return kFailed;
    const SmartMailboxQuery query(criterion);
    auto messages = query.messages(*library);
    if (!messages) {
        c.err << "lumetta: smart mailbox \"" << name << "\": " << messages.error().message << "\n";
        return kFailed;
    }
    if (explain)
        printExplanation(c, name, *criterion, query, messages.value().size());
    else
        MessageListing::print(c, messages.value());
    return 0;
}

int CriteriaCommands::smartRemove(const Context& c, const std::string& name) {
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto store = loadStore(c, *library, true);
    if (!store)
        return kFailed;
    if (!store->remove(name)) {
        c.err << "lumetta: no smart mailbox named \"" << name << "\" (see 'lumetta smart list')\n";
        return kFailed;
    }
    if (auto saved = store->save(); !saved) {
        c.err << "lumetta: " << saved.error().message << "\n";
        return kFailed;
    }
    return 0;
}

} // namespace mailhost
