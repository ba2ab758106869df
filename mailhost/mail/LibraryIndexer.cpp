#include "mailhost/mail/LibraryIndexer.h"

#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/MessageEnvelope.h"
#include "mailhost/mail/MessageMetadata.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/Value.h"

namespace mailhost {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::Value;

void LibraryIndexer::indexMessageFile(const std::string& path, std::string_view messageBytes,
                                      const std::string& mailbox, double dateReceived) {
    if (!library_.metadata())
        return;
    const Dictionary attributes = MessageMetadata::hostAttributes(messageBytes, mailbox, dateReceived);
    if (auto r = library_.metadata()->replaceHostAttributes(path, attributes,
                                                            MessageMetadata::hostAttributeNames());
        !r)
        platform::Log::line("Could not index " + path + ": " + r.error().message);
}

bool LibraryIndexer::indexMessageFileAt(const fs::path& path, const std::string& mailbox) {
    if (!library_.metadata())
        return true;
    auto file = EmlxFile::read(path);
    if (!file)
        return false;
    indexMessageFile(path.string(), file.value().messageBytes(), mailbox,
                     MessageEnvelope::dateReceived(file.value().plist(), path));
    return true;
}

void LibraryIndexer::announceIndexedFiles(const std::vector<std::string>& paths) {
    if (paths.empty() || !library_.metadata())
        return;
    platform::Array list;
    for (const std::string& path : paths)
        list.add(path);
    platform::NotificationCenter::defaultCenter().post(Library::kMessageFilesIndexedNotification, &library_,
                                                       Dictionary{{"paths", Value(list)}});
}

void LibraryIndexer::forgetMessageFile(const std::string& path) {
    if (!library_.metadata())
        return;
    if (auto r = library_.metadata()->removeItem(path); !r)
        platform::Log::line("Could not remove " + path + " from the metadata index: " + r.error().message);
}

} // namespace mailhost
