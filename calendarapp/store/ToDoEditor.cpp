#include "calendarapp/store/ToDoEditor.h"

#include "calendarapp/store/ICalTime.h"
#include "calendarapp/store/ToDoParser.h"
#include "calendarapp/store/ToDoPriority.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <memory>

namespace calendarapp {

namespace {

constexpr std::string_view kProductId = "-//Lumetta//lumetta-calendar//EN";

struct StringFree {
    void operator()(char* s) const { std::free(s); }
};

// One property as content lines, folded and escaped by libical; takes ownership.
std::string format(icalproperty* property) {
    std::unique_ptr<char, StringFree> text(icalproperty_as_ical_string_r(property));
    icalproperty_free(property);
    return text ? std::string(text.get()) : std::string();
}

std::string format(icalcomponent* component) {
    std::unique_ptr<char, StringFree> text(icalcomponent_as_ical_string_r(component));
    icalcomponent_free(component);
    return text ? std::string(text.get()) : std::string();
}

const char* nameOf(icalproperty_kind kind) {
    return icalproperty_kind_to_string(kind);
}

platform::Error invalid(std::string message) {
    return platform::makeError(std::move(message), EINVAL);
}

} // namespace

platform::Result<ToDoEditor> ToDoEditor::open(std::string_view bytes) {
    auto parsed = LUMETTA_TRY(ToDoParser::parse(bytes, platform::Date{}));
    auto lines = LUMETTA_TRY(ContentLines::parse(bytes));
    ToDoEditor editor(std::move(lines));
    editor.opened_ = editor.lines_.text();
    editor.uid_ = parsed.uid;
    editor.summary_ = parsed.summary.value_or("");
    return editor;
}

platform::Result<std::string> ToDoEditor::compose(std::string_view uid, const ToDoProperties& properties,
                                                  platform::Date now) {
    if (uid.empty() || uid.find('\0') != std::string_view::npos)
        return invalid("a to-do needs a UID");
    const std::string uidText(uid);
    std::string skeleton = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n";
    skeleton += format(icalproperty_new_prodid(std::string(kProductId).c_str()));
    skeleton += "BEGIN:VTODO\r\n";
    skeleton += format(icalproperty_new_uid(uidText.c_str()));
    skeleton += format(icalproperty_new_created(ICalTime::utc(now)));
    skeleton += "END:VTODO\r\nEND:VCALENDAR\r\n";
    ToDoEditor e = LUMETTA_TRY(open(skeleton));
    e.touch(now);
    e.lines_.replace("SEQUENCE", format(icalproperty_new_sequence(0)));
    e.lines_.replace("STATUS", format(icalproperty_new_status(ICAL_STATUS_NEEDSACTION)));
    platform::Result<void> set = e.setSummary(properties.summary);
    if (set)
        set = e.setDescription(properties.description);
    if (set)
        set = e.setUrl(properties.url);
    if (set)
        set = e.setDueDate(properties.dueDate);
    if (set)
        set = e.setPriority(properties.priority);
    if (set)
        set = e.setCompletionDate(properties.completionDate);
    if (!set)
        return set.error();
    return e.finish();
}

platform::Result<void> ToDoEditor::setText(int kind, const std::optional<std::string>& value) {
    const auto property = static_cast<icalproperty_kind>(kind);
    if (!value || value->empty()) {
        lines_.remove(nameOf(property));
        return {};
    }
    if (value->find('\0') != std::string::npos)
        return invalid(std::string("the ") + nameOf(property) + " text holds a NUL byte");
    switch (property) {
    case ICAL_SUMMARY_PROPERTY:
        lines_.replace("SUMMARY", format(icalproperty_new_summary(value->c_str())));
        summary_ = *value;
        break;
    case ICAL_DESCRIPTION_PROPERTY:
        lines_.replace("DESCRIPTION", format(icalproperty_new_description(value->c_str())));
        break;
    default:
        lines_.replace("URL", format(icalproperty_new_url(value->c_str())));
        break;
    }
    return {};
}

platform::Result<void> ToDoEditor::setSummary(const std::optional<std::string>& summary) {
    return setText(ICAL_SUMMARY_PROPERTY, summary);
}

platform::Result<void> ToDoEditor::setDescription(const std::optional<std::string>& description) {
    return setText(ICAL_DESCRIPTION_PROPERTY, description);
}

platform::Result<void> ToDoEditor::setUrl(const std::optional<std::string>& url) {
    // A URL is written as it is, not escaped like text: a line break in it would end the line.
    if (url)
        for (const char c : *url)
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
                return invalid("a URL cannot hold control characters");
    return setText(ICAL_URL_PROPERTY, url);
}

platform::Result<void> ToDoEditor::setDate(int kind, std::optional<platform::Date> value) {
    const auto property = static_cast<icalproperty_kind>(kind);
    if (!value) {
        lines_.remove(nameOf(property));
        return {};
    }
    if (!ICalTime::representable(*value))
        return invalid(std::string("the ") + nameOf(property) + " date lies outside the years 1900-9999");
    icalproperty* created = icalproperty_new(property);
    icalproperty_set_value(created, icalvalue_new_datetime(ICalTime::utc(*value)));
    lines_.replace(nameOf(property), format(created));
    return {};
}

platform::Result<void> ToDoEditor::setDueDate(std::optional<platform::Date> due) {
    return setDate(ICAL_DUE_PROPERTY, due);
}

platform::Result<void> ToDoEditor::setCompletionDate(std::optional<platform::Date> completed) {
    if (auto result = setDate(ICAL_COMPLETED_PROPERTY, completed); !result)
        return result;
    if (completed) {
        lines_.replace("STATUS", format(icalproperty_new_status(ICAL_STATUS_COMPLETED)));
        lines_.replace("PERCENT-COMPLETE", format(icalproperty_new_percentcomplete(100)));
        return {};
    }
    const auto status = lines_.value("STATUS");
    if (status && icalproperty_string_to_status(status->c_str()) == ICAL_STATUS_COMPLETED)
        lines_.replace("STATUS", format(icalproperty_new_status(ICAL_STATUS_NEEDSACTION)));
    if (lines_.value("PERCENT-COMPLETE") == "100")
        lines_.remove("PERCENT-COMPLETE");
    return {};
}

platform::Result<void> ToDoEditor::setPriority(int priority) {
    if (!ToDoPriority::isValid(priority))
        return invalid("a priority is a number from 0 to 9, not " + std::to_string(priority));
    const int kept = ToDoPriority::normalised(priority);
    if (kept == ToDoPriority::kNone)
        lines_.remove("PRIORITY");
    else
        lines_.replace("PRIORITY", format(icalproperty_new_priority(kept)));
    return {};
}

platform::Result<void> ToDoEditor::addDisplayAlarm(platform::Date trigger) {
    if (!ICalTime::representable(trigger))
        return invalid("the alarm date lies outside the years 1900-9999");
    icaltriggertype when = icaltriggertype_from_int(0);
    when.time = ICalTime::utc(trigger);
    icalcomponent* alarm = icalcomponent_new(ICAL_VALARM_COMPONENT);
    icalcomponent_add_property(alarm, icalproperty_new_action(ICAL_ACTION_DISPLAY));
    // A display alarm must say something; the to-do's title is what it reminds of.
    icalcomponent_add_property(
        alarm, icalproperty_new_description(summary_.empty() ? "Reminder" : summary_.c_str()));
    icalcomponent_add_property(alarm, icalproperty_new_trigger(when));
    lines_.appendComponent(format(alarm));
    return {};
}

platform::Result<void> ToDoEditor::moveDisplayAlarm(std::size_t index, platform::Date trigger) {
    if (!ICalTime::representable(trigger))
        return invalid("the alarm date lies outside the years 1900-9999");
    icaltriggertype when = icaltriggertype_from_int(0);
    when.time = ICalTime::utc(trigger);
    if (!lines_.replaceInDisplayAlarm(index, "TRIGGER", format(icalproperty_new_trigger(when))))
        return platform::makeError("the to-do has no display alarm " + std::to_string(index + 1), ENOENT);
    return {};
}

void ToDoEditor::touch(platform::Date now) {
    const auto stamp = ICalTime::utc(now);
    lines_.replace("LAST-MODIFIED", format(icalproperty_new_lastmodified(stamp)));
    lines_.replace("DTSTAMP", format(icalproperty_new_dtstamp(stamp)));
    int sequence = 0;
    if (const auto current = lines_.value("SEQUENCE")) {
        const char* begin = current->data();
        const auto [end, ec] = std::from_chars(begin, begin + current->size(), sequence);
        if (ec != std::errc() || sequence < 0)
            sequence = 0;
    }
    lines_.replace("SEQUENCE", format(icalproperty_new_sequence(sequence + 1)));
}

platform::Result<std::string> ToDoEditor::finish() const {
    std::string bytes = lines_.text();
    auto check = ToDoParser::parse(bytes, platform::Date{});
    if (!check || check.value().uid != uid_)
        return platform::makeError("the changed to-do would not read back (" +
                                       (check ? "its UID changed" : check.error().message) + ")",
                                   EIO);
    return bytes;
}

} // namespace calendarapp
