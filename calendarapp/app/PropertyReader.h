#pragma once

#include "calendarapp/app/ObjectRef.h"
#include "calendarapp/app/PropertyValue.h"
#include "calendarapp/store/ToDoStore.h"
#include "platform/appleevents/AEDesc.h"
#include "platform/foundation/Result.h"

#include <memory>
#include <vector>

namespace calendarapp {

// Reads the properties of calendar objects from the store.
//
//   application   'pnam' name, 'pcls' class, 'LmSF' the store's folder
//   calendar      'pnam', 'pcls'
//   to-do         'pcls', 'wr10' uid, 'wr11' summary, 'wr12' description, 'wr16' url,
//                 'wrt3' due date, 'wrt1' completion date, 'wrt5' priority (an enumerator),
//                 'wr4s' stamp (the later of LAST-MODIFIED and the file's time)
//   display alarm 'pcls', 'wale' trigger date
//
// A property without a value reads as missing value; 'pALL' is a record of all of them.
// A property the object does not have, and an object that is no longer in the store,
// fail with errAENoSuchObject; a due date the item file holds in a form that cannot be
// read fails with errAEEventFailed, and so does 'pALL' of that to-do.
class PropertyReader {
public:
    explicit PropertyReader(const ToDoStore& store) : store_(store) {}

    platform::Result<PropertyValue> value(const ObjectRef& object, OSType property) const;
    platform::Result<platform::appleevents::AEDesc> descriptor(const ObjectRef& object,
                                                               OSType property) const;

    // The to-do an object belongs to: the snapshot it was found with, else read now.
    platform::Result<std::shared_ptr<const ToDo>> toDoOf(const ObjectRef& object) const;

    static const std::vector<OSType>& propertiesOf(ObjectRef::Kind kind);

private:
    platform::Result<PropertyValue> toDoValue(const ObjectRef& object, OSType property) const;

    const ToDoStore& store_;
};

} // namespace calendarapp
