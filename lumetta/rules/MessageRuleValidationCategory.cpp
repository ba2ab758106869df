#include "lumetta/rules/MessageRuleValidationCategory.h"

#include "lumetta/core/MethodReplacement.h"
#include "lumetta/rules/MessageRuleTagActions.h"
#include "mailhost/rules/MFLookupLocalizedString.h"
#include "mailhost/rules/MessageRule.h"
#include "mailhost/rules/MessageRuleValidation.h"
#include "platform/runtime/Runtime.h"

#include <optional>
#include <string>

namespace lumetta {

using mailhost::MessageRule;
using mailhost::MFError;

namespace {

constexpr const char* kHostClass = "MessageRule";
constexpr const char* kTable = "Delayed";
constexpr int kInvalidRule = 1030;

bool fail(std::shared_ptr<MFError>* error, const char* key, const char* text,
          std::optional<std::string> helpTag = std::nullopt) {
    if (error)
        *error = MFError::errorWithDomain(MFError::kMessageErrorDomain, kInvalidRule,
                                          mailhost::MFLookupLocalizedString(key, text, kTable),
                                          mailhost::MFLookupLocalizedString("ERROR_TITLE", "Error", kTable),
                                          std::move(helpTag), std::nullopt);
    return false;
}

bool isEmptyString(const std::optional<std::string>& text) {
    return text && text->empty();
}

bool hasText(const std::optional<std::string>& text) {
    return text && !text->empty();
}

} // namespace

void MessageRuleValidationCategory::load() {
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(kHostClass);
    if (!cls)
        return;
    cls->addInstanceMethod("lumetta_isValid:", &lumetta_isValid);
    // A full substitute: the host's implementation is not kept.
    (void)replaceInstanceMethod<bool (*)(Object*, Sel, std::shared_ptr<MFError>*)>(
        "isValid:", kHostClass, "lumetta_isValid:", kHostClass);
}

bool MessageRuleValidationCategory::lumetta_isValid(Object* self, Sel, std::shared_ptr<MFError>* error) {
    auto* rule = dynamic_cast<MessageRule*>(self);
    if (!rule)
        return false;
    if (isEmptyString(rule->ruleName()))
        return fail(error, "INVALID_RULE_NAME_MESSAGE", "No description has been specified for this rule.",
                    "tag:mlhlp1017");
    for (const auto& criterion : rule->criteria())
        if (criterion && !mailhost::MessageRuleValidation::criterionIsValid(*criterion, error))
            return false;
    int actions = 0;
    if (rule->shouldTransferMessage()) {
        if (!hasText(rule->destinationMailbox()))
            return fail(error, "INVALID_TRANSFER_DESTINATION_MESSAGE",
                        "No destination mailbox has been selected for the Move/Copy action. Please select a "
                        "mailbox or remove the action.");
        ++actions;
    }
    if (rule->shouldCopyMessage()) {
        // The same key as the move on purpose: a translation shows its move/copy text for both.
        if (!hasText(rule->copyDestinationMailbox()))
            return fail(
                error, "INVALID_TRANSFER_DESTINATION_MESSAGE",
                "No destination mailbox has been selected for the Copy action. Please select a mailbox "
                "or remove the action.");
        ++actions;
    }
    // Checked by the host's own rule, so that a mailbox name means the same to both.
    if (!mailhost::MessageRuleValidation::destinationsAreMailboxNames(*rule, error))
        return false;
    if (isEmptyString(rule->appleScriptPath()))
        return fail(
            error, "INVALID_APPLESCRIPT_PATH_MESSAGE",
            "No AppleScript has been selected for the Run AppleScript action. Please select a script file "
            "or remove the action.",
            "tag:mlhlp1120");
    // An absent script counts as an action too, so every rule that gets this far has one:
    // that is what lets a rule with only tag actions (or none at all) be saved.
    ++actions;
    const int response = rule->autoResponseType();
    const bool recipients = !rule->autoResponseRecipients().empty();
    if (response == MessageRule::kForward && !recipients)
        return fail(error, "INVALID_FORWARD_RECIPIENT_LIST_MESSAGE",
                    "No recipients have been specified for the Forward action. Please specify at least one "
                    "recipient or remove the action.");
    if (response == MessageRule::kRedirect && !recipients)
        return fail(error, "INVALID_REDIRECT_RECIPIENT_LIST_MESSAGE",
                    "No recipients have been specified for the Redirect action. Please specify at least one "
                    "recipient or remove the action.");
    if (hasText(rule->color()) || hasText(rule->soundPath()) || rule->flagsToApply() ||
        MessageRuleTagActions::flagsToRemove(self) || rule->speechAlert() ||
        rule->shouldStopEvaluatingRules() || rule->shouldNotifyUser() ||
        rule->addInvitationAttachmentToICal())
        actions += 2;
    if (((response == MessageRule::kForward || response == MessageRule::kRedirect) && recipients) ||
        response == MessageRule::kReply)
        ++actions;
    return actions != 0;
}

} // namespace lumetta
