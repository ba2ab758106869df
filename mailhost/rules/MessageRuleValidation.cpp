#include "mailhost/rules/MessageRuleValidation.h"

#include "mailhost/library/MailboxName.h"
#include "mailhost/rules/MFLookupLocalizedString.h"
#include "mailhost/rules/MessageRule.h"

namespace mailhost {

namespace {

bool fail(std::shared_ptr<MFError>* out, std::string_view key, std::string_view text,
          std::optional<std::string> helpTag = std::nullopt) {
    if (out)
        *out = MessageRuleValidation::error(key, text, std::move(helpTag));
    return false;
}

bool isEmptyText(const std::optional<std::string>& text) {
    return !text || text->empty();
}

} // namespace

std::shared_ptr<MFError> MessageRuleValidation::error(std::string_view key, std::string_view defaultText,
                                                      std::optional<std::string> helpTag) {
    return MFError::errorWithDomain(
        MFError::kMessageErrorDomain, kInvalidRuleCode, MFLookupLocalizedString(key, defaultText, kTable),
        MFLookupLocalizedString("ERROR_TITLE", "Error", kTable), std::move(helpTag), std::nullopt);
}

bool MessageRuleValidation::criterionIsValid(MessageCriterion& criterion, std::shared_ptr<MFError>* out) {
    std::string why;
    if (criterion.isValid(&why))
        return true;
    if (out)
        *out = MFError::errorWithDomain(
            MFError::kMessageErrorDomain, kInvalidRuleCode,
            why.empty()
                ? MFLookupLocalizedString("INVALID_CRITERION_MESSAGE",
                                          "One of the conditions of this rule is not complete.", kTable)
                : why,
            MFLookupLocalizedString("ERROR_TITLE", "Error", kTable), std::nullopt, std::nullopt);
    return false;
}

bool MessageRuleValidation::destinationsAreMailboxNames(const MessageRule& rule,
                                                        std::shared_ptr<MFError>* out) {
    struct Destination {
        bool on;
        const std::optional<std::string>& mailbox;
        const char* action;
    };
    for (const Destination& d :
         {Destination{rule.shouldTransferMessage(), rule.destinationMailbox(), "Move"},
          Destination{rule.shouldCopyMessage(), rule.copyDestinationMailbox(), "Copy"}}) {
        if (!d.on || isEmptyText(d.mailbox))
            continue;
        if (auto checked = MailboxName::check(*d.mailbox); !checked)
            return fail(out, "INVALID_TRANSFER_DESTINATION_NAME_MESSAGE",
                        std::string("The mailbox of the ") + d.action + " action cannot be used: " +
                            checked.error().message + ". Please choose a mailbox of this library.");
    }
    return true;
}

bool MessageRuleValidation::validate(MessageRule& rule, std::shared_ptr<MFError>* out) {
    if (rule.ruleName() && rule.ruleName()->empty())
        return fail(out, "INVALID_RULE_NAME_MESSAGE", "No description has been specified for this rule.",
                    "tag:mlhlp1017");
    for (const auto& criterion : rule.criteria())
        if (criterion && !criterionIsValid(*criterion, out))
            return false;
    const bool moves = rule.shouldTransferMessage(), copies = rule.shouldCopyMessage();
    if (moves && isEmptyText(rule.destinationMailbox()))
        return fail(out, "INVALID_TRANSFER_DESTINATION_MESSAGE",
                    "No destination mailbox has been selected for the Move/Copy action. Please select a "
                    "mailbox or remove the action.");
    if (copies && isEmptyText(rule.copyDestinationMailbox()))
        return fail(out, "INVALID_TRANSFER_DESTINATION_MESSAGE",
                    "No destination mailbox has been selected for the Copy action. Please select a mailbox "
                    "or remove the action.");
    if (!destinationsAreMailboxNames(rule, out))
        return false;
    if (rule.appleScriptPath() && rule.appleScriptPath()->empty())
        return fail(out, "INVALID_APPLESCRIPT_PATH_MESSAGE",
                    "No AppleScript has been selected for the Run AppleScript action. Please select a script "
                    "file or remove the action.",
                    "tag:mlhlp1120");
    const int response = rule.autoResponseType();
    const bool noRecipients = rule.autoResponseRecipients().empty();
    if (response == MessageRule::kForward && noRecipients)
        return fail(out, "INVALID_FORWARD_RECIPIENT_LIST_MESSAGE",
                    "No recipients have been specified for the Forward action. Please specify at least one "
                    "recipient or remove the action.");
    if (response == MessageRule::kRedirect && noRecipients)
        return fail(out, "INVALID_REDIRECT_RECIPIENT_LIST_MESSAGE",
                    "No recipients have been specified for the Redirect action. Please specify at least one "
                    "recipient or remove the action.");
    // The client's own actions; a rule that does nothing is a mistake.
    const bool acts =
        moves || copies || !isEmptyText(rule.appleScriptPath()) || !isEmptyText(rule.color()) ||
        !isEmptyText(rule.soundPath()) || rule.flagsToApply() || rule.flagsToClear() || rule.speechAlert() ||
        rule.shouldStopEvaluatingRules() || rule.shouldNotifyUser() || rule.addInvitationAttachmentToICal() ||
        response == MessageRule::kReply ||
        ((response == MessageRule::kForward || response == MessageRule::kRedirect) && !noRecipients);
    if (!acts)
        return fail(out, "NO_RULE_ACTIONS_MESSAGE",
                    "No actions have been specified for this rule. Please add an action.");
    return true;
}

} // namespace mailhost
