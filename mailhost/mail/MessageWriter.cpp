#include "mailhost/mail/MessageWriter.h"

#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "mailhost/message/MessageBody.h"
#include "platform/foundation/IgnoreError.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

#include <filesystem>
#include <string_view>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::runtime::Runtime;
using platform::runtime::Seam;

namespace {

Seam<std::shared_ptr<Message>(Object*, std::shared_ptr<Message>)>* stripSeam = nullptr;
Seam<void(Object*)>* deallocSeam = nullptr;

std::shared_ptr<Message> failure(const std::string& why) {
    platform::Log::line("Could not remove attachments: " + why);
    return nullptr;
}

// Takes a message this writer stored back out again, so that a failure after the
// store leaves the library as it was before.
void discard(Library& library, const LibraryMessage& message) {
    platform::ignoreError(library.index().remove(message.libraryID()),
                          "index entry of a message taken back out: a rebuild drops a stale row");
    library.indexer().forgetMessageFile(message.path().string());
    std::error_code ec;
    fs::remove(message.path(), ec);
}

} // namespace

Class& MessageWriter::registerClass() {
    Class& cls = Runtime::defineClass(kClassName);
    if (!stripSeam) {
        stripSeam = new Seam<std::shared_ptr<Message>(Object*, std::shared_ptr<Message>)>(
            cls, "createMessageByRemovingAttachmentsFromMessage:",
            &MessageWriter::hostCreateMessageByRemovingAttachments);
        deallocSeam = new Seam<void(Object*)>(cls, "dealloc", &MessageWriter::hostDealloc);
    }
    cls.setFactory([](Class* c) { return std::make_unique<MessageWriter>(c); });
    return cls;
}

std::unique_ptr<MessageWriter> MessageWriter::create() {
    std::unique_ptr<Object> object = registerClass().createInstance();
    auto* writer = dynamic_cast<MessageWriter*>(object.get());
    if (!writer)
        return nullptr;
    object.release();
    return std::unique_ptr<MessageWriter>(writer);
}

MessageWriter::~MessageWriter() {
    if (deallocSeam)
        (*deallocSeam)(this);
}

std::shared_ptr<Message>
MessageWriter::createMessageByRemovingAttachmentsFromMessage(std::shared_ptr<Message> message) {
    return (*stripSeam)(this, std::move(message));
}

std::shared_ptr<Message>
MessageWriter::hostCreateMessageByRemovingAttachments(Object*, Sel, std::shared_ptr<Message> message) {
    auto* original = dynamic_cast<LibraryMessage*>(message.get());
    Library* library = Library::current();
    if (!original || !library)
        return failure("the message is not stored in the library");
    const auto envelope = library->index().message(original->libraryID());
    if (!envelope)
        return failure("message " + original->messageID() + " is no longer in the library");
    const fs::path path = original->path();
    auto file = EmlxFile::read(path);
    if (!file)
        return failure(path.string() + ": " + file.error().message);
    // A cut-short or miscounted file would be stored as if its counted bytes were the
    // whole message, and the original, the only copy of the rest, would then be removed.
    if (file.value().refusesWrites())
        return failure(path.string() + ": " + file.value().problem());
    const std::string_view bytes = file.value().messageBytes();
    auto stripped = MessageBody::removingAttachments(bytes);
    if (!stripped)
        return failure(path.string() + ": " + stripped.error().message);
    if (stripped.value() == bytes)
        return failure(path.string() + " has no attachments");

    // The new message is complete on disk, with what it carries, before anything of
    // the original goes; it is written once, so that its search entry follows it.
    auto added =
        library->addMessage(original->mailboxName(), stripped.value(), original->flags(),
                            envelope->dateReceived, EmlxFile::messageProperties(file.value().plist()));
    if (!added)
        return failure(added.error().message);
    LibraryMessage& replacement = *added.value();
    if (auto removed = library->index().remove(original->libraryID()); !removed) {
        discard(*library, replacement);
        return failure(removed.error().message);
    }
    // The row is gone, so what is left on disk is a stray at worst, never lost mail.
    std::error_code ec;
    const auto& layout = library->layout();
    for (bool partial : {false, true}) {
        const fs::path old =
            layout.messagePath(original->mailboxName(), original->libraryID(), original->sharded(), partial);
        library->indexer().forgetMessageFile(old.string());
        if (!fs::remove(old, ec) && ec)
            platform::Log::line("Could not remove " + old.string() + ": " + ec.message());
    }
    fs::remove_all(layout.attachmentsFolder(original->mailboxName(), original->libraryID()), ec);
    if (ec)
        platform::Log::line("Could not remove the attachments of message " + original->messageID() + ": " +
                            ec.message());
    return added.value();
}

} // namespace mailhost
