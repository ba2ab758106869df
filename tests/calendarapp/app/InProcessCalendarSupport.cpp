#include "InProcessCalendarSupport.h"

#include "calendarapp/app/CanonicalReference.h"

namespace caltest {

using namespace calendarapp;

void InProcessCalendar::SetUp() {
    app_ = std::make_unique<CalendarApplication>(options());
    transport_.addApplication(kCalendarBundleIdentifier, app_->handler());
    installed_ = std::make_unique<platform::appleevents::ScopedAETransport>(transport_);
    ASSERT_TRUE(store().createCalendar("Work").ok());
    ASSERT_TRUE(store().createCalendar("Home").ok());
    struct Seed {
        const char* calendar;
        const char* summary;
        const char* url;
        int priority;
        std::optional<platform::Date> due, completed;
    };
    const Seed seeds[] = {
        {"Work", "Alpha", "message:///M/1.emlx", 1, platform::Date::fromUnix(1898593200.0), {}},
        {"Work", "Beta", "https://example.com/2", 5, {}, {}},
        {"Work", "Gamma", nullptr, 9, {}, {}},
        {"Home", "Delta", "message:///M/4.emlx", 0, {}, platform::Date::fromUnix(1709631000.0)},
    };
    for (const Seed& seed : seeds) {
        ToDoProperties properties;
        properties.summary = seed.summary;
        if (seed.url)
            properties.url = seed.url;
        properties.priority = seed.priority;
        properties.dueDate = seed.due;
        properties.completionDate = seed.completed;
        auto made = store().createToDo(seed.calendar, properties);
        ASSERT_TRUE(made.ok()) << made.error().message;
        uids_[seed.summary] = made.value().uid;
    }
}

AEDesc InProcessCalendar::toDo(const std::string& summary) const {
    const std::string calendar = summary == "Delta" ? "Home" : "Work";
    ObjectRef object = ObjectRef::forCalendar(calendar);
    object.kind = ObjectRef::Kind::ToDo;
    object.uid = uids_.at(summary);
    return CanonicalReference::of(object);
}

} // namespace caltest
