#include "lumetta/store/MessageTags.h"

#include "lumetta/store/TagKeys.h"
#include "lumetta/store/TagRecord.h"
#include "platform/runtime/Send.h"

namespace lumetta {

using mailhost::Message;
using platform::Dictionary;
using platform::Value;
using platform::runtime::Object;
namespace rt = platform::runtime;

std::optional<Dictionary> MessageTags::lumettaExtraData(Message& message) {
    auto record =
        rt::send<std::optional<Dictionary>>(static_cast<Object*>(&message), TagSelectors::kExtraData);
    return record ? *record : std::nullopt;
}

bool MessageTags::lumettaHasExtraData(Message& message) {
    return rt::send<bool>(static_cast<Object*>(&message), TagSelectors::kHasExtraData).value_or(false);
}

Value MessageTags::lumettaExtraDataForKey(Message& message, const std::string& key) {
    return rt::send<Value>(static_cast<Object*>(&message), TagSelectors::kExtraDataForKey, key)
        .value_or(Value());
}

void MessageTags::lumettaSetExtraDataTo(Message& message, std::optional<Dictionary> record) {
    rt::sendVoid(static_cast<Object*>(&message), TagSelectors::kSetExtraDataTo, std::move(record));
}

void MessageTags::lumettaSetExtraData(Message& message, Value value, const std::string& key) {
    rt::sendVoid(static_cast<Object*>(&message), TagSelectors::kSetExtraData, std::move(value), key);
}

void MessageTags::lumettaRemoveExtraDataForKey(Message& message, const std::string& key) {
    rt::sendVoid(static_cast<Object*>(&message), TagSelectors::kRemoveExtraData, key);
}

void MessageTags::lumettaSynchroniseWithSpotlight(Message& message) {
    rt::sendVoid(static_cast<Object*>(&message), TagSelectors::kSynchroniseWithSpotlight);
}

bool MessageTags::respondsToExtraData(const Message& message) {
    return rt::respondsToSelector(&message, TagSelectors::kExtraData);
}

Value MessageTags::lumettaKeyWords(Message& message) {
    return lumettaExtraDataForKey(message, TagKeys::kKeyWords);
}

Value MessageTags::lumettaProject(Message& message) {
    return lumettaExtraDataForKey(message, TagKeys::kProject);
}

Value MessageTags::lumettaPriority(Message& message) {
    return lumettaExtraDataForKey(message, TagKeys::kPriority);
}

Value MessageTags::lumettaAnnotation(Message& message) {
    return lumettaExtraDataForKey(message, TagKeys::kAnnotation);
}

bool MessageTags::lumettaDueDateState(Message& message) {
    return lumettaExtraDataForKey(message, TagKeys::kDueDateState).boolValue();
}

Value MessageTags::lumettaDueDate(Message& message) {
    auto record = lumettaExtraData(message);
    return record ? TagRecord::dueDate(*record) : Value();
}

} // namespace lumetta
