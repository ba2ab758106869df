#include "calendarapp/store/ContentLines.h"

#include <algorithm>

namespace calendarapp {

namespace {

std::string upper(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return out;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r' || s.back() == '\n'))
        s.remove_suffix(1);
    return s;
}

// The logical line without its folds and line end.
std::string unfolded(std::string_view raw) {
    std::string out;
    out.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '\r' || raw[i] == '\n') {
            std::size_t next = i + 1;
            if (raw[i] == '\r' && next < raw.size() && raw[next] == '\n')
                ++next;
            if (next < raw.size() && (raw[next] == ' ' || raw[next] == '\t'))
                i = next; // skip the fold and its one white-space character
            else
                i = next - 1;
            continue;
        }
        out += raw[i];
    }
    return out;
}

// The value after the first colon that is not inside a quoted parameter value.
std::string valueOf(std::string_view raw) {
    const std::string line = unfolded(raw);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"')
            quoted = !quoted;
        else if (line[i] == ':' && !quoted)
            return line.substr(i + 1);
    }
    return {};
}

std::string nameOf(std::string_view raw) {
    const std::size_t end = raw.find_first_of(";:\r\n");
    return upper(trimmed(raw.substr(0, end)));
}

std::string withLineEnds(std::string_view crlfLines, const std::string& lineEnd) {
    if (lineEnd == "\r\n")
        return std::string(crlfLines);
    std::string out;
    for (std::size_t i = 0; i < crlfLines.size(); ++i)
        if (!(crlfLines[i] == '\r' && i + 1 < crlfLines.size() && crlfLines[i + 1] == '\n'))
            out += crlfLines[i];
    return out;
}

} // namespace

std::vector<ContentLines::Line> ContentLines::split(std::string_view text) const {
    std::vector<Line> lines;
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t newline = text.find('\n', pos);
        const std::size_t next = newline == std::string_view::npos ? text.size() : newline + 1;
        const std::string_view physical = text.substr(pos, next - pos);
        const bool continuation = physical.front() == ' ' || physical.front() == '\t';
        if (continuation && !lines.empty())
            lines.back().raw += physical;
        else
            lines.push_back(Line{std::string(physical), {}, {}});
        pos = next;
    }
    for (Line& line : lines) {
        line.name = nameOf(line.raw);
        if (line.name == "BEGIN" || line.name == "END")
            line.component = upper(trimmed(valueOf(line.raw)));
    }
    return lines;
}

platform::Result<ContentLines::Block> ContentLines::findToDo(const std::vector<Line>& lines) {
    std::vector<std::string> open;
    std::optional<Block> found;
    Block current;
    bool overridesOccurrence = false;
    const auto inToDo = [&open] {
        return open.size() == 2 && open[0] == "VCALENDAR" && open[1] == "VTODO";
    };
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Line& line = lines[i];
        if (line.name == "BEGIN") {
            open.push_back(line.component);
            if (inToDo()) {
                current.begin = i;
                overridesOccurrence = false;
            }
        } else if (line.name == "END") {
            if (open.empty() || open.back() != line.component)
                return platform::makeError("END:" + line.component + " on content line " +
                                           std::to_string(i + 1) + " closes no open component");
            if (inToDo() && !found && !overridesOccurrence) {
                current.end = i;
                found = current;
            }
            open.pop_back();
        } else if (inToDo() && line.name == "RECURRENCE-ID") {
            overridesOccurrence = true;
        }
    }
    if (!open.empty())
        return platform::makeError("BEGIN:" + open.back() + " is never closed");
    if (!found)
        return platform::makeError("no VTODO inside a VCALENDAR");
    return *found;
}

platform::Result<ContentLines> ContentLines::parse(std::string_view text) {
    ContentLines result;
    const std::size_t firstNewline = text.find('\n');
    result.lineEnd_ =
        firstNewline != std::string_view::npos && firstNewline > 0 && text[firstNewline - 1] == '\r' ? "\r\n"
                                                                                                     : "\n";
    result.lines_ = result.split(text);
    LUMETTA_TRY_VOID(findToDo(result.lines_));
    return result;
}

std::string ContentLines::text() const {
    std::string out;
    for (const Line& line : lines_)
        out += line.raw;
    return out;
}

ContentLines::Children ContentLines::childrenOf(const Block& block) const {
    Children children;
    std::size_t depth = 0;
    Block nested;
    for (std::size_t i = block.begin + 1; i < block.end; ++i) {
        const Line& line = lines_[i];
        if (line.name == "BEGIN") {
            if (depth++ == 0)
                nested.begin = i;
        } else if (line.name == "END") {
            if (--depth == 0) {
                nested.end = i;
                children.components.push_back(nested);
            }
        } else if (depth == 0 && !line.name.empty()) {
            children.properties.push_back(i);
        }
    }
    return children;
}

std::optional<std::string> ContentLines::value(std::string_view name) const {
    const auto toDo = findToDo(lines_);
    if (!toDo)
        return std::nullopt;
    const std::string wanted = upper(name);
    for (const std::size_t i : childrenOf(toDo.value()).properties)
        if (lines_[i].name == wanted)
            return valueOf(lines_[i].raw);
    return std::nullopt;
}

void ContentLines::replaceIn(const Block& block, std::string_view name, std::string_view lines) {
    const std::string wanted = upper(name);
    const Children children = childrenOf(block);
    std::vector<std::size_t> matches;
    for (const std::size_t i : children.properties)
        if (lines_[i].name == wanted)
            matches.push_back(i);
    std::vector<Line> replacement = split(withLineEnds(lines, lineEnd_));
    std::size_t at = children.components.empty() ? block.end : children.components.front().begin;
    if (!matches.empty()) {
        at = matches.front();
        for (auto it = matches.rbegin(); it != matches.rend(); ++it)
            lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(*it));
    }
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at),
                  std::make_move_iterator(replacement.begin()), std::make_move_iterator(replacement.end()));
}

void ContentLines::replace(std::string_view name, std::string_view lines) {
    const auto toDo = findToDo(lines_);
    if (toDo)
        replaceIn(toDo.value(), name, lines);
}

std::vector<ContentLines::Block> ContentLines::displayAlarms() const {
    std::vector<Block> alarms;
    const auto toDo = findToDo(lines_);
    if (!toDo)
        return alarms;
    for (const Block& component : childrenOf(toDo.value()).components) {
        if (lines_[component.begin].component != "VALARM")
            continue;
        for (const std::size_t i : childrenOf(component).properties)
            if (lines_[i].name == "ACTION") {
                if (upper(trimmed(valueOf(lines_[i].raw))) == "DISPLAY")
                    alarms.push_back(component);
                break;
            }
    }
    return alarms;
}

std::size_t ContentLines::displayAlarmCount() const {
    return displayAlarms().size();
}

void ContentLines::appendComponent(std::string_view lines) {
    const auto toDo = findToDo(lines_);
    if (!toDo)
        return;
    std::vector<Line> added = split(withLineEnds(lines, lineEnd_));
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(toDo.value().end),
                  std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()));
}

bool ContentLines::replaceInDisplayAlarm(std::size_t index, std::string_view name, std::string_view lines) {
    const std::vector<Block> alarms = displayAlarms();
    if (index >= alarms.size())
        return false;
    replaceIn(alarms[index], name, lines);
    return true;
}

} // namespace calendarapp
