#include "mailhost/criteria/SmartMailboxQuery.h"

#include "mailhost/criteria/CriterionFixing.h"
#include "platform/spotlight/query/QueryError.h"
#include "platform/spotlight/query/QueryEvaluator.h"
#include "platform/spotlight/query/QueryParser.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace mailhost {

namespace md = platform::spotlight;
using platform::Result;

namespace {

using RowSet = std::unordered_set<std::int64_t>;
using Answers = std::unordered_map<const MessageCriterion*, RowSet>;

bool isCompound(const MessageCriterion& c) {
    return c.criterionType() == MessageCriterion::kCompoundType;
}

// Where the index is asked: its store, and which of its items are messages in scope.
struct Index {
    Library& library;
    const std::string& mailbox;
    md::MetadataStore* store;
};

Result<RowSet> answer(const Index& index, const MessageCriterion& c) {
    const std::string query = c.expression().value_or("");
    if (query.empty())
        return platform::makeError("a criterion of the smart mailbox was translated into no index query");
    auto parsed = md::QueryParser::parse(query);
    if (!parsed)
        return platform::makeError("the index query of the smart mailbox does not read:\n" +
                                   md::QueryError::render(query, parsed.error()));
    if (!index.store)
        return platform::makeError("the metadata index of the library cannot be opened, so the smart "
                                   "mailbox cannot be searched ('lumetta reindex' rebuilds it)");
    auto paths = md::QueryEvaluator(*index.store).evaluate(parsed.value());
    if (!paths)
        return platform::makeError("the metadata index cannot be searched: " + paths.error().message);
    RowSet rows;
    for (const std::string& path : paths.value())
        if (auto where = index.library.layout().locate(path))
            if (index.mailbox.empty() || where->mailbox == index.mailbox)
                rows.insert(where->rowid);
    return rows;
}

// Asks the index every query of the tree, and checks that the rest can be evaluated.
Result<void> prepare(const Index& index, MessageCriterion& c, Answers& answers) {
    if (SmartMailboxQuery::isIndexQuery(c)) {
        auto rows = LUMETTA_TRY(answer(index, c));
        answers.emplace(&c, std::move(rows));
        return {};
    }
    if (!isCompound(c)) {
        std::string why;
        if (!c.isValid(&why))
            return platform::makeError("the smart mailbox cannot be evaluated: " + why);
        return {};
    }
    for (const auto& sub : c.criteria())
        if (sub)
            if (auto r = prepare(index, *sub, answers); !r)
                return r;
    return {};
}

bool holds(MessageCriterion& c, LibraryMessage& message, const Answers& answers) {
    if (SmartMailboxQuery::isIndexQuery(c))
        return answers.at(&c).contains(message.libraryID());
    if (!isCompound(c))
        return c.doesMessageSatisfyCriterion(&message);
    // As compounds are evaluated in memory: an empty one holds for "all", not for "any".
    for (const auto& sub : c.criteria()) {
        const bool subHolds = sub && holds(*sub, message, answers);
        if (subHolds != c.allCriteriaMustBeSatisfied())
            return subHolds;
    }
    return c.allCriteriaMustBeSatisfied();
}

// The rows every message must be among, when the index alone can say: nullptr when each
// message in scope has to be looked at.
const RowSet* narrowest(const MessageCriterion& root, const Answers& answers) {
    if (SmartMailboxQuery::isIndexQuery(root))
        return &answers.at(&root);
    if (!isCompound(root) || !root.allCriteriaMustBeSatisfied())
        return nullptr;
    const RowSet* best = nullptr;
    for (const auto& sub : root.criteria())
        if (sub && SmartMailboxQuery::isIndexQuery(*sub)) {
            const RowSet& rows = answers.at(sub.get());
            if (!best || rows.size() < best->size())
                best = &rows;
        }
    return best;
}

// The messages of the rows in the order `lumetta ls` shows them: mailboxes by name, then
// by date received.
MessageList inListingOrder(Library& library, const RowSet& rows) {
    std::map<std::int64_t, std::size_t> position;
    for (const auto& box : library.mailboxes())
        position.emplace(box.id, position.size());
    const std::vector<std::int64_t> wanted(rows.begin(), rows.end());
    std::vector<std::shared_ptr<LibraryMessage>> found = library.messages(wanted);
    auto key = [&](const std::shared_ptr<LibraryMessage>& m) {
        const Envelope& e = m->envelope();
        return std::tuple(position[e.mailbox], e.dateReceived, e.rowid);
    };
    std::sort(found.begin(), found.end(), [&](const auto& a, const auto& b) { return key(a) < key(b); });
    return MessageList(found.begin(), found.end());
}

MessageList inScope(Library& library, const std::string& mailbox) {
    if (!mailbox.empty())
        return library.messagesInMailbox(mailbox);
    MessageList out;
    for (const auto& box : library.mailboxes())
        for (auto& m : library.messagesInMailbox(box.name))
            out.push_back(std::move(m));
    return out;
}

} // namespace

SmartMailboxQuery::SmartMailboxQuery(const std::shared_ptr<MessageCriterion>& stored)
    : searched_(CriterionFixing::fixCriterion(stored)) {}

bool SmartMailboxQuery::isIndexQuery(const MessageCriterion& criterion) {
    return criterion.criterionIdentifier() == MessageCriterion::kMetadataQueryIdentifier;
}

std::vector<std::shared_ptr<MessageCriterion>> SmartMailboxQuery::parts() const {
    if (!searched_)
        return {};
    if (isCompound(*searched_) && !isIndexQuery(*searched_))
        return searched_->criteria();
    return {searched_};
}

bool SmartMailboxQuery::allMustMatch() const {
    return !searched_ || !isCompound(*searched_) || searched_->allCriteriaMustBeSatisfied();
}

Result<MessageList> SmartMailboxQuery::messages(Library& library, const std::string& mailbox) const {
    if (!searched_)
        return platform::makeError("the smart mailbox has no criterion");
    const Index index{library, mailbox, library.metadata()};
    Answers answers;
    LUMETTA_TRY_VOID(prepare(index, *searched_, answers));
    const RowSet* rows = narrowest(*searched_, answers);
    MessageList candidates = rows ? inListingOrder(library, *rows) : inScope(library, mailbox);
    MessageList out;
    for (auto& m : candidates) {
        auto* stored = dynamic_cast<LibraryMessage*>(m.get());
        if (stored && holds(*searched_, *stored, answers))
            out.push_back(std::move(m));
    }
    return out;
}

} // namespace mailhost
