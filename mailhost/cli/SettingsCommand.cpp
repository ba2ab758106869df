#include "mailhost/cli/SettingsCommand.h"

#include "mailhost/cli/Json.h"
#include "mailhost/cli/PreferencesPane.h"
#include "mailhost/viewer/Control.h"
#include "platform/foundation/UserDefaults.h"

#include <cctype>
#include <charconv>
#include <ctime>
#include <optional>

namespace mailhost {

using platform::UserDefaults;
using platform::Value;

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

std::string lower(std::string text) {
    for (char& ch : text)
        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return text;
}

std::optional<bool> yesNo(const std::string& text) {
    const std::string t = lower(text);
    if (t == "yes" || t == "true" || t == "on" || t == "1")
        return true;
    if (t == "no" || t == "false" || t == "off" || t == "0")
        return false;
    return std::nullopt;
}

std::optional<long long> integer(const std::string& text) {
    long long n = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (ec != std::errc() || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return n;
}

// "7:05" or "07:05" as a time on the reference day, local time.
std::optional<platform::Date> timeOfDay(const std::string& text) {
    const auto colon = text.find(':');
    if (colon == std::string::npos)
        return std::nullopt;
    auto hour = integer(text.substr(0, colon));
    auto minute = integer(text.substr(colon + 1));
    if (!hour || !minute || *hour < 0 || *hour > 23 || *minute < 0 || *minute > 59 ||
        text.size() - colon != 3)
        return std::nullopt;
    std::tm local{};
    local.tm_year = 101;
    local.tm_mday = 1;
    local.tm_hour = static_cast<int>(*hour);
    local.tm_min = static_cast<int>(*minute);
    local.tm_isdst = -1;
    return platform::Date::fromUnix(static_cast<double>(std::mktime(&local)));
}

std::string shown(const SettingsCommand::Setting& s, const Value& v) {
    const std::string kind = s.kind;
    if (v.isNull())
        return "(not set)";
    if (kind == "bool" || kind == "setAlarmWithDueDate:")
        return v.boolValue() ? "yes" : "no";
    if (kind == "selectCalendarWhenNoProject:" && v.stringValue().empty())
        return "none";
    if (kind == "setShowTagsOption:" || kind == "setHideTagsOption:")
        return v.stringValue() == "Manually" ? "manually" : "automatically";
    return v.stringValue();
}

const SettingsCommand::Setting* find(const std::string& name) {
    for (const auto& s : SettingsCommand::settings())
        if (name == s.name || name == s.key)
            return &s;
    return nullptr;
}

int change(const SettingsCommand::Context& c, const SettingsCommand::Setting& s, const std::string& text) {
    const std::string kind = s.kind;
    UserDefaults& defaults = UserDefaults::standard();
    auto bad = [&](const char* accepted) {
        c.err << "lumetta settings: " << s.name << " \"" << text << "\": give " << accepted << "\n";
        return kUsage;
    };
    if (kind == "bool") {
        auto b = yesNo(text);
        if (!b)
            return bad("yes or no");
        defaults.setObject(*b, s.key);
        return 0;
    }
    if (kind == "int") {
        auto n = integer(text);
        if (!n)
            return bad("a whole number");
        defaults.setObject(*n, s.key);
        return 0;
    }
    if (kind == "string") {
        defaults.setObject(text, s.key);
        return 0;
    }
    // The pane writes the rest itself: set its control as a click would, then its action.
    std::shared_ptr<Control> sender;
    if (kind == "setAlarmTime:") {
        auto time = timeOfDay(text);
        if (!time)
            return bad("a time of day as H:MM, e.g. 7:05");
        sender = Control::make(Control::Kind::DatePicker, "alarmTimePicker");
        sender->setDateValue(*time);
    } else if (kind == "setAlarmWithDueDate:") {
        auto b = yesNo(text);
        if (!b)
            return bad("yes or no");
        sender = Control::make(Control::Kind::Button, "alarmWithDueDateSwitch");
        sender->setState(*b ? 1 : 0);
    } else if (kind == "setShowTagsOption:" || kind == "setHideTagsOption:") {
        const std::string t = lower(text);
        if (t != "manually" && t != "automatically")
            return bad("manually or automatically");
        sender = Control::make(Control::Kind::PopUpButton);
        sender->selectItemWithTag(t == "manually" ? 0 : 1);
    } else {
        sender = Control::make(Control::Kind::Matrix);
        const bool none = text.empty() || lower(text) == "none";
        sender->selectItemWithTag(none ? 0 : 1);
    }
    auto pane = PreferencesPane::open(c.err);
    if (!pane)
        return kFailed;
    if (kind == "selectCalendarWhenNoProject:")
        if (Control* field = pane->control("fieldCalendarWhenNoProject"))
            field->setStringValue(text);
    if (!pane->send(kind, sender.get())) {
        c.err << "lumetta settings: the Lumetta preferences pane cannot change " << s.name << "\n";
        return kFailed;
    }
    return 0;
}

} // namespace

const std::vector<SettingsCommand::Setting>& SettingsCommand::settings() {
    static const std::vector<Setting> all = {
        {"default-calendar", "lumettaDefaultCalendar", "selectCalendarWhenNoProject:",
         "calendar for to-dos of messages without a project; none: no to-dos for them"},
        {"alarm-time", "lumettaAlarmTime", "setAlarmTime:", "time of the alarm on a due date, H:MM"},
        {"alarm-with-due-date", "lumettaSetAlarmWithDueDate",
         "setAlarmWithDueDate:", "give to-dos with a due date an alarm: yes or no"},
        {"show-tags-panel", "lumettaShowTagsPanel",
         "setShowTagsOption:", "the tag panel opens automatically or manually"},
        {"hide-tags-panel", "lumettaHideTagsPanel",
         "setHideTagsOption:", "the tag panel closes automatically or manually"},
        {"default-due-date-offset", "lumettaDefaultDueDateOffset", "int",
         "days from today of a new due date"},
        {"note-date-format", "lumettaDateFormatForNote", "string",
         "how $date in notes is written, e.g. %m/%d/%Y"},
        {"copy-keywords-in-reply", "lumettaCopyKeywordsInReply", "bool",
         "replies take the keywords: yes or no"},
        {"show-panel-when-composing", "lumettaShowPanelWhenComposing", "bool",
         "the tag panel shows beside new messages: yes or no"},
        {"conversation-search", "lumettaConversationSearch", "bool",
         "search finds whole conversations: yes or no"},
        {"open-calendar-at-launch", "lumettaOpenICalAtLaunch", "bool",
         "start the calendar with the mail client"},
        {"calendar-refresh-frequency", "lumettaICalRefreshFrequency", "int",
         "to-do refreshes per ten minutes (0 counts as 1)"},
        {"uncheck-due-date-when-complete", "lumettaUncheckDueDateWhenComplete", "bool",
         "a completed to-do switches its message's due date off"},
        {"open-calendar-to-refresh", "lumettaOpenICalToRefresh", "bool",
         "start the calendar to refresh to-dos"},
        {"refresh-from-calendar", "lumettaRefreshFromICal", "bool", "take to-do changes from the calendar"},
        {"show-tag-icon", "lumettaShowTagIcon", "bool", "mark tagged messages in the message list"},
    };
    return all;
}

std::string SettingsCommand::help() {
    std::string out = "\nSettings:\n";
    for (const auto& s : settings()) {
        std::string name = s.name;
        name.resize(32, ' ');
        out += "  " + name + s.help + "\n";
    }
    return out +
           "\nExamples:\n  lumetta settings alarm-time 7:05\n  lumetta settings show-tags-panel manually\n"
           "  lumetta settings default-calendar none\n";
}

int SettingsCommand::run(const Context& c, const std::string& name, const std::vector<std::string>& value) {
    const UserDefaults& defaults = UserDefaults::standard();
    if (name.empty()) {
        if (c.json) {
            Json json;
            json.beginObject();
            for (const auto& s : settings())
                json.key(s.name).value(shown(s, defaults.valueForKey(s.key)));
            c.out << json.endObject().str() << "\n";
            return 0;
        }
        for (const auto& s : settings())
            c.out << s.name << " = " << shown(s, defaults.valueForKey(s.key)) << "\n";
        return 0;
    }
    const Setting* setting = find(name);
    if (!setting) {
        c.err << "lumetta settings: no setting named \"" << name << "\" (see 'lumetta settings --help')\n";
        return kUsage;
    }
    if (value.empty()) {
        c.out << shown(*setting, defaults.valueForKey(setting->key)) << "\n";
        return 0;
    }
    if (value.size() > 1) {
        c.err << "lumetta settings: one value only (quote a value with spaces)\n";
        return kUsage;
    }
    if (int status = change(c, *setting, value.front()); status != 0)
        return status;
    c.out << setting->name << " = " << shown(*setting, defaults.valueForKey(setting->key)) << "\n";
    return 0;
}

} // namespace mailhost
