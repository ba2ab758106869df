#include "mailhost/cli/MessageListing.h"

#include "mailhost/cli/Json.h"
#include "platform/foundation/Date.h"

#include <cmath>
#include <ctime>

namespace mailhost {

namespace {

// Messages without a date show none rather than the first second of 2001.
std::string shownDate(double sinceReference) {
    return sinceReference == 0 ? std::string() : MessageListing::isoDate(sinceReference);
}

} // namespace

std::string MessageListing::isoDate(double sinceReference) {
    const auto t = static_cast<std::time_t>(std::floor(platform::Date{sinceReference}.unixSeconds()));
    std::tm tm{};
    if (!gmtime_r(&t, &tm))
        return {};
    char buf[40];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &tm);
    return buf;
}

void MessageListing::writeJson(Json& json, const LibraryMessage& m) {
    const Envelope& e = m.envelope();
    json.beginObject().key("id").value(e.rowid);
    json.key("mailbox").value(m.mailboxName()).key("path").value(m.path().string());
    json.key("subject").value(e.subject).key("from").value(e.sender).key("to").value(e.recipients);
    json.key("date").value(shownDate(e.dateSent != 0 ? e.dateSent : e.dateReceived));
    json.key("flags").value(static_cast<std::uint64_t>(m.flags())).endObject();
}

void MessageListing::print(const LibraryCommands::Context& c, const MessageList& messages) {
    Json json;
    json.beginArray();
    for (const auto& m : messages) {
        const auto* stored = dynamic_cast<const LibraryMessage*>(m.get());
        if (!stored)
            continue;
        if (c.json) {
            writeJson(json, *stored);
        } else {
            const Envelope& e = stored->envelope();
            c.out << e.rowid << "\t" << stored->mailboxName() << "\t" << shownDate(e.dateSent) << "\t"
                  << e.sender << "\t" << e.subject << "\n";
        }
    }
    if (c.json)
        c.out << json.endArray().str() << "\n";
}

} // namespace mailhost
