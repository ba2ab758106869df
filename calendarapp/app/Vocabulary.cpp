#include "calendarapp/app/Vocabulary.h"

#include <utility>

namespace calendarapp {

namespace {

constexpr std::pair<OSType, const char*> kClasses[] = {
    {cApplication, "application"},    {cCalendar, "calendar"}, {cToDo, "to do"},
    {cDisplayAlarm, "display alarm"}, {cAnyObject, "item"},
};

constexpr std::pair<OSType, const char*> kProperties[] = {
    {pName, "name"},
    {pClass, "class"},
    {pAllProperties, "properties"},
    {pUid, "uid"},
    {pSummary, "summary"},
    {pNotes, "description"},
    {pUrl, "url"},
    {pCompletionDate, "completion date"},
    {pDueDate, "due date"},
    {pPriority, "priority"},
    {pStamp, "stamp date"},
    {pTriggerDate, "trigger date"},
    {pStoreFolder, "store folder"},
};

template <std::size_t N> std::string lookUp(const std::pair<OSType, const char*> (&table)[N], OSType code) {
    for (const auto& [known, name] : table)
        if (known == code)
            return name;
    return platform::appleevents::osTypeString(code);
}

} // namespace

std::string Vocabulary::className(OSType code) {
    return lookUp(kClasses, code);
}

std::string Vocabulary::propertyName(OSType code) {
    return lookUp(kProperties, code);
}

} // namespace calendarapp
