#include "lumetta/rules/MessageRuleTagActions.h"

#include "lumetta/core/AttachedStateCategories.h"
#include "lumetta/core/MethodReplacement.h"
#include "lumetta/core/PluginBundle.h"
#include "lumetta/rules/RuleActionKeys.h"
#include "lumetta/rules/RuleTagPlan.h"
#include "lumetta/store/MessageTags.h"
#include "mailhost/mail/MailAccount.h"
#include "mailhost/mail/MessageSorting.h"
#include "mailhost/mail/MessageStore.h"
#include "platform/foundation/CalendarDateFormatter.h"
#include "platform/foundation/IgnoreError.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Bundle.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"
#include "platform/spotlight/MetadataStore.h"

#include <typeindex>

namespace lumetta {

using mailhost::MessageList;
using platform::Dictionary;
using platform::Value;
namespace keys = RuleActionKeys;
namespace rt = platform::runtime;

namespace {

constexpr const char* kHostClass = "MessageRule";
constexpr const char* kOtherInfoVariable = "_otherInfo";
constexpr const char* kDeleteToDo = "lumettaDeleteToDoInICal";
constexpr const char* kNoteDateFormat = "lumettaDateFormatForNote";

using OtherInfoSlot = std::optional<Dictionary>* (*)(rt::Object*, Sel);
using InitImp = rt::Object* (*)(rt::Object*, Sel);
using PerformImp = void (*)(rt::Object*, Sel, MessageList, std::vector<std::string>*, MessageList*,
                            MessageList*);

// Where the host keeps the rule's extra dictionary, found once by the variable's name;
// empty when the host has no such variable.
OtherInfoSlot otherInfoSlot = nullptr;
InitImp savedInit = nullptr;
PerformImp savedPerform = nullptr;

std::optional<Dictionary>* slotOf(rt::Object* self) {
    return otherInfoSlot && self ? otherInfoSlot(self, kOtherInfoVariable) : nullptr;
}

std::string dateToken() {
    const rt::Bundle* bundle = PluginBundle::find();
    return bundle ? bundle->localizedString("$date", "$date", "LumettaStrings") : std::string("$date");
}

std::string noteDateFormat() {
    const Value format = platform::UserDefaults::standard().valueForKey(kNoteDateFormat);
    if (const std::string* text = format.string())
        return *text;
    return std::string(platform::CalendarDateFormatter::kDefaultNoteFormat);
}

// One index transaction for a mailbox's worth of tag mirroring. It steps aside whenever
// message files are written meanwhile (deleting a linked to-do saves the message at
// once): the host's writer takes the index in its own turn and must not wait for it.
class IndexBatch {
public:
    IndexBatch() { resume(); }
    ~IndexBatch() { pause(); }
    IndexBatch(const IndexBatch&) = delete;
    IndexBatch& operator=(const IndexBatch&) = delete;

    void resume() {
        if (!open_)
            if (auto* store = platform::spotlight::MetadataStore::current())
                open_.emplace(*store);
    }
    void pause() {
        if (open_)
            platform::ignoreError(open_->commit(),
                                  "metadata batch: a failed commit leaves the index to the next reindex");
        open_.reset();
    }

private:
    std::optional<platform::spotlight::MetadataStore::Transaction> open_;
};

} // namespace

void MessageRuleTagActions::load() {
    rt::Class* cls = rt::Runtime::classNamed(kHostClass);
    if (!cls)
        return;
    if (rt::Method* variable = cls->instanceMethod(kOtherInfoVariable);
        variable && variable->type() == std::type_index(typeid(OtherInfoSlot)))
        otherInfoSlot = reinterpret_cast<OtherInfoSlot>(variable->imp());
    cls->addInstanceMethod(RuleSelectors::kOtherInfo, &LUotherInfo);
    cls->addInstanceMethod(RuleSelectors::kSetOtherInfo, &LUsetOtherInfo);
    cls->addInstanceMethod(RuleSelectors::kValueForAction, &lumettaValueForAction);
    cls->addInstanceMethod(RuleSelectors::kBooleanForAction, &lumettaBooleanForAction);
    cls->addInstanceMethod(RuleSelectors::kSetValueForAction, &lumettaSetValueForAction);
    cls->addInstanceMethod(RuleSelectors::kSetBooleanForAction, &lumettaSetBooleanForAction);
    cls->addInstanceMethod(RuleSelectors::kSetFlagsToRemove, &setFlagsToRemove);
    cls->addInstanceMethod(RuleSelectors::kFlagsToRemove, &flagsToRemove);
    cls->addInstanceMethod("lumetta_init", &lumetta_init);
    cls->addInstanceMethod(
        "lumetta_performActionsOnMessages:destinationStores:rejectedMessages:messagesToBeDeleted:",
        &lumetta_performActionsOnMessages);
    savedInit = replaceInstanceMethod<InitImp>("init", kHostClass, "lumetta_init", kHostClass);
    savedPerform = replaceInstanceMethod<PerformImp>(
        "performActionsOnMessages:destinationStores:rejectedMessages:messagesToBeDeleted:", kHostClass,
        "lumetta_performActionsOnMessages:destinationStores:rejectedMessages:messagesToBeDeleted:",
        kHostClass);
}

std::optional<Dictionary> MessageRuleTagActions::LUotherInfo(Object* self, Sel) {
    std::optional<Dictionary>* slot = slotOf(self);
    return slot ? *slot : std::nullopt;
}

void MessageRuleTagActions::LUsetOtherInfo(Object* self, Sel, std::optional<Dictionary> info) {
    if (std::optional<Dictionary>* slot = slotOf(self))
        *slot = std::move(info);
}

Value MessageRuleTagActions::lumettaValueForAction(Object* self, Sel, std::string key) {
    const auto info = LUotherInfo(self);
    return info ? info->get(key) : Value();
}

bool MessageRuleTagActions::lumettaBooleanForAction(Object* self, Sel, std::string key) {
    const Value value = lumettaValueForAction(self, {}, std::move(key));
    const std::string* text = value.string();
    return text && *text == keys::kYes;
}

void MessageRuleTagActions::lumettaSetValueForAction(Object* self, Sel, Value value, std::string key) {
    const auto current = LUotherInfo(self);
    Dictionary replacement = current ? current->mutableCopy() : Dictionary();
    if (value.isNull())
        replacement.remove(key);
    else
        replacement.set(std::move(key), std::move(value));
    LUsetOtherInfo(self, {}, replacement);
}

void MessageRuleTagActions::lumettaSetBooleanForAction(Object* self, Sel, bool value, std::string key) {
    lumettaSetValueForAction(self, {}, value ? Value(keys::kYes) : Value(), std::move(key));
}

void MessageRuleTagActions::setFlagsToRemove(Object* self, Sel, unsigned flags) {
    const auto current = LUotherInfo(self);
    Dictionary replacement = current ? current->mutableCopy() : Dictionary();
    replacement.set(keys::kMarkUnread, (flags & keys::kReadFlag) ? keys::kYes : keys::kNo);
    replacement.set(keys::kMarkUnflagged, (flags & keys::kFlaggedFlag) ? keys::kYes : keys::kNo);
    LUsetOtherInfo(self, {}, replacement);
}

unsigned MessageRuleTagActions::flagsToRemove(Object* self, Sel) {
    if (!LUotherInfo(self))
        return 0;
    return (lumettaBooleanForAction(self, {}, keys::kMarkUnread) ? keys::kReadFlag : 0u) +
           (lumettaBooleanForAction(self, {}, keys::kMarkUnflagged) ? keys::kFlaggedFlag : 0u);
}

rt::Object* MessageRuleTagActions::lumetta_init(Object* self, Sel sel) {
    MessageRuleCategory::extraIVars(self); // made before the host's init, as every rule has one
    return savedInit(self, sel);
}

void MessageRuleTagActions::lumetta_performActionsOnMessages(Object* self, Sel sel, MessageList messages,
                                                             std::vector<std::string>* destinationStores,
                                                             MessageList* rejectedMessages,
                                                             MessageList* messagesToBeDeleted) {
    const unsigned flags = flagsToRemove(self);
    const RuleTagPlan plan =
        RuleTagPlan::read(LUotherInfo(self), dateToken(), platform::Clock::now(), noteDateFormat());
    const bool unflag = (flags & keys::kFlaggedFlag) != 0;
    for (const auto& [mailbox, group] : mailhost::dictionaryWithMessagesSortedByMailbox(messages)) {
        mailhost::MailAccount* account = mailhost::MailAccount::forMailbox(mailbox);
        const auto store = account ? account->storeForMailboxUid(mailbox) : nullptr;
        if (store && (flags & keys::kReadFlag))
            store->setFlag("MessageIsRead", false, group);
        if (store && unflag)
            store->setFlag("MessageIsFlagged", false, group);
        // Taking the flagged mark off alone stops here: the flag tag stays.
        if (!plan.touchesTags())
            continue;
        IndexBatch batch;
        for (const auto& message : group) {
            auto record = MessageTags::lumettaExtraData(*message);
            if (record)
                plan.apply(*record, unflag, [&] {
                    batch.pause();
                    rt::sendVoid(static_cast<rt::Object*>(message.get()), kDeleteToDo);
                    batch.resume();
                });
            MessageTags::lumettaSetExtraDataTo(*message, record);
            MessageTags::lumettaSynchroniseWithSpotlight(*message);
        }
    }
    savedPerform(self, sel, std::move(messages), destinationStores, rejectedMessages, messagesToBeDeleted);
}

} // namespace lumetta
