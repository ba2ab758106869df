#include "mailhost/cli/TagCommands.h"

#include "mailhost/cli/Json.h"
#include "mailhost/cli/MessageListing.h"
#include "mailhost/cli/ValueOutput.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>
#include <optional>
#include <string_view>

namespace mailhost {

using platform::Dictionary;
using platform::Value;

namespace {

// The bundle's tag operations, the stable interface between host and bundle (the
// host never links the bundle). A call finds its method only when its argument
// types are exactly the registered ones, so every call below passes:
//   lumettaExtraData                       Object* -> std::optional<Dictionary>
//   lumettaSetExtraData:forKey:            Object*, Value, std::string
//   lumettaRemoveExtraDataForKey:          Object*, std::string
//   lumettaMetaDataDictionaryFromEmlxFile:forMessage: (class "Library")
//                                          std::string path, Message* -> std::optional<Dictionary>
constexpr const char* kExtraData = "lumettaExtraData";
constexpr const char* kSetExtraData = "lumettaSetExtraData:forKey:";
constexpr const char* kRemoveExtraData = "lumettaRemoveExtraDataForKey:";
constexpr const char* kFileTags = "lumettaMetaDataDictionaryFromEmlxFile:forMessage:";
constexpr std::string_view kTagPrefix = "lumetta";

bool isTagKey(std::string_view key) {
    return key.starts_with(kTagPrefix);
}

// One message the command works on, with what names it for the user.
struct Target {
    std::shared_ptr<Message> message;
    std::string label;               // the row number, or the loose file's path
    std::optional<std::int64_t> row; // only for library messages
    std::string path;                // where its file is
};

Target describe(std::shared_ptr<Message> message) {
    Target t;
    if (auto* stored = dynamic_cast<LibraryMessage*>(message.get())) {
        t.row = stored->libraryID();
        t.label = std::to_string(*t.row);
        t.path = Library::dataPathForMessage(stored);
    } else if (auto* loose = dynamic_cast<RecoveredMessage*>(message.get())) {
        t.label = loose->path().string();
        t.path = t.label;
    }
    t.message = std::move(message);
    return t;
}

bool bundleLoaded(const Target& t, std::ostream& err) {
    if (platform::runtime::respondsToSelector(t.message.get(), kExtraData))
        return true;
    err << "lumetta: tags need the Lumetta bundle, which is not loaded\n";
    return false;
}

Dictionary tagKeysOnly(const std::optional<Dictionary>& all) {
    Dictionary tags;
    if (all)
        for (const auto& [key, value] : all->entries())
            if (isTagKey(key))
                tags.set(key, value);
    return tags;
}

// The message's tag record, as the bundle keeps it in memory (loaded from the file
// on first use); nullopt when it has none (its file cannot be read).
std::optional<Dictionary> recordOf(const Target& t) {
    platform::runtime::Object* self = t.message.get();
    auto record = platform::runtime::send<std::optional<Dictionary>>(self, kExtraData);
    return record ? *record : std::nullopt;
}

// The keys the message file holds now, read from disk; nullopt when it holds no
// property list that can be read.
std::optional<Dictionary> fileKeysOf(const Target& t) {
    platform::runtime::Class* library = platform::runtime::Runtime::classNamed(Library::kClassName);
    if (!library)
        return std::nullopt;
    auto keys =
        platform::runtime::sendClass<std::optional<Dictionary>>(*library, kFileTags, t.path, t.message.get());
    return keys ? *keys : std::nullopt;
}

// Why the file of `t` cannot be read, when it cannot. A library message's file is
// looked for at the client's other places for it too; one found nowhere is left to
// the tag record to tell.
std::optional<std::string> unreadable(const Target& t) {
    std::vector<std::string> paths{t.path};
    if (t.row)
        for (int type = 1; type <= 2; ++type)
            paths.push_back(Library::dataPathForMessage(t.message.get(), type));
    for (const std::string& path : paths) {
        if (path.empty())
            continue;
        auto file = EmlxFile::read(path);
        if (file)
            return std::nullopt;
        if (file.error().code != ENOENT || !t.row)
            return file.error().message;
    }
    return std::nullopt;
}

void writeTags(Json& json, const Dictionary& tags) {
    json.beginObject();
    for (const auto& [key, value] : tags.entries())
        ValueOutput::writeJson(json.key(key), value);
    json.endObject();
}

void printTags(std::ostream& out, const Target& t, const Dictionary& record, const Dictionary& file) {
    out << t.label << "\n";
    if (record.empty())
        out << "  (no tags)\n";
    for (const auto& [key, value] : record.entries())
        out << "  " << key << " = " << ValueOutput::plain(value) << "\n";
    // The record is what the client shows; the file is what survives a restart or
    // a rebuild. Where they part, say how the file differs.
    for (const auto& [key, value] : record.entries())
        if (!file.contains(key))
            out << "  note: the file does not hold " << key << "\n";
        else if (!file.get(key).isEqual(value))
            out << "  note: the file holds " << key << " = " << ValueOutput::plain(file.get(key)) << "\n";
    for (const auto& [key, value] : file.entries())
        if (!record.contains(key))
            out << "  note: the file holds " << key << " = " << ValueOutput::plain(value) << "\n";
}

std::optional<int> digits(std::string_view text, std::size_t pos, std::size_t count) {
    if (pos + count > text.size())
        return std::nullopt;
    int n = 0;
    const char* first = text.data() + pos;
    const auto [end, ec] = std::from_chars(first, first + count, n);
    if (ec != std::errc() || end != first + count || *first == '-' || *first == '+')
        return std::nullopt;
    return n;
}

// YYYY-MM-DD, optionally followed by THH:MM[:SS] and then Z or an offset (+HH:MM,
// +HHMM, +HH). Without an offset the time is local, as a user typing a date means.
std::optional<platform::Date> parseDate(std::string_view text) {
    if (text.size() < 10 || text[4] != '-' || text[7] != '-')
        return std::nullopt;
    const auto year = digits(text, 0, 4), month = digits(text, 5, 2), day = digits(text, 8, 2);
    if (!year || !month || !day)
        return std::nullopt;
    const std::chrono::year_month_day ymd{std::chrono::year{*year}, std::chrono::month{unsigned(*month)},
                                          std::chrono::day{unsigned(*day)}};
    if (!ymd.ok())
        return std::nullopt;
    int hour = 0, minute = 0, second = 0;
    std::size_t pos = 10;
    if (pos < text.size()) {
        if (text[pos] != 'T' && text[pos] != ' ')
            return std::nullopt;
        const auto h = digits(text, pos + 1, 2), m = digits(text, pos + 4, 2);
        if (!h || !m || text[pos + 3] != ':')
            return std::nullopt;
        hour = *h;
        minute = *m;
        pos += 6;
        if (pos < text.size() && text[pos] == ':') {
            const auto s = digits(text, pos + 1, 2);
            if (!s)
                return std::nullopt;
            second = *s;
            pos += 3;
        }
        if (hour > 23 || minute > 59 || second > 59)
            return std::nullopt;
    }
    std::optional<int> offset; // seconds east of UTC; none means local time
    if (pos < text.size()) {
        if (pos == 10)
            return std::nullopt; // a zone needs a time of day
        const std::string_view zone = text.substr(pos);
        if (zone == "Z") {
            offset = 0;
        } else if (zone[0] == '+' || zone[0] == '-') {
            const auto h = digits(zone, 1, 2);
            std::optional<int> m = 0;
            if (zone.size() == 6 && zone[3] == ':')
                m = digits(zone, 4, 2);
            else if (zone.size() == 5)
                m = digits(zone, 3, 2);
            else if (zone.size() != 3)
                return std::nullopt;
            if (!h || !m || *h > 23 || *m > 59)
                return std::nullopt;
            offset = (zone[0] == '-' ? -1 : 1) * (*h * 3600 + *m * 60);
        } else {
            return std::nullopt;
        }
    }
    if (offset) {
        const auto days = std::chrono::sys_days(ymd).time_since_epoch().count();
        const double unix = static_cast<double>(days) * 86400 + hour * 3600 + minute * 60 + second - *offset;
        return platform::Date::fromUnix(unix);
    }
    std::tm tm{};
    tm.tm_year = *year - 1900;
    tm.tm_mon = *month - 1;
    tm.tm_mday = *day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = -1;
    const std::time_t local = std::mktime(&tm);
    if (local == static_cast<std::time_t>(-1))
        return std::nullopt;
    return platform::Date::fromUnix(static_cast<double>(local));
}

// The value `set` stores; nullopt (after saying why) when the text does not fit the type.
std::optional<Value> parseValue(const std::string& text, TagCommands::ValueType type, std::ostream& err) {
    switch (type) {
    case TagCommands::ValueType::Integer: {
        std::int64_t n = 0;
        const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
        if (ec != std::errc() || end != text.data() + text.size() || text.empty()) {
            err << "lumetta: \"" << text << "\" is not an integer\n";
            return std::nullopt;
        }
        return Value(n);
    }
    case TagCommands::ValueType::Date:
        if (auto date = parseDate(text))
            return Value(*date);
        err << "lumetta: \"" << text
            << "\" is not a date (use 2026-11-22, 2026-11-22T09:30:00Z or 2026-11-22T09:30:00+02:00)\n";
        return std::nullopt;
    case TagCommands::ValueType::Array: {
        platform::Array items;
        std::size_t start = 0;
        while (start <= text.size()) {
            const auto comma = std::min(text.find(',', start), text.size());
            std::string_view item = std::string_view(text).substr(start, comma - start);
            while (!item.empty() && item.front() == ' ')
                item.remove_prefix(1);
            while (!item.empty() && item.back() == ' ')
                item.remove_suffix(1);
            if (!item.empty())
                items.add(Value(item));
            start = comma + 1;
        }
        return Value(items);
    }
    case TagCommands::ValueType::String:
        break;
    }
    return Value(text);
}

bool checkKey(const std::string& key, std::ostream& err) {
    if (isTagKey(key))
        return true;
    err << "lumetta: \"" << key
        << "\" is not a tag key: tag keys begin with \"lumetta\" (e.g. lumettaProject)\n";
    return false;
}

// The one library message a change is made to; its status when there is none or it
// cannot take the change.
int changeTarget(const TagCommands::Context& c, const std::string& id, std::unique_ptr<Library>& library,
                 Target& target) {
    std::shared_ptr<Message> message;
    if (const int status = LibraryCommands::findMessage(c, id, library, message))
        return status;
    target = describe(std::move(message));
    if (!bundleLoaded(target, c.err))
        return 1;
    if (!target.row) {
        c.err << "lumetta: tags of a file outside the library are read-only here; import it first "
                 "(lumetta import "
              << target.label << ")\n";
        return 1;
    }
    return 0;
}

} // namespace

int TagCommands::show(const Context& c, const std::vector<std::string>& idsOrPaths) {
    // Every message is found before anything is printed: a wrong number gives an
    // error, not half a listing.
    std::unique_ptr<Library> library;
    std::vector<Target> targets;
    for (const auto& idOrPath : idsOrPaths) {
        std::shared_ptr<Message> message;
        if (const int status = LibraryCommands::findMessage(c, idOrPath, library, message))
            return status;
        targets.push_back(describe(std::move(message)));
        if (!bundleLoaded(targets.back(), c.err))
            return 1;
    }
    int status = 0;
    Json json;
    json.beginArray();
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const Target& t = targets[i];
        // A file that cannot be read has no tags to show, and "(no tags)" would say it has none.
        if (const auto why = unreadable(t)) {
            c.err << "lumetta: the file of " << t.label << " cannot be read: " << *why << "\n";
            status = 1;
            continue;
        }
        const auto record = recordOf(t);
        if (!record) {
            c.err << "lumetta: the file of " << t.label << " cannot be read for its tags\n";
            status = 1;
        }
        const Dictionary tags = tagKeysOnly(record);
        const Dictionary file = tagKeysOnly(fileKeysOf(t));
        if (c.json) {
            json.beginObject();
            if (t.row)
                json.key("id").value(*t.row);
            json.key("path").value(t.path);
            writeTags(json.key("tags"), tags);
            writeTags(json.key("file"), file);
            json.endObject();
        } else {
            if (i > 0)
                c.out << "\n";
            printTags(c.out, t, tags, file);
        }
    }
    if (c.json)
        c.out << json.endArray().str() << "\n";
    return status;
}

int TagCommands::set(const Context& c, const std::string& id, const std::string& key, const std::string& text,
                     ValueType type) {
    if (!checkKey(key, c.err))
        return 2;
    auto value = parseValue(text, type, c.err);
    if (!value)
        return 2;
    std::unique_ptr<Library> library;
    Target target;
    if (const int status = changeTarget(c, id, library, target))
        return status;
    platform::runtime::Object* self = target.message.get();
    if (!platform::runtime::sendVoid(self, kSetExtraData, *value, key)) {
        c.err << "lumetta: the Lumetta bundle loaded offers no " << kSetExtraData
              << " of the expected kind\n";
        return 1;
    }
    // The bundle saves through the host's write path, which only logs a failure:
    // the file itself tells whether the change landed.
    const auto file = fileKeysOf(target);
    if (!file || !file->get(key).isEqual(*value)) {
        c.err << "lumetta: " << key << " was set on " << target.label
              << " but its message file does not hold the new value (see the system log)\n";
        return 1;
    }
    c.out << "set " << key << " on " << target.label << "\n";
    return 0;
}

int TagCommands::remove(const Context& c, const std::string& id, const std::string& key) {
    if (!checkKey(key, c.err))
        return 2;
    std::unique_ptr<Library> library;
    Target target;
    if (const int status = changeTarget(c, id, library, target))
        return status;
    const auto record = recordOf(target);
    const auto before = fileKeysOf(target);
    if (!(record && record->contains(key)) && !(before && before->contains(key))) {
        c.err << "lumetta: message " << target.label << " has no tag " << key << "\n";
        return 1;
    }
    platform::runtime::Object* self = target.message.get();
    if (!platform::runtime::sendVoid(self, kRemoveExtraData, key)) {
        c.err << "lumetta: the Lumetta bundle loaded offers no " << kRemoveExtraData
              << " of the expected kind\n";
        return 1;
    }
    const auto file = fileKeysOf(target);
    if (!file || file->contains(key)) {
        c.err << "lumetta: " << key << " was removed from " << target.label
              << " but its message file still holds it (see the system log)\n";
        return 1;
    }
    c.out << "removed " << key << " from " << target.label << "\n";
    return 0;
}

} // namespace mailhost
