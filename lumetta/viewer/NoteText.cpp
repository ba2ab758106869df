#include "lumetta/viewer/NoteText.h"

#include "lumetta/core/LumettaStrings.h"
#include "platform/foundation/CalendarDateFormatter.h"
#include "platform/foundation/UserDefaults.h"

namespace lumetta {

std::string NoteText::expandDateToken(std::string_view note, std::string_view token, platform::Date date,
                                      std::string_view format) {
    if (token.empty() || note.find(token) == std::string_view::npos)
        return std::string(note);
    const std::string formatted = platform::CalendarDateFormatter::format(date, format);
    std::string out;
    std::size_t from = 0;
    for (std::size_t at = note.find(token); at != std::string_view::npos; at = note.find(token, from)) {
        out.append(note.substr(from, at - from));
        out += formatted;
        from = at + token.size();
    }
    out.append(note.substr(from));
    return out;
}

std::string NoteText::dateFormat() {
    const platform::Value format = platform::UserDefaults::standard().valueForKey(kDateFormatDefault);
    if (const std::string* text = format.string())
        return *text;
    return std::string(platform::CalendarDateFormatter::kDefaultNoteFormat);
}

std::string NoteText::expandToday(std::string_view note) {
    const std::string token = LumettaStrings::localized("$date");
    if (token.empty() || note.find(token) == std::string_view::npos)
        return std::string(note);
    return expandDateToken(note, token, platform::Clock::now(), dateFormat());
}

std::string NoteText::placed(const std::string& note, const std::string& existing, int placement) {
    return placement == Before ? note + existing : existing + note;
}

} // namespace lumetta
