#include "calendarapp/app/PropertyWriter.h"

#include "calendarapp/app/DescValues.h"
#include "calendarapp/app/PropertyReader.h"
#include "calendarapp/app/StoreStatus.h"
#include "calendarapp/app/Vocabulary.h"

#include <algorithm>

namespace calendarapp {

using namespace platform::appleevents;
using platform::Result;
using Kind = ObjectRef::Kind;

namespace {

platform::Error cannotSet(const ObjectRef& object, OSType property, const std::string& why, OSStatus status) {
    return platform::makeError("Can't set " + Vocabulary::propertyName(property) + " of " +
                                   object.description() + ": " + why + ".",
                               status);
}

Result<void> stored(const Result<ToDo>& written) {
    if (!written)
        return StoreStatus::toEventError(written.error());
    return {};
}

} // namespace

Result<void> PropertyWriter::set(const ObjectRef& object, OSType property, const AEDesc& value) {
    const auto& known = PropertyReader::propertiesOf(object.kind);
    if (std::find(known.begin(), known.end(), property) == known.end())
        return cannotSet(object, property, "it has no such property", errAENoSuchObject);
    if (object.kind == Kind::ToDo)
        return setToDo(object, property, value);
    if (object.kind != Kind::DisplayAlarm || property != pTriggerDate)
        return cannotSet(object, property, "it is read-only", errAENotModifiable);
    auto date = LUMETTA_TRY(DescValues::date(value));
    if (!date)
        return cannotSet(object, property, "an alarm needs a date", errAECoercionFail);
    return stored(store_.moveDisplayAlarm(object.uid, object.alarmIndex, *date));
}

Result<void> PropertyWriter::setToDo(const ObjectRef& object, OSType property, const AEDesc& value) {
    switch (property) {
    case pSummary:
    case pNotes:
    case pUrl: {
        auto text = LUMETTA_TRY(DescValues::text(value));
        if (property == pSummary)
            return stored(store_.setSummary(object.uid, text));
        if (property == pNotes)
            return stored(store_.setDescription(object.uid, text));
        return stored(store_.setUrl(object.uid, text));
    }
    case pDueDate:
    case pCompletionDate: {
        auto date = LUMETTA_TRY(DescValues::date(value));
        return stored(property == pDueDate ? store_.setDueDate(object.uid, date)
                                           : store_.setCompletionDate(object.uid, date));
    }
    case pPriority: {
        auto priority = LUMETTA_TRY(DescValues::priority(value));
        return stored(store_.setPriority(object.uid, priority));
    }
    default:
        return cannotSet(object, property, "it is read-only", errAENotModifiable);
    }
}

} // namespace calendarapp
