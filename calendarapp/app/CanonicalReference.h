#pragma once

#include "calendarapp/app/ObjectRef.h"
#include "platform/appleevents/AEDesc.h"

namespace calendarapp {

// The object specifier this application hands out for an object, and resolves again in
// later events for as long as the object exists — however many to-dos are added or
// removed meanwhile, since nothing in it counts positions among to-dos:
//
//   calendar       form 'name', seld its name, from null
//   to-do          form 'ID  ', seld its UID ('utf8'), from its calendar
//   display alarm  form 'indx', seld 'long' position, from its to-do
class CanonicalReference {
public:
    static platform::appleevents::AEDesc of(const ObjectRef& object);
};

} // namespace calendarapp
