#include "mailhost/mail/LibraryMessage.h"

#include "mailhost/library/EmlxFile.h"
#include "mailhost/library/RealFileLayer.h"
#include "mailhost/mail/Library.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

#include <fcntl.h>

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
    auto file = LUMETTA_TRY(EmlxFile::read(path()));
    return std::string(file.messageBytes());
}

platform::Result<std::string> LibraryMessage::headerBytes() const {
    // Header blocks are a few kilobytes; the file's first read mostly holds all of it.
    constexpr std::size_t kFirstRead = 16384;
    FileLayer& files = RealFileLayer::instance();
    if (auto fd = files.open(path(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC, 0)) {
        std::string head(kFirstRead, '\0');
        auto n = files.pread(fd.value(), head.data(), head.size(), 0);
        files.close(fd.value());
        if (n) {
            head.resize(n.value());
            if (auto line = EmlxFile::parseCountLine(head); line && line.value().length <= head.size()) {
                std::string_view message = std::string_view(head).substr(line.value().length);
                if (line.value().count < message.size())
                    message = message.substr(0, static_cast<std::size_t>(line.value().count));
                if (const std::size_t end = headerEnd(message); end != std::string_view::npos)
                    return std::string(message.substr(0, end));
            }
        }
    }
    // A long header block, a message without a body, or a file that reads oddly: the
    // whole read decides, and reports, as for the message itself.
    return Message::headerBytes();
}

} // namespace mailhost
