#pragma once

#include "mailhost/library/EnvelopeIndex.h"
#include "mailhost/mail/Message.h"

#include <filesystem>

namespace mailhost {

class Library;

// A message stored in the library: one .emlx file, known to the Envelope Index by its
// row number. Each object holds a snapshot of the envelope taken when it was made.
class LibraryMessage : public Message {
public:
    static constexpr const char* kClassName = "LibraryMessage";
    static Class& registerClass();

    LibraryMessage(Class* cls) : Message(cls) {}
    ~LibraryMessage() override;

    // Its row number as text: every object for one stored message has the same.
    std::string messageID() const override;
    std::int64_t libraryID() const { return envelope_.rowid; }
    const Envelope& envelope() const { return envelope_; }
    const std::string& mailboxName() const { return mailboxName_; }
    bool sharded() const { return sharded_; }
    // Where its file is; fixed when the object is made, like the rest of its snapshot.
    const std::filesystem::path& path() const;

    platform::Result<std::string> messageBytes() const override;
    // Read from the start of the file only, when the header block lies there.
    platform::Result<std::string> headerBytes() const override;

    static void hostDealloc(Object*, Sel) {}

private:
    friend class Library;
    void bind(Library* library, Envelope envelope, std::string mailboxName, bool sharded);

    Library* library_ = nullptr;
    Envelope envelope_;
    std::string mailboxName_;
    bool sharded_ = false;
    std::filesystem::path path_;
};

// The library's variant for messages of IMAP accounts; stored alike.
class LibraryIMAPMessage : public LibraryMessage {
public:
    static constexpr const char* kClassName = "LibraryIMAPMessage";
    static Class& registerClass();
    using LibraryMessage::LibraryMessage;
};

} // namespace mailhost
