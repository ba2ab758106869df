#include "mailhost/cli/ListCommands.h"

#include "mailhost/cli/Json.h"
#include "platform/foundation/Value.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>

namespace mailhost {

using platform::Array;
using platform::Value;

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

const char* noun(ListCommands::List which) {
    return which == ListCommands::List::Keywords ? "keyword" : "project";
}

std::string titleOf(const Value& entry) {
    const platform::Dictionary* fields = entry.dictionary();
    return fields ? fields->get("title").stringValue() : std::string();
}

std::optional<std::size_t> position(const std::string& text) {
    std::size_t n = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (ec != std::errc() || end != text.data() + text.size() || n == 0)
        return std::nullopt;
    return n;
}

// The 0-based index of the entry an argument names: its title, else its position.
std::optional<std::size_t> entryIndex(const Array& entries, const std::string& text) {
    for (std::size_t i = 0; i < entries.count(); ++i)
        if (titleOf(entries.at(i)) == text)
            return i;
    auto n = position(text);
    if (n && *n <= entries.count())
        return *n - 1;
    return std::nullopt;
}

void print(const ListCommands::Context& c, const Array& entries) {
    if (c.json) {
        Json json;
        json.beginArray();
        for (const Value& entry : entries.items())
            json.value(titleOf(entry));
        c.out << json.endArray().str() << "\n";
        return;
    }
    for (std::size_t i = 0; i < entries.count(); ++i) {
        const std::string title = titleOf(entries.at(i));
        c.out << i + 1 << "\t" << (title == "-" ? "-  (separator)" : title) << "\n";
    }
}

} // namespace

int ListCommands::list(const Context& c, List which) {
    auto pane = PreferencesPane::open(c.err);
    if (!pane)
        return kFailed;
    print(c, pane->entries(which));
    return 0;
}

int ListCommands::add(const Context& c, List which, const std::vector<std::string>& titles) {
    auto pane = PreferencesPane::open(c.err);
    if (!pane)
        return kFailed;
    const Array entries = pane->entries(which);
    std::set<std::string> seen;
    for (const auto& title : titles) {
        if (title.empty() || title == "-") {
            c.err << "lumetta: \"" << title << "\" is not a " << noun(which) << " name"
                  << (which == List::Projects ? " (use 'lumetta projects add-separator' for a separator)"
                                              : "")
                  << "\n";
            return kUsage;
        }
        const bool listed = std::any_of(entries.items().begin(), entries.items().end(),
                                        [&](const Value& e) { return titleOf(e) == title; });
        if (listed || !seen.insert(title).second) {
            c.err << "lumetta: the " << noun(which) << " list has \"" << title << "\" already\n";
            return kFailed;
        }
    }
    for (const auto& title : titles)
        if (!pane->add(which, title)) {
            c.err << "lumetta: the Lumetta preferences pane did not take \"" << title << "\"\n";
            return kFailed;
        }
    pane->saveChanges();
    print(c, pane->entries(which));
    return 0;
}

int ListCommands::addSeparator(const Context& c) {
    auto pane = PreferencesPane::open(c.err);
    if (!pane)
        return kFailed;
    if (!pane->add(List::Projects, "-")) {
        c.err << "lumetta: the Lumetta preferences pane did not take the separator\n";
        return kFailed;
    }
    pane->saveChanges();
    print(c, pane->entries(List::Projects));
    return 0;
}

int ListCommands::remove(const Context& c, List which, const std::vector<std::string>& names) {
    auto pane = PreferencesPane::open(c.err);
    if (!pane)
        return kFailed;
    const Array entries = pane->entries(which);
    std::set<std::size_t> doomed;
    for (const auto& name : names) {
        auto index = entryIndex(entries, name);
        if (!index) {
            c.err << "lumetta: the " << noun(which) << " list has no \"" << name << "\" (see 'lumetta "
                  << noun(which) << "s list')\n";
            return kFailed;
        }
        doomed.insert(*index);
    }
    for (auto it = doomed.rbegin(); it != doomed.rend(); ++it)
        pane->removeAt(which, *it);
    pane->saveChanges();
    print(c, pane->entries(which));
    return 0;
}

int ListCommands::move(const Context& c, List which, const std::vector<std::string>& arguments) {
    if (arguments.size() < 2) {
        c.err << "lumetta: say which entries to move and where: FROM... TO, e.g. 'move 1 3 5'\n";
        return kUsage;
    }
    auto pane = PreferencesPane::open(c.err);
    if (!pane)
        return kFailed;
    const Array entries = pane->entries(which);
    auto to = position(arguments.back());
    if (!to || *to > entries.count() + 1) {
        c.err << "lumetta: \"" << arguments.back() << "\" is not a position from 1 to " << entries.count() + 1
              << " (the entries go above the one now there; " << entries.count() + 1 << " is the end)\n";
        return kUsage;
    }
    Array rows;
    std::set<std::size_t> chosen;
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
        auto index = entryIndex(entries, arguments[i]);
        if (!index) {
            c.err << "lumetta: the " << noun(which) << " list has no \"" << arguments[i] << "\"\n";
            return kFailed;
        }
        if (chosen.insert(*index).second)
            rows.add(static_cast<long long>(*index));
    }
    if (!pane->drag(which, rows, static_cast<int>(*to - 1))) {
        c.err << "lumetta: the Lumetta preferences pane refused the move\n";
        return kFailed;
    }
    pane->saveChanges();
    print(c, pane->entries(which));
    return 0;
}

} // namespace mailhost
