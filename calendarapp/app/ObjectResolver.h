#pragma once

#include "calendarapp/app/ObjectRef.h"
#include "calendarapp/app/PropertyReader.h"
#include "calendarapp/store/ToDoStore.h"
#include "platform/appleevents/AEDesc.h"
#include "platform/foundation/Result.h"

#include <cstddef>
#include <vector>

namespace calendarapp {

class TestClause;

// Finds the objects an object specifier names, reading the store as it is now.
//
//   'obj '{'want': class, 'form': form, 'seld': key, 'from': container}, the container
//   being another specifier or null for the application.
//
//   'prop'  a property of the container's objects ('seld': its code)
//   'indx'  'abso' 'all ' every element of the class; 'abso' 'firs'/'last'; 'long' N the
//           Nth (1-based, negative from the end). Indexing a plural container ("every
//           display alarm of ...") picks from that list itself, as "item 1 of" does
//   'name'  a calendar by name ('TEXT', Mac OS Roman)
//   'ID  '  a to-do by UID ('utf8' or 'TEXT' holding UTF-8), in the calendars named
//   'test'  the elements that pass a TestClause
//
// The containment is application > calendars ('wres') > to-dos ('wret') > display alarms
// ('wal1'); 'cobj' means any element. Failures carry the status a scripting client
// expects: errAENotAnObjSpec for something that is no specifier, errAEBadKeyForm for a
// form this calendar does not offer for the class, errAENoSuchObject for an object that
// is not there, errAEIllegalIndex for an index out of range, errAEBadTestKey for a
// malformed test, and the store's own failures as StoreStatus gives them.
class ObjectResolver {
public:
    ObjectResolver(const ToDoStore& store, const PropertyReader& reader) : store_(store), reader_(reader) {}

    platform::Result<Resolution> resolve(const platform::appleevents::AEDesc& specifier) const;

    // Every element of class `want` (or 'cobj') of one object.
    platform::Result<std::vector<ObjectRef>> elements(const ObjectRef& container, OSType want) const;

private:
    using AEDesc = platform::appleevents::AEDesc;

    platform::Result<Resolution> resolveAt(const AEDesc& specifier, std::size_t depth) const;
    platform::Result<std::vector<ObjectRef>> elementsOfAll(const Resolution& container, OSType want) const;
    platform::Result<Resolution> byIndex(const Resolution& container, OSType want, const AEDesc& seld) const;
    platform::Result<Resolution> byName(const Resolution& container, OSType want, const AEDesc& seld) const;
    platform::Result<Resolution> byUid(const Resolution& container, OSType want, const AEDesc& seld) const;
    platform::Result<Resolution> byTest(const Resolution& container, OSType want, const AEDesc& seld) const;
    // The to-dos of `calendars` that can pass `test`, narrowed by what the test demands.
    platform::Result<std::vector<ObjectRef>> toDoCandidates(const Resolution& calendars,
                                                            const TestClause& test) const;

    const ToDoStore& store_;
    const PropertyReader& reader_;
};

} // namespace calendarapp
