#pragma once

#include "calendarapp/app/ObjectResolver.h"
#include "calendarapp/app/PropertyReader.h"
#include "calendarapp/app/PropertyWriter.h"
#include "calendarapp/store/ToDoStore.h"

namespace calendarapp {

// What every event handler works with: the store and the three ways of looking at it.
// The application owns them; handlers borrow them for as long as they serve.
struct ScriptingContext {
    ToDoStore& store;
    const PropertyReader& reader;
    const ObjectResolver& resolver;
    PropertyWriter& writer;
};

} // namespace calendarapp
