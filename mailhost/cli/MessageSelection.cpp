#include "mailhost/cli/MessageSelection.h"

#include "mailhost/criteria/CriterionSyntax.h"
#include "mailhost/criteria/SmartMailboxQuery.h"
#include "mailhost/criteria/SmartMailboxes.h"

#include <charconv>

namespace mailhost {

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

platform::Error usage(std::string message) {
    return platform::makeError(std::move(message), kUsage);
}

platform::Error failed(std::string message) {
    return platform::makeError(std::move(message), kFailed);
}

} // namespace

platform::Result<MessageSelection> MessageSelection::read(const Options& options) {
    const bool byIds = !options.ids.empty();
    const bool bySmart = !options.smart.empty();
    const bool byWhere = !options.where.empty();
    const bool byMailbox = !options.mailbox.empty();
    if (!byIds && !bySmart && !byWhere && !byMailbox)
        return usage(
            "say which messages: message numbers, --in MAILBOX, --smart NAME or --where CRITERION...");
    if (byIds && (bySmart || byWhere || byMailbox))
        return usage("message numbers cannot be combined with --in, --smart or --where");
    if (bySmart && byWhere)
        return usage(
            "--smart and --where cannot be combined (add the criteria to the smart mailbox instead)");
    if (options.any && !byWhere)
        return usage("--any only applies to --where");
    for (const auto& id : options.ids) {
        std::int64_t n = 0;
        const auto [end, ec] = std::from_chars(id.data(), id.data() + id.size(), n);
        if (ec != std::errc() || end != id.data() + id.size() || n <= 0)
            return usage("\"" + id + "\" is not a message number (see 'lumetta ls')");
    }
    MessageSelection selection(options);
    if (byWhere) {
        auto made = CriterionSyntax::compound(options.where, !options.any);
        if (!made)
            return platform::makeError("--where: " + made.error().message, made.error().code);
        std::string why;
        if (!made.value()->isValid(&why))
            return usage("--where: " + why);
        selection.criteria_ = made.value();
    }
    return selection;
}

platform::Result<MessageList> MessageSelection::mailboxMessages(Library& library) const {
    if (options_.mailbox.empty()) {
        MessageList all;
        for (const auto& box : library.mailboxes())
            for (auto& m : library.messagesInMailbox(box.name))
                all.push_back(std::move(m));
        return all;
    }
    if (!library.index().mailboxNamed(options_.mailbox))
        return failed("no mailbox named \"" + options_.mailbox + "\" (see 'lumetta mailboxes')");
    return library.messagesInMailbox(options_.mailbox);
}

platform::Result<MessageList> MessageSelection::resolve(Library& library) const {
    if (!options_.ids.empty()) {
        MessageList found;
        for (const auto& id : options_.ids) {
            auto message = library.message(std::stoll(id));
            if (!message)
                return failed("no message " + id + " (see 'lumetta ls')");
            found.push_back(std::move(message));
        }
        return found;
    }
    if (!options_.smart.empty()) {
        auto store = SmartMailboxes::load(library.layout().root());
        if (!store)
            return failed(store.error().message);
        auto criterion = store.value().criterion(options_.smart);
        if (!criterion)
            return failed("no smart mailbox named \"" + options_.smart + "\" (see 'lumetta smart list')");
        if (!options_.mailbox.empty() && !library.index().mailboxNamed(options_.mailbox))
            return failed("no mailbox named \"" + options_.mailbox + "\" (see 'lumetta mailboxes')");
        auto messages = SmartMailboxQuery(criterion).messages(library, options_.mailbox);
        if (!messages)
            return failed("smart mailbox \"" + options_.smart + "\": " + messages.error().message);
        return std::move(messages.value());
    }
    if (criteria_ && library.metadata()) {
        // As `lumetta find` selects: the index answers the parts it can.
        if (!options_.mailbox.empty() && !library.index().mailboxNamed(options_.mailbox))
            return failed("no mailbox named \"" + options_.mailbox + "\" (see 'lumetta mailboxes')");
        auto messages = SmartMailboxQuery(criteria_).messages(library, options_.mailbox);
        if (!messages)
            return failed("--where: " + messages.error().message);
        return std::move(messages.value());
    }
    auto scope = mailboxMessages(library);
    if (!scope || !criteria_)
        return scope;
    MessageList matching;
    for (auto& message : scope.value())
        if (criteria_->doesMessageSatisfyCriterion(message.get()))
            matching.push_back(std::move(message));
    return matching;
}

std::string MessageSelection::describe() const {
    if (!options_.ids.empty())
        return options_.ids.size() == 1 ? "message " + options_.ids.front()
                                        : std::to_string(options_.ids.size()) + " message numbers";
    std::string where = options_.smart.empty() ? "" : "smart mailbox \"" + options_.smart + "\"";
    if (!options_.where.empty())
        where = "messages matching the criteria";
    if (!options_.mailbox.empty())
        where += (where.empty() ? "" : " in ") + std::string("mailbox \"") + options_.mailbox + "\"";
    return where;
}

} // namespace mailhost
