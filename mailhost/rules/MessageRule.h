#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/mail/Library.h"
#include "mailhost/rules/MFError.h"
#include "platform/foundation/Dictionary.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mailhost {

// A mail rule: criteria that pick messages, and the actions the client takes on them
// (move, copy, flags, colour, a script, an automatic reply, stop evaluating). Rules are
// applied to new mail in the order the user keeps them (ConcreteMessageMall) and saved
// in the library (MessageRules).
//
// Besides its own actions a rule carries `_otherInfo`, a dictionary the client saves and
// loads with the rule without reading it: bundles keep their own actions there. Bundles
// reach the dictionary as an instance variable, by its name: the class publishes the
// variable as an instance method "_otherInfo" that answers the variable's address
// (OtherInfoSlot), so a bundle can tell whether this client has the variable at all.
class MessageRule : public Object {
public:
    static constexpr const char* kClassName = "MessageRule";
    // The name under which the extra dictionary is published.
    static constexpr const char* kOtherInfoVariable = "_otherInfo";
    using OtherInfoSlot = std::optional<platform::Dictionary>* (*)(Object*, Sel);

    // What an automatic response sends.
    enum AutoResponseType : int { kNoResponse = 0, kForward = 1, kReply = 2, kRedirect = 3 };

    // Defines "MessageRule" and its replaceable instance methods:
    //   init          Object*(Object*, Sel)                 nullptr when the rule cannot be made
    //   dealloc       void(Object*, Sel)
    //   isValid:      bool(Object*, Sel, std::shared_ptr<MFError>* error)
    //   performActionsOnMessages:destinationStores:rejectedMessages:messagesToBeDeleted:
    //                 void(Object*, Sel, MessageList messages, std::vector<std::string>* destinationStores,
    //                      MessageList* rejectedMessages, MessageList* messagesToBeDeleted)
    // and the variable accessor "_otherInfo" (OtherInfoSlot). Also defines MFError.
    static Class& registerClass();

    // A new rule made through the class's factory and `init`; nullptr when `init` refuses.
    static std::shared_ptr<MessageRule> create();
    // A new rule with every property of `rule` (`initWithRule:`); the extra dictionary is
    // copied, so the two rules never share it.
    static std::shared_ptr<MessageRule> withRule(const MessageRule& rule);
    // A rule read from its saved form.
    static std::shared_ptr<MessageRule> withDictionary(const platform::Dictionary& dictionary);

    explicit MessageRule(Class* cls) : Object(cls) {}
    ~MessageRule() override;

    // `initWithRule:` on a rule that has been through `init`.
    void initWithRule(const MessageRule& rule);

    // ---- properties ----
    // Absent for a rule never named; "" is a name left empty (which is not valid).
    const std::optional<std::string>& ruleName() const { return ruleName_; }
    void setRuleName(std::optional<std::string> name) { ruleName_ = std::move(name); }
    bool isActive() const { return active_; }
    void setActive(bool active) { active_ = active; }

    std::vector<std::shared_ptr<MessageCriterion>>& criteria() { return criteria_; }
    const std::vector<std::shared_ptr<MessageCriterion>>& criteria() const { return criteria_; }
    bool allCriteriaMustBeSatisfied() const { return all_; }
    void setAllCriteriaMustBeSatisfied(bool all) { all_ = all; }

    bool shouldTransferMessage() const { return transfer_; }
    void setShouldTransferMessage(bool transfer) { transfer_ = transfer; }
    const std::optional<std::string>& destinationMailbox() const { return destination_; }
    void setDestinationMailbox(std::optional<std::string> mailbox) { destination_ = std::move(mailbox); }
    bool shouldCopyMessage() const { return copy_; }
    void setShouldCopyMessage(bool copy) { copy_ = copy; }
    const std::optional<std::string>& copyDestinationMailbox() const { return copyDestination_; }
    void setCopyDestinationMailbox(std::optional<std::string> mailbox) {
        copyDestination_ = std::move(mailbox);
    }

    // The program run on matched messages; absent for none, "" for one not chosen yet.
    const std::optional<std::string>& appleScriptPath() const { return scriptPath_; }
    void setAppleScriptPath(std::optional<std::string> path) { scriptPath_ = std::move(path); }
    // A colour name ("red") or "#RRGGBB".
    const std::optional<std::string>& color() const { return color_; }
    void setColor(std::optional<std::string> color) { color_ = std::move(color); }
    const std::optional<std::string>& soundPath() const { return soundPath_; }
    void setSoundPath(std::optional<std::string> path) { soundPath_ = std::move(path); }
    // Bits of the message flag word set on, and taken off, matched messages.
    std::uint64_t flagsToApply() const { return flagsToApply_; }
    void setFlagsToApply(std::uint64_t flags) { flagsToApply_ = flags; }
    std::uint64_t flagsToClear() const { return flagsToClear_; }
    void setFlagsToClear(std::uint64_t flags) { flagsToClear_ = flags; }
    bool speechAlert() const { return speech_; }
    void setSpeechAlert(bool speak) { speech_ = speak; }
    bool shouldStopEvaluatingRules() const { return stop_; }
    void setShouldStopEvaluatingRules(bool stop) { stop_ = stop; }
    bool shouldNotifyUser() const { return notify_; }
    void setShouldNotifyUser(bool notify) { notify_ = notify; }
    bool addInvitationAttachmentToICal() const { return invitation_; }
    void setAddInvitationAttachmentToICal(bool add) { invitation_ = add; }
    int autoResponseType() const { return responseType_; }
    void setAutoResponseType(int type) { responseType_ = type; }
    const std::vector<std::string>& autoResponseRecipients() const { return recipients_; }
    void setAutoResponseRecipients(std::vector<std::string> recipients) {
        recipients_ = std::move(recipients);
    }

    // The extra dictionary, as the client itself reads and writes it (saving, copying).
    const std::optional<platform::Dictionary>& otherInfo() const { return otherInfo_; }
    void setOtherInfo(std::optional<platform::Dictionary> info) { otherInfo_ = std::move(info); }

    // ---- behaviour ----
    // Whether the message meets all (or any) of the criteria, each asked through its own
    // `doesMessageSatisfyCriterion:`. A rule without criteria takes every message.
    bool doesMessageSatisfyCriteria(Message* message) const;

    platform::Dictionary dictionaryRepresentation() const;
    void initWithDictionary(const platform::Dictionary& dictionary);

    // The replaceable methods, through their seams.
    bool isValid(std::shared_ptr<MFError>* error);
    void performActionsOnMessages(const MessageList& messages, std::vector<std::string>* destinationStores,
                                  MessageList* rejectedMessages, MessageList* messagesToBeDeleted);

    // The host's implementations (validation and actions live in their own classes).
    static Object* hostInit(Object* self, Sel);
    static void hostDealloc(Object*, Sel) {}
    static bool hostIsValid(Object* self, Sel, std::shared_ptr<MFError>* error);
    static void hostPerformActions(Object* self, Sel, MessageList messages,
                                   std::vector<std::string>* destinationStores, MessageList* rejectedMessages,
                                   MessageList* messagesToBeDeleted);
    static std::optional<platform::Dictionary>* otherInfoSlot(Object* self, Sel);

private:
    std::optional<std::string> ruleName_;
    bool active_ = true;
    std::vector<std::shared_ptr<MessageCriterion>> criteria_;
    bool all_ = true;
    bool transfer_ = false;
    std::optional<std::string> destination_;
    bool copy_ = false;
    std::optional<std::string> copyDestination_;
    std::optional<std::string> scriptPath_;
    std::optional<std::string> color_;
    std::optional<std::string> soundPath_;
    std::uint64_t flagsToApply_ = 0;
    std::uint64_t flagsToClear_ = 0;
    bool speech_ = false;
    bool stop_ = false;
    bool notify_ = false;
    bool invitation_ = false;
    int responseType_ = kNoResponse;
    std::vector<std::string> recipients_;
    std::optional<platform::Dictionary> otherInfo_;
};

} // namespace mailhost
