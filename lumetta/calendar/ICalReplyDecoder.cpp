#include "lumetta/calendar/ICalReplyDecoder.h"

#include "lumetta/calendar/ICalCodes.h"
#include "lumetta/calendar/ICalPriority.h"
#include "platform/foundation/Value.h"

namespace lumetta {

using namespace platform::appleevents;
using platform::Dictionary;
using platform::Value;

std::optional<AEDesc> ICalReplyDecoder::firstObject(const AppleEvent& reply) {
    const AEDesc* list = reply.directObject();
    if (!list || list->descriptorType() != typeAEList)
        return std::nullopt;
    for (std::size_t i = 1; i <= list->count(); ++i)
        if (const AEDesc* item = list->item(i); item && item->descriptorType() == typeObjectSpecifier)
            return *item;
    return std::nullopt;
}

bool ICalReplyDecoder::listsNothing(const AppleEvent& reply) {
    const AEDesc* list = reply.directObject();
    return !reply.errorNumber() && list && list->descriptorType() == typeAEList && list->count() == 0;
}

std::optional<std::string> ICalReplyDecoder::errorOf(const AppleEvent& reply) {
    const auto number = reply.errorNumber();
    if (!number && !reply.param(keyErrorNumber))
        return std::nullopt;
    if (auto text = reply.errorString(); text && !text->empty())
        return *text;
    return "error " + std::to_string(number.value_or(0));
}

bool ICalReplyDecoder::saysNoSuchObject(const AppleEvent& reply) {
    return reply.errorNumber() == errAENoSuchObject;
}

std::optional<std::string> ICalReplyDecoder::directString(const AppleEvent& reply) {
    const AEDesc* object = reply.directObject();
    return object ? object->stringValue() : std::nullopt;
}

std::optional<Dictionary> ICalReplyDecoder::toDoProperties(const AppleEvent& reply) {
    const AEDesc* record = reply.directObject();
    if (!record || record->descriptorType() != typeAERecord)
        return std::nullopt;
    Dictionary properties;
    const AEDesc* priority = record->param(ICalCodes::pPriority);
    properties.set("priority", ICalPriority::fromCalendar(priority ? priority->osTypeValue() : std::nullopt));
    const auto date = [&](const char* key, OSType code) {
        const AEDesc* value = record->param(code);
        if (value && value->descriptorType() == typeLongDateTime)
            if (auto converted = value->dateValue())
                properties.set(key, *converted);
    };
    date("completionDate", ICalCodes::pCompletionDate);
    date("dueDate", ICalCodes::pDueDate);
    const auto text = [&](const char* key, OSType code) {
        if (const AEDesc* value = record->param(code))
            if (auto s = value->stringValue())
                properties.set(key, *s);
    };
    text("summary", ICalCodes::pSummary);
    text("description", ICalCodes::pNotes);
    text("url", ICalCodes::pUrl);
    text("uid", ICalCodes::pUid);
    return properties;
}

std::vector<AEDesc> ICalReplyDecoder::listedToDos(const AppleEvent& reply) {
    std::vector<AEDesc> toDos;
    const AEDesc* list = reply.directObject();
    if (!list || list->descriptorType() != typeAEList)
        return toDos;
    for (std::size_t i = 1; i <= list->count(); ++i) {
        const AEDesc* item = list->item(i);
        if (item->descriptorType() == typeObjectSpecifier) {
            toDos.push_back(*item);
        } else if (item->descriptorType() == typeAEList) {
            for (std::size_t j = 1; j <= item->count(); ++j)
                if (item->item(j)->descriptorType() == typeObjectSpecifier)
                    toDos.push_back(*item->item(j));
        }
    }
    return toDos;
}

bool ICalReplyDecoder::countsNoAlarm(const AppleEvent& reply) {
    const AEDesc* count = reply.directObject();
    return count && Value(count->stringValue().value_or("")).intValue() == 0;
}

std::string ICalReplyDecoder::messageIdentifier(std::string_view url) {
    while (url.size() > 1 && url.back() == '/')
        url.remove_suffix(1);
    if (const auto slash = url.rfind('/'); slash != std::string_view::npos && url.size() > 1)
        url.remove_prefix(slash + 1);
    // A leading dot names a hidden file, not an extension.
    if (const auto dot = url.rfind('.'); dot != std::string_view::npos && dot > 0)
        url.remove_suffix(url.size() - dot);
    return std::string(url);
}

} // namespace lumetta
