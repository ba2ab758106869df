#include "calendarapp/store/ToDoParser.h"

#include "calendarapp/store/ICalTime.h"
#include "calendarapp/store/ToDoPriority.h"

#include <cctype>
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

// Whether the last line that is not blank closes the calendar object. libical forgives
// a file cut off inside its last line, but vdir items are replaced whole, so a file
// that stops short was damaged and its to-do may have lost properties.
bool endsTheCalendar(std::string_view bytes) {
    while (!bytes.empty() &&
           (bytes.back() == '\n' || bytes.back() == '\r' || bytes.back() == ' ' || bytes.back() == '\t'))
        bytes.remove_suffix(1);
    constexpr std::string_view kEnd = "END:VCALENDAR";
    if (bytes.size() < kEnd.size())
        return false;
    const std::string_view last = bytes.substr(bytes.size() - kEnd.size());
    for (std::size_t i = 0; i < kEnd.size(); ++i)
        if (std::toupper(static_cast<unsigned char>(last[i])) != kEnd[i])
            return false;
    return bytes.size() == kEnd.size() || bytes[bytes.size() - kEnd.size() - 1] == '\n';
}

// Why the to-do's DUE is there but cannot be read, or nothing. libical keeps a value
// whose digits name no real day (it would roll over into another one) and drops one that
// is no date at all, leaving an X-LIC-ERROR that names the property in its text.
std::optional<std::string> dueDateProblem(icalcomponent* toDo, const std::optional<platform::Date>& read) {
    if (icalproperty* due = icalcomponent_get_first_property(toDo, ICAL_DUE_PROPERTY)) {
        if (read)
            return std::nullopt;
        const char* value = icalproperty_get_value_as_string(due);
        return "DUE \"" + std::string(value != nullptr ? value : "") + "\" is not a day and time that exist";
    }
    for (icalproperty* error = icalcomponent_get_first_property(toDo, ICAL_XLICERROR_PROPERTY);
         error != nullptr; error = icalcomponent_get_next_property(toDo, ICAL_XLICERROR_PROPERTY)) {
        const char* text = icalproperty_get_xlicerror(error);
        if (text != nullptr && std::string_view(text).find(" DUE property") != std::string_view::npos)
            return "DUE cannot be read (" + std::string(text) + ")";
    }
    return std::nullopt;
}

} // namespace

platform::Result<ToDo> ToDoParser::parse(std::string_view bytes, platform::Date fileModified) {
    // libical reads C strings: a NUL byte would silently end the file early.
    if (bytes.find('\0') != std::string_view::npos)
        return platform::makeError("not an iCalendar object: it holds NUL bytes");
    if (bytes.find_first_not_of(" \t\r\n") == std::string_view::npos)
        return platform::makeError("not an iCalendar object: the file is empty");
    if (!endsTheCalendar(bytes))
        return platform::makeError("not an iCalendar object: it ends before END:VCALENDAR (cut short?)");
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
    result.dueDateProblem = dueDateProblem(toDo, result.dueDate);
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
