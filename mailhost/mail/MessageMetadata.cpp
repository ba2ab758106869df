#include "mailhost/mail/MessageMetadata.h"

#include "mailhost/message/MessageBody.h"
#include "mailhost/message/MessageHeaders.h"
#include "platform/foundation/Value.h"

namespace mailhost {

using platform::Array;
using platform::Dictionary;

namespace {

// A person shows by name where the message gives one, else by address, the way the
// message list shows senders.
void addPeople(const std::vector<MessageHeaders::Person>& people, Array& names, Array& addresses) {
    for (const auto& person : people) {
        const std::string& shown = person.name.empty() ? person.address : person.name;
        if (!shown.empty())
            names.add(shown);
        if (!person.address.empty())
            addresses.add(person.address);
    }
}

void setUnlessEmpty(Dictionary& into, const char* name, const Array& values) {
    if (!values.empty())
        into.set(name, values);
}

} // namespace

const std::vector<std::string>& MessageMetadata::hostAttributeNames() {
    static const std::vector<std::string> names = {
        kSubject,  kAuthors,      kAuthorAddresses, kRecipients, kRecipientAddresses,
        kDateSent, kDateReceived, kMailboxes,       kTextContent};
    return names;
}

Dictionary MessageMetadata::hostAttributes(std::string_view messageBytes, const std::string& mailbox,
                                           double dateReceived) {
    Dictionary out;
    if (auto headers = MessageHeaders::parse(messageBytes)) {
        const MessageHeaders& h = headers.value();
        if (const std::string subject = h.subject(); !subject.empty())
            out.set(kSubject, subject);
        Array authors, authorAddresses, recipients, recipientAddresses;
        addPeople(h.people("From"), authors, authorAddresses);
        addPeople(h.people("To"), recipients, recipientAddresses);
        addPeople(h.people("Cc"), recipients, recipientAddresses);
        setUnlessEmpty(out, kAuthors, authors);
        setUnlessEmpty(out, kAuthorAddresses, authorAddresses);
        setUnlessEmpty(out, kRecipients, recipients);
        setUnlessEmpty(out, kRecipientAddresses, recipientAddresses);
        if (auto sent = h.dateSent())
            out.set(kDateSent, *sent);
    }
    if (dateReceived != 0)
        out.set(kDateReceived, platform::Date{dateReceived});
    if (!mailbox.empty())
        out.set(kMailboxes, Array{mailbox});
    if (auto text = MessageBody::textContent(messageBytes); text && !text.value().empty())
        out.set(kTextContent, text.value());
    return out;
}

} // namespace mailhost
