#include "calendarapp/store/ToDoParser.h"

#include "calendarapp/store/ICalTime.h"
#include "calendarapp/store/ToDoPriority.h"

#include <memory>
#include <string>

namespace calendarapp {

namespace {

struct ComponentFree {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};

std::optional<std::string> text(const char* value) {
    if (value == nullptr || *value == '\0')
        return std::nullopt;
    return std::string(value);
}

// The first VTODO that is not an override of one occurrence of a repeating to-do.
icalcomponent* masterToDo(icalcomponent* calendar) {
    for (icalcomponent* c = icalcomponent_get_first_component(calendar, ICAL_VTODO_COMPONENT); c != nullptr;
         c = icalcomponent_get_next_component(calendar, ICAL_VTODO_COMPONENT))
        if (icalcomponent_get_first_property(c, ICAL_RECURRENCEID_PROPERTY) == nullptr)
            return c;
    return nullptr;
}

std::optional<platform::Date> timeOf(icalcomponent* toDo, icalproperty_kind kind) {
    icalproperty* property = icalcomponent_get_first_property(toDo, kind);
    if (property == nullptr)
        return std::nullopt;
    return ICalTime::toDate(icalproperty_get_datetime_with_component(property, toDo));
}

std::optional<platform::Date> triggerDate(icalcomponent* toDo, icalproperty* trigger) {
    const icaltriggertype value = icalproperty_get_trigger(trigger);
    if (!icaltime_is_null_time(value.time))
        return ICalTime::toDate(value.time);
    icalparameter* related = icalproperty_get_first_parameter(trigger, ICAL_RELATED_PARAMETER);
    const bool fromEnd = related != nullptr && icalparameter_get_related(related) == ICAL_RELATED_END;
    const auto base = fromEnd ? timeOf(toDo, ICAL_DUE_PROPERTY) : timeOf(toDo, ICAL_DTSTART_PROPERTY);
    if (!base)
        return std::nullopt;
    return base->addingSeconds(icaldurationtype_as_int(value.duration));
}

std::vector<std::optional<platform::Date>> displayAlarms(icalcomponent* toDo) {
    std::vector<std::optional<platform::Date>> alarms;
    for (icalcomponent* alarm = icalcomponent_get_first_component(toDo, ICAL_VALARM_COMPONENT);
         alarm != nullptr; alarm = icalcomponent_get_next_component(toDo, ICAL_VALARM_COMPONENT)) {
        icalproperty* action = icalcomponent_get_first_property(alarm, ICAL_ACTION_PROPERTY);
        if (action == nullptr || icalproperty_get_action(action) != ICAL_ACTION_DISPLAY)
            continue;
        icalproperty* trigger = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY);
        alarms.push_back(trigger != nullptr ? triggerDate(toDo, trigger) : std::nullopt);
    }
    return alarms;
}

} // namespace

platform::Result<ToDo> ToDoParser::parse(std::string_view bytes, platform::Date fileModified) {
    // libical reads C strings: a NUL byte would silently end the file early.
    if (bytes.find('\0') != std::string_view::npos)
        return platform::makeError("not an iCalendar object: it holds NUL bytes");
    const std::string terminated(bytes);
    std::unique_ptr<icalcomponent, ComponentFree> root(icalparser_parse_string(terminated.c_str()));
    if (!root)
        return platform::makeError("not an iCalendar object (no complete BEGIN:VCALENDAR ... END:VCALENDAR)");
    if (icalcomponent_isa(root.get()) == ICAL_XROOT_COMPONENT)
        return platform::makeError("more than one calendar object in one item");
    if (icalcomponent_isa(root.get()) != ICAL_VCALENDAR_COMPONENT)
        return platform::makeError("not an iCalendar object (the outer component is not VCALENDAR)");
    icalcomponent* toDo = masterToDo(root.get());
    if (toDo == nullptr)
        return platform::makeError("the calendar object holds no to-do (VTODO)");

    ToDo result;
    const auto uid = text(icalcomponent_get_uid(toDo));
    if (!uid)
        return platform::makeError("the to-do has no UID");
    result.uid = *uid;
    result.summary = text(icalcomponent_get_summary(toDo));
    result.description = text(icalcomponent_get_description(toDo));
    if (icalproperty* url = icalcomponent_get_first_property(toDo, ICAL_URL_PROPERTY))
        result.url = text(icalproperty_get_url(url));
    if (icalcomponent_get_first_property(toDo, ICAL_DUE_PROPERTY) != nullptr)
        result.dueDate = ICalTime::toDate(icalcomponent_get_due(toDo));
    if (icalproperty* priority = icalcomponent_get_first_property(toDo, ICAL_PRIORITY_PROPERTY))
        result.priority = ToDoPriority::normalised(icalproperty_get_priority(priority));

    const auto lastModified = timeOf(toDo, ICAL_LASTMODIFIED_PROPERTY);
    result.stamp = lastModified && *lastModified > fileModified ? *lastModified : fileModified;

    result.completionDate = timeOf(toDo, ICAL_COMPLETED_PROPERTY);
    if (!result.completionDate && icalcomponent_get_status(toDo) == ICAL_STATUS_COMPLETED)
        result.completionDate = lastModified ? lastModified : fileModified;

    result.displayAlarms = displayAlarms(toDo);
    return result;
}

} // namespace calendarapp
