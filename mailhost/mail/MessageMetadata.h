#pragma once

#include "platform/foundation/Dictionary.h"

#include <string>
#include <string_view>
#include <vector>

namespace mailhost {

// What the mail client itself tells the metadata index about a message file: who wrote
// it and to whom, its subject, when it was sent and received, its mailbox and its text.
// Every other attribute of the item belongs to someone else (the tags) and is left alone
// when the client indexes the file again.
class MessageMetadata {
public:
    static constexpr const char* kSubject = "kMDItemSubject";
    static constexpr const char* kAuthors = "kMDItemAuthors";
    static constexpr const char* kAuthorAddresses = "kMDItemAuthorEmailAddresses";
    static constexpr const char* kRecipients = "kMDItemRecipients";
    static constexpr const char* kRecipientAddresses = "kMDItemRecipientEmailAddresses";
    static constexpr const char* kDateSent = "kMDItemContentCreationDate";
    static constexpr const char* kDateReceived = "kMDItemDateReceived";
    static constexpr const char* kMailboxes = "kMDItemMailboxes";
    static constexpr const char* kTextContent = "kMDItemTextContent";

    // Every name the client writes, so that one it no longer has a value for is removed.
    static const std::vector<std::string>& hostAttributeNames();

    // The attributes of a message with these bytes (no count line, no property list),
    // stored in `mailbox`. Unreadable parts are left out rather than failing the whole.
    static platform::Dictionary hostAttributes(std::string_view messageBytes, const std::string& mailbox,
                                               double dateReceived);
};

} // namespace mailhost
