#include "lumetta/store/MessageWriterTagCarryOver.h"

#include "lumetta/core/MethodReplacement.h"
#include "lumetta/store/MessageTags.h"
#include "mailhost/mail/MessageWriter.h"
#include "platform/runtime/Send.h"

namespace lumetta {

namespace {

using StripImp = std::shared_ptr<mailhost::Message> (*)(platform::runtime::Object*, platform::runtime::Sel,
                                                        std::shared_ptr<mailhost::Message>);
StripImp savedStrip = nullptr;

constexpr const char* kHostSelector = "createMessageByRemovingAttachmentsFromMessage:";
constexpr const char* kReplacement = "lumetta_createMessageByRemovingAttachmentsFromMessage:";

} // namespace

void MessageWriterTagCarryOver::load() {
    platform::runtime::Class* cls =
        platform::runtime::Runtime::classNamed(mailhost::MessageWriter::kClassName);
    if (!cls)
        return;
    cls->addInstanceMethod(kReplacement, &lumettaCreateMessageByRemovingAttachmentsFromMessage);
    savedStrip = replaceInstanceMethod<StripImp>(kHostSelector, mailhost::MessageWriter::kClassName,
                                                 kReplacement, mailhost::MessageWriter::kClassName);
}

std::shared_ptr<mailhost::Message>
MessageWriterTagCarryOver::lumettaCreateMessageByRemovingAttachmentsFromMessage(
    platform::runtime::Object* self, platform::runtime::Sel selector,
    std::shared_ptr<mailhost::Message> message) {
    // The record is taken before the host runs: the host replaces the original's
    // file, and a record not yet loaded could no longer be read afterwards.
    std::optional<platform::Dictionary> record;
    if (message && MessageTags::respondsToExtraData(*message))
        record = MessageTags::lumettaExtraData(*message);
    std::shared_ptr<mailhost::Message> stripped = savedStrip(self, selector, message);
    if (stripped && record && !record->empty())
        MessageTags::lumettaSetExtraDataTo(*stripped, record->mutableCopy());
    return stripped;
}

} // namespace lumetta
