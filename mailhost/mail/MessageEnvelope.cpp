#include "mailhost/mail/MessageEnvelope.h"

#include "mailhost/library/EmlxFile.h"
#include "mailhost/message/MessageHeaders.h"
#include "platform/foundation/Value.h"

#include <chrono>

namespace mailhost {

namespace fs = std::filesystem;

void MessageEnvelope::addHeaders(Envelope& e, std::string_view messageBytes) {
    auto headers = MessageHeaders::parse(messageBytes);
    if (!headers)
        return;
    e.messageID = headers.value().messageID();
    e.subject = headers.value().subject();
    e.sender = headers.value().from();
    e.recipients = headers.value().to();
    if (auto sent = headers.value().dateSent())
        e.dateSent = sent->seconds;
}

double MessageEnvelope::dateReceived(const platform::Dictionary& plist, const fs::path& file) {
    const platform::Value value = plist.get("date-received");
    if (const platform::Date* date = value.date())
        return date->seconds;
    if (value.isNumber())
        return platform::Date::fromUnix(value.doubleValue()).seconds;
    std::error_code ec;
    const auto written = fs::last_write_time(file, ec);
    if (ec)
        return 0;
    const auto unix = std::chrono::file_clock::to_sys(written).time_since_epoch();
    return platform::Date::fromUnix(std::chrono::duration<double>(unix).count()).seconds;
}

platform::Result<MessageEnvelope::FromFile> MessageEnvelope::fromFile(const fs::path& file) {
    auto read = LUMETTA_TRY(EmlxFile::read(file));
    // Its counted bytes are only part of the message: taken as the message, they would
    // hide the rest, and the next save would write over it.
    if (read.condition() == EmlxFile::Condition::Miscounted)
        return platform::makeError(read.problem());
    FromFile out;
    const platform::Dictionary plist = read.plist();
    out.knowsFlags = plist.contains("flags");
    out.envelope.flags = plist.get("flags").unsignedValue();
    out.envelope.remoteID = plist.get("remote-id").stringValue();
    out.envelope.dateReceived = dateReceived(plist, file);
    addHeaders(out.envelope, read.messageBytes());
    if (out.envelope.dateSent == 0 && plist.get("date-sent").isNumber())
        out.envelope.dateSent = platform::Date::fromUnix(plist.get("date-sent").doubleValue()).seconds;
    if (!read.ok())
        out.problem = read.problem();
    return out;
}

} // namespace mailhost
