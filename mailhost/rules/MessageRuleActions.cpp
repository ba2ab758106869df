#include "mailhost/rules/MessageRuleActions.h"

#include "mailhost/mail/MailAccount.h"
#include "mailhost/mail/MessageSorting.h"
#include "mailhost/mail/MessageStore.h"
#include "mailhost/rules/AutoResponse.h"
#include "mailhost/rules/MessageColoring.h"
#include "mailhost/rules/MessageRule.h"
#include "mailhost/rules/RuleScript.h"
#include "platform/foundation/Log.h"

#include <algorithm>
#include <mutex>
#include <unordered_set>
#include <utility>

namespace mailhost {

namespace {

std::mutex failuresMutex;
std::vector<std::string>& failureList() {
    static std::vector<std::string> failures;
    return failures;
}

void failed(const MessageRule& rule, const std::string& what) {
    const std::string named = "\"" + rule.ruleName().value_or("") + "\": " + what;
    platform::Log::line("Rule " + named);
    std::lock_guard guard(failuresMutex);
    failureList().push_back("rule " + named);
}

void noteDestination(std::vector<std::string>* stores, const std::string& mailbox) {
    if (stores && std::find(stores->begin(), stores->end(), mailbox) == stores->end())
        stores->push_back(mailbox);
}

// Sets (or clears) every bit of `bits` that names a flag, mailbox by mailbox, through
// the mailbox's message store as any other change of flags goes.
void changeFlags(const MessageList& messages, std::uint64_t bits, bool state) {
    if (!bits)
        return;
    for (const auto& [mailbox, group] : dictionaryWithMessagesSortedByMailbox(messages)) {
        MailAccount* account = MailAccount::forMailbox(mailbox);
        auto store = account ? account->storeForMailboxUid(mailbox) : nullptr;
        if (!store)
            continue;
        for (const std::string& name : MessageRuleActions::flagNames())
            if (const auto bit = MessageStore::flagBit(name); bit && (bits & *bit))
                store->setFlag(name, state, group);
    }
}

// Library messages not in `mailbox` already.
MessageList elsewhere(const MessageList& messages, const std::string& mailbox) {
    MessageList out;
    for (const auto& m : messages)
        if (auto* stored = dynamic_cast<LibraryMessage*>(m.get()); stored && stored->mailboxName() != mailbox)
            out.push_back(m);
    return out;
}

// Copies into `mailbox` (made when missing); the messages copied, the others rejected.
MessageList copyInto(const MessageRule& rule, const MessageList& messages, const std::string& mailbox,
                     std::vector<std::string>* stores, MessageList* rejected) {
    Library* library = Library::current();
    if (messages.empty() || !library)
        return {};
    if (!library->index().mailboxNamed(mailbox))
        if (auto made = library->createMailbox(mailbox); !made) {
            failed(rule, "could not make mailbox " + mailbox + ": " + made.error().message);
            if (rejected)
                rejected->insert(rejected->end(), messages.begin(), messages.end());
            return {};
        }
    const auto copies = Library::duplicateMessages(messages, mailbox);
    MessageList copied;
    std::unordered_set<const Message*> done;
    if (copies)
        for (const auto& [source, copy] : *copies)
            if (copy && done.insert(source.get()).second)
                copied.push_back(source);
    if (!copied.empty())
        noteDestination(stores, mailbox);
    if (rejected)
        for (const auto& m : messages)
            if (!done.count(m.get()))
                rejected->push_back(m);
    return copied;
}

std::vector<std::string> filePaths(const MessageList& messages) {
    std::vector<std::string> paths;
    for (const auto& m : messages)
        if (dynamic_cast<LibraryMessage*>(m.get()))
            if (std::string path = Library::dataPathForMessage(m.get()); !path.empty())
                paths.push_back(std::move(path));
    return paths;
}

} // namespace

std::vector<std::string> MessageRuleActions::takeFailures() {
    std::lock_guard guard(failuresMutex);
    return std::exchange(failureList(), {});
}

const std::vector<std::string>& MessageRuleActions::flagNames() {
    static const std::vector<std::string> names = {"MessageIsRead", "MessageIsDeleted", "MessageIsAnswered",
                                                   "MessageIsFlagged", "MessageIsDraft"};
    return names;
}

void MessageRuleActions::perform(MessageRule& rule, const MessageList& messages,
                                 std::vector<std::string>* destinationStores, MessageList* rejectedMessages,
                                 MessageList* messagesToBeDeleted) {
    if (messages.empty())
        return;
    changeFlags(messages, rule.flagsToApply(), true);
    changeFlags(messages, rule.flagsToClear(), false);
    if (rule.color() && !rule.color()->empty())
        MessageColoring::apply(messages, *rule.color());
    if (rule.shouldCopyMessage() && rule.copyDestinationMailbox() &&
        !rule.copyDestinationMailbox()->empty()) {
        const std::string& box = *rule.copyDestinationMailbox();
        copyInto(rule, elsewhere(messages, box), box, destinationStores, rejectedMessages);
    }
    if (rule.shouldTransferMessage() && rule.destinationMailbox() && !rule.destinationMailbox()->empty()) {
        const std::string& box = *rule.destinationMailbox();
        const MessageList moved =
            copyInto(rule, elsewhere(messages, box), box, destinationStores, rejectedMessages);
        if (messagesToBeDeleted)
            messagesToBeDeleted->insert(messagesToBeDeleted->end(), moved.begin(), moved.end());
    }
    if (rule.appleScriptPath() && !rule.appleScriptPath()->empty())
        if (auto ran = RuleScript::run(*rule.appleScriptPath(), filePaths(messages)); !ran)
            failed(rule, ran.error().message);
    if (rule.autoResponseType() != MessageRule::kNoResponse)
        AutoResponse::send(rule, messages);
    // Sounds, spoken alerts, notices and calendar invitations are for a client with a
    // desktop: the rule keeps them, and this client has nothing to play or show.
}

} // namespace mailhost
