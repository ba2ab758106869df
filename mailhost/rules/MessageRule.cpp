#include "mailhost/rules/MessageRule.h"

#include "mailhost/rules/MessageRuleActions.h"
#include "mailhost/rules/MessageRuleValidation.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

namespace mailhost {

using platform::Array;
using platform::Dictionary;
using platform::Value;
using platform::runtime::Runtime;
using platform::runtime::Seam;

namespace {

struct Seams {
    Class* cls = nullptr;
    Seam<Object*(Object*)>* init = nullptr;
    Seam<void(Object*)>* dealloc = nullptr;
    Seam<bool(Object*, std::shared_ptr<MFError>*)>* isValid = nullptr;
    Seam<void(Object*, MessageList, std::vector<std::string>*, MessageList*, MessageList*)>* perform =
        nullptr;
};

Seams& seams() {
    static Seams s;
    return s;
}

// Keys of the saved form.
constexpr const char* kName = "RuleName";
constexpr const char* kActive = "Active";
constexpr const char* kAll = "AllCriteriaMustBeSatisfied";
constexpr const char* kCriteria = "Criteria";
constexpr const char* kTransfer = "ShouldTransferMessage";
constexpr const char* kDestination = "Mailbox";
constexpr const char* kCopy = "ShouldCopyMessage";
constexpr const char* kCopyDestination = "CopyToMailbox";
constexpr const char* kScript = "AppleScript";
constexpr const char* kColor = "Color";
constexpr const char* kSound = "SoundName";
constexpr const char* kSetFlags = "SetFlags";
constexpr const char* kClearFlags = "ClearFlags";
constexpr const char* kSpeech = "SpeechAlert";
constexpr const char* kStop = "StopEvaluatingRules";
constexpr const char* kNotify = "NotifyUser";
constexpr const char* kInvitation = "AddInvitationToICal";
constexpr const char* kResponseType = "AutoResponseType";
constexpr const char* kRecipients = "AutoResponseRecipients";
constexpr const char* kOtherInfo = "OtherInfo";

// Saved booleans are "YES" and "NO"; a real boolean or a number reads as well.
bool readBool(const Dictionary& d, const char* key, bool absent) {
    const Value v = d.get(key);
    if (v.isNull())
        return absent;
    return v.isString() ? v.stringValue() == "YES" : v.boolValue();
}

std::optional<std::string> readString(const Dictionary& d, const char* key) {
    const Value v = d.get(key);
    return v.isString() ? std::optional<std::string>(v.stringValue()) : std::nullopt;
}

void writeString(Dictionary& d, const char* key, const std::optional<std::string>& value) {
    if (value)
        d.set(key, *value);
}

void writeBool(Dictionary& d, const char* key, bool value) {
    d.set(key, value ? "YES" : "NO");
}

MessageRule* asRule(Object* self) {
    return dynamic_cast<MessageRule*>(self);
}

} // namespace

Class& MessageRule::registerClass() {
    Seams& s = seams();
    Class& cls = Runtime::defineClass(kClassName);
    if (s.cls)
        return cls;
    s.cls = &cls;
    MFError::registerClass();
    MessageRuleCriterion::registerClass();
    s.init = new Seam<Object*(Object*)>(cls, "init", &hostInit);
    s.dealloc = new Seam<void(Object*)>(cls, "dealloc", &hostDealloc);
    s.isValid = new Seam<bool(Object*, std::shared_ptr<MFError>*)>(cls, "isValid:", &hostIsValid);
    s.perform = new Seam<void(Object*, MessageList, std::vector<std::string>*, MessageList*, MessageList*)>(
        cls, "performActionsOnMessages:destinationStores:rejectedMessages:messagesToBeDeleted:",
        &hostPerformActions);
    cls.addInstanceMethod(kOtherInfoVariable, &otherInfoSlot);
    cls.setFactory([](Class* c) { return std::make_unique<MessageRule>(c); });
    return cls;
}

std::shared_ptr<MessageRule> MessageRule::create() {
    Seams& s = seams();
    std::unique_ptr<Object> object = registerClass().createInstance();
    auto* rule = dynamic_cast<MessageRule*>(object.get());
    if (!rule)
        return nullptr;
    object.release();
    std::shared_ptr<MessageRule> shared(rule);
    if ((*s.init)(rule) != rule)
        return nullptr;
    return shared;
}

std::shared_ptr<MessageRule> MessageRule::withRule(const MessageRule& rule) {
    auto made = create();
    if (made)
        made->initWithRule(rule);
    return made;
}

std::shared_ptr<MessageRule> MessageRule::withDictionary(const Dictionary& dictionary) {
    auto made = create();
    if (made)
        made->initWithDictionary(dictionary);
    return made;
}

MessageRule::~MessageRule() {
    if (seams().dealloc)
        (*seams().dealloc)(this);
}

void MessageRule::initWithRule(const MessageRule& rule) {
    ruleName_ = rule.ruleName_;
    active_ = rule.active_;
    // Criteria are copied through their saved form: the two rules edit theirs apart.
    criteria_.clear();
    for (const auto& criterion : rule.criteria_)
        if (criterion)
            if (auto copy = MessageRuleCriterion::withDictionary(criterion->dictionaryRepresentation()))
                criteria_.push_back(std::move(copy));
    all_ = rule.all_;
    transfer_ = rule.transfer_;
    destination_ = rule.destination_;
    copy_ = rule.copy_;
    copyDestination_ = rule.copyDestination_;
    scriptPath_ = rule.scriptPath_;
    color_ = rule.color_;
    soundPath_ = rule.soundPath_;
    flagsToApply_ = rule.flagsToApply_;
    flagsToClear_ = rule.flagsToClear_;
    speech_ = rule.speech_;
    stop_ = rule.stop_;
    notify_ = rule.notify_;
    invitation_ = rule.invitation_;
    responseType_ = rule.responseType_;
    recipients_ = rule.recipients_;
    otherInfo_.reset();
    if (rule.otherInfo_)
        if (const Value copy = Value(*rule.otherInfo_).deepCopy(); const Dictionary* d = copy.dictionary())
            otherInfo_ = *d;
}

bool MessageRule::doesMessageSatisfyCriteria(Message* message) const {
    for (const auto& criterion : criteria_) {
        const bool holds = criterion && criterion->doesMessageSatisfyCriterion(message);
        if (holds != all_)
            return holds;
    }
    return all_ || criteria_.empty();
}

Dictionary MessageRule::dictionaryRepresentation() const {
    Dictionary d;
    writeString(d, kName, ruleName_);
    writeBool(d, kActive, active_);
    writeBool(d, kAll, all_);
    Array criteria;
    for (const auto& criterion : criteria_)
        if (criterion)
            criteria.add(criterion->dictionaryRepresentation());
    d.set(kCriteria, criteria);
    writeBool(d, kTransfer, transfer_);
    writeString(d, kDestination, destination_);
    writeBool(d, kCopy, copy_);
    writeString(d, kCopyDestination, copyDestination_);
    writeString(d, kScript, scriptPath_);
    writeString(d, kColor, color_);
    writeString(d, kSound, soundPath_);
    if (flagsToApply_)
        d.set(kSetFlags, Value::unsignedInteger(flagsToApply_));
    if (flagsToClear_)
        d.set(kClearFlags, Value::unsignedInteger(flagsToClear_));
    writeBool(d, kSpeech, speech_);
    writeBool(d, kStop, stop_);
    writeBool(d, kNotify, notify_);
    writeBool(d, kInvitation, invitation_);
    d.set(kResponseType, responseType_);
    if (!recipients_.empty()) {
        Array recipients;
        for (const auto& r : recipients_)
            recipients.add(r);
        d.set(kRecipients, recipients);
    }
    if (otherInfo_)
        d.set(kOtherInfo, *otherInfo_);
    return d;
}

void MessageRule::initWithDictionary(const Dictionary& d) {
    ruleName_ = readString(d, kName);
    active_ = readBool(d, kActive, true);
    all_ = readBool(d, kAll, true);
    criteria_.clear();
    const Value criteria = d.get(kCriteria);
    if (const Array* list = criteria.array())
        for (const Value& item : list->items())
            if (const Dictionary* form = item.dictionary())
                if (auto criterion = MessageRuleCriterion::withDictionary(*form))
                    criteria_.push_back(std::move(criterion));
    transfer_ = readBool(d, kTransfer, false);
    destination_ = readString(d, kDestination);
    copy_ = readBool(d, kCopy, false);
    copyDestination_ = readString(d, kCopyDestination);
    scriptPath_ = readString(d, kScript);
    color_ = readString(d, kColor);
    soundPath_ = readString(d, kSound);
    flagsToApply_ = d.get(kSetFlags).unsignedValue();
    flagsToClear_ = d.get(kClearFlags).unsignedValue();
    speech_ = readBool(d, kSpeech, false);
    stop_ = readBool(d, kStop, false);
    notify_ = readBool(d, kNotify, false);
    invitation_ = readBool(d, kInvitation, false);
    responseType_ = d.get(kResponseType).intValue();
    recipients_.clear();
    const Value recipients = d.get(kRecipients);
    if (const Array* list = recipients.array())
        for (const Value& item : list->items())
            if (item.isString())
                recipients_.push_back(item.stringValue());
    const Value other = d.get(kOtherInfo);
    otherInfo_ =
        other.dictionary() ? std::optional<Dictionary>(other.dictionary()->mutableCopy()) : std::nullopt;
}

bool MessageRule::isValid(std::shared_ptr<MFError>* error) {
    return (*seams().isValid)(this, error);
}

void MessageRule::performActionsOnMessages(const MessageList& messages,
                                           std::vector<std::string>* destinationStores,
                                           MessageList* rejectedMessages, MessageList* messagesToBeDeleted) {
    (*seams().perform)(this, messages, destinationStores, rejectedMessages, messagesToBeDeleted);
}

Object* MessageRule::hostInit(Object* self, Sel) {
    return asRule(self);
}

bool MessageRule::hostIsValid(Object* self, Sel, std::shared_ptr<MFError>* error) {
    MessageRule* rule = asRule(self);
    return rule && MessageRuleValidation::validate(*rule, error);
}

void MessageRule::hostPerformActions(Object* self, Sel, MessageList messages,
                                     std::vector<std::string>* destinationStores,
                                     MessageList* rejectedMessages, MessageList* messagesToBeDeleted) {
    if (MessageRule* rule = asRule(self))
        MessageRuleActions::perform(*rule, messages, destinationStores, rejectedMessages,
                                    messagesToBeDeleted);
}

std::optional<Dictionary>* MessageRule::otherInfoSlot(Object* self, Sel) {
    MessageRule* rule = asRule(self);
    return rule ? &rule->otherInfo_ : nullptr;
}

} // namespace mailhost
