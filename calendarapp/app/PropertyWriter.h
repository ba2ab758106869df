#pragma once

#include "calendarapp/app/ObjectRef.h"
#include "calendarapp/store/ToDoStore.h"
#include "platform/appleevents/AEDesc.h"
#include "platform/foundation/Result.h"

namespace calendarapp {

// Changes one property of a calendar object in the store, from the value a client sent.
//
//   to-do          'wr11' summary, 'wr12' description, 'wr16' url (text; 'null' or empty
//                  text clears), 'wrt3' due date, 'wrt1' completion date ('ldt '; 'null'
//                  clears; a completion date marks the to-do completed), 'wrt5' priority
//                  (an enumerator 'tdp1'/'tdp5'/'tdp9'/'tdp0')
//   display alarm  'wale' trigger date ('ldt ')
//
// Other properties the object has are read-only (errAENotModifiable); ones it does not
// have are errAENoSuchObject; a value of the wrong kind is errAECoercionFail; the store's
// own failures (a read-only folder is errAEWriteDenied) as StoreStatus gives them.
class PropertyWriter {
public:
    explicit PropertyWriter(ToDoStore& store) : store_(store) {}

    platform::Result<void> set(const ObjectRef& object, OSType property,
                               const platform::appleevents::AEDesc& value);

private:
    platform::Result<void> setToDo(const ObjectRef& object, OSType property,
                                   const platform::appleevents::AEDesc& value);

    ToDoStore& store_;
};

} // namespace calendarapp
