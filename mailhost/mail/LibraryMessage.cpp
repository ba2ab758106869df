#include "mailhost/mail/LibraryMessage.h"

#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

namespace mailhost {

using platform::runtime::Runtime;

namespace {
platform::runtime::Seam<void(Object*)>* deallocSeam = nullptr;
}

Class& LibraryMessage::registerClass() {
    Class& cls = Runtime::defineClass(kClassName, &Message::registerClass());
    if (!deallocSeam)
        deallocSeam =
            new platform::runtime::Seam<void(Object*)>(cls, "dealloc", &LibraryMessage::hostDealloc);
    cls.setFactory([](Class* c) { return std::make_unique<LibraryMessage>(c); });
    return cls;
}

Class& LibraryIMAPMessage::registerClass() {
    Class& cls = Runtime::defineClass(kClassName, &LibraryMessage::registerClass());
    cls.setFactory([](Class* c) { return std::make_unique<LibraryIMAPMessage>(c); });
    return cls;
}

LibraryMessage::~LibraryMessage() {
    if (deallocSeam)
        (*deallocSeam)(this);
}

void LibraryMessage::bind(Library* library, Envelope envelope, std::string mailboxName, bool sharded) {
    library_ = library;
    envelope_ = std::move(envelope);
    mailboxName_ = std::move(mailboxName);
    sharded_ = sharded;
    flags_ = envelope_.flags;
    path_ = library_
                ? library_->layout().messagePath(mailboxName_, envelope_.rowid, sharded_, envelope_.partial)
                : std::filesystem::path();
}

std::string LibraryMessage::messageID() const {
    return std::to_string(envelope_.rowid);
}

const std::filesystem::path& LibraryMessage::path() const {
    return path_;
}

platform::Result<std::string> LibraryMessage::messageBytes() const {
    auto file = EmlxFile::read(path());
    if (!file)
        return file.error();
    return std::string(file.value().messageBytes());
}

} // namespace mailhost
