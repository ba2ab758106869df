#include "calendarapp/app/PropertyReader.h"

#include "calendarapp/app/DescValues.h"
#include "calendarapp/app/StoreStatus.h"
#include "calendarapp/app/Vocabulary.h"

#include <algorithm>

namespace calendarapp {

using namespace platform::appleevents;
using platform::Result;

namespace {

using Kind = ObjectRef::Kind;

PropertyValue textOrMissing(const std::optional<std::string>& text) {
    return text && !text->empty() ? PropertyValue::text(*text) : PropertyValue::missing();
}

PropertyValue dateOrMissing(const std::optional<platform::Date>& date) {
    return date ? PropertyValue::date(*date) : PropertyValue::missing();
}

platform::Error noSuchProperty(const ObjectRef& object, OSType property) {
    return platform::makeError("Can't get " + Vocabulary::propertyName(property) + " of " +
                                   object.description() + ".",
                               errAENoSuchObject);
}

} // namespace

const std::vector<OSType>& PropertyReader::propertiesOf(Kind kind) {
    static const std::vector<OSType> application = {pClass, pName, pStoreFolder};
    static const std::vector<OSType> calendar = {pClass, pName};
    static const std::vector<OSType> toDo = {pClass,          pUid,     pSummary,  pNotes, pUrl,
                                             pCompletionDate, pDueDate, pPriority, pStamp};
    static const std::vector<OSType> alarm = {pClass, pTriggerDate};
    switch (kind) {
    case Kind::Application:
        return application;
    case Kind::Calendar:
        return calendar;
    case Kind::ToDo:
        return toDo;
    case Kind::DisplayAlarm:
        return alarm;
    }
    return application;
}

Result<std::shared_ptr<const ToDo>> PropertyReader::toDoOf(const ObjectRef& object) const {
    if (object.toDo)
        return object.toDo;
    auto found = store_.findToDo(object.uid);
    if (!found)
        return StoreStatus::toEventError(found.error());
    return std::shared_ptr<const ToDo>(std::make_shared<ToDo>(std::move(found.value())));
}

Result<PropertyValue> PropertyReader::value(const ObjectRef& object, OSType property) const {
    const auto& known = propertiesOf(object.kind);
    if (std::find(known.begin(), known.end(), property) == known.end())
        return noSuchProperty(object, property);
    if (property == pClass)
        return PropertyValue::typeCode(object.classCode());
    switch (object.kind) {
    case Kind::Application:
        if (property == pStoreFolder)
            return PropertyValue::text(store_.root().string());
        return PropertyValue::text("Calendar");
    case Kind::Calendar:
        return PropertyValue::text(object.calendar);
    case Kind::ToDo:
    case Kind::DisplayAlarm:
        return toDoValue(object, property);
    }
    return noSuchProperty(object, property);
}

Result<PropertyValue> PropertyReader::toDoValue(const ObjectRef& object, OSType property) const {
    auto snapshot = LUMETTA_TRY(toDoOf(object));
    const ToDo& toDo = *snapshot;
    if (object.kind == Kind::DisplayAlarm) {
        if (object.alarmIndex >= toDo.displayAlarms.size())
            return platform::makeError("Can't get " + object.description() + ".", errAENoSuchObject);
        return dateOrMissing(toDo.displayAlarms[object.alarmIndex]);
    }
    switch (property) {
    case pUid:
        return PropertyValue::text(toDo.uid);
    case pSummary:
        return textOrMissing(toDo.summary);
    case pNotes:
        return textOrMissing(toDo.description);
    case pUrl:
        return textOrMissing(toDo.url);
    case pCompletionDate:
        return dateOrMissing(toDo.completionDate);
    case pDueDate:
        // A DUE that cannot be read is no "missing value": a client would take that for a
        // to-do without a due date and clear or keep its own copy on a false premise.
        if (toDo.dueDateProblem)
            return platform::makeError("Can't get due date of " + object.description() + ": " +
                                           toDo.file.string() + ": " + *toDo.dueDateProblem + ".",
                                       errAEEventFailed);
        return dateOrMissing(toDo.dueDate);
    case pPriority:
        return PropertyValue::enumeration(DescValues::priorityCode(toDo.priority));
    case pStamp:
        return PropertyValue::date(toDo.stamp);
    default:
        return noSuchProperty(object, property);
    }
}

Result<AEDesc> PropertyReader::descriptor(const ObjectRef& object, OSType property) const {
    if (property != pAllProperties) {
        auto single = LUMETTA_TRY(value(object, property));
        return single.descriptor();
    }
    // One read of the to-do serves every property of the record.
    ObjectRef pinned = object;
    if (object.kind == Kind::ToDo || object.kind == Kind::DisplayAlarm) {
        pinned.toDo = LUMETTA_TRY(toDoOf(object));
    }
    AEDesc record = AEDesc::record();
    for (OSType code : propertiesOf(object.kind)) {
        auto single = LUMETTA_TRY(value(pinned, code));
        record.setParam(code, single.descriptor());
    }
    return record;
}

} // namespace calendarapp
