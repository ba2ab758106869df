#pragma once

#include "mailhost/mail/Library.h"
#include "platform/runtime/Seam.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mailhost {

using platform::runtime::Seam;

// The replaceable class methods of "Library": the seams every caller goes through (so a
// bundle's replacement runs), and the host's own implementation of each.
class LibrarySeams {
public:
    struct Table {
        Class* cls = nullptr;
        Seam<std::string(Class*, Message*)>* dataPath = nullptr;
        Seam<std::string(Class*, Message*, int)>* dataPathType = nullptr;
        Seam<std::shared_ptr<LibraryMessage>(Class*, std::int64_t)>* messageWithLibraryID = nullptr;
        Seam<void(Class*, MessageList, platform::Dictionary, platform::Dictionary)>* flagsChanged = nullptr;
        Seam<void(Class*)>* updateMessageFiles = nullptr;
        Seam<std::string(Class*, Message*, std::string, std::string, std::string, double, std::string,
                         std::string, std::uint64_t, platform::Dictionary)>* plistData = nullptr;
        Seam<bool(Class*, std::string, Message*, std::string_view, std::string)>* writeWithBody = nullptr;
        Seam<bool(Class*, std::string, Message*, std::string_view)>* writeWithData = nullptr;
        Seam<void(Class*, Message*)>* updateFile = nullptr;
        Seam<std::optional<DuplicateMap>(Class*, MessageList, std::vector<std::string>, std::string,
                                         std::uint64_t, std::uint64_t, bool)>* duplicate = nullptr;
    };

    // Defines "Library" and its seams, once; the class.
    static Class& define();
    static const Table& table();

    // The host's implementations.
    static std::string dataPathForMessage(Class*, Sel, Message* message);
    static std::string dataPathForMessageType(Class*, Sel, Message* message, int type);
    static std::shared_ptr<LibraryMessage> messageWithLibraryID(Class*, Sel, std::int64_t rowid);
    static void flagsChanged(Class*, Sel, MessageList messages, platform::Dictionary flags,
                             platform::Dictionary oldFlags);
    static void updateMessageFiles(Class*, Sel);
    static std::string plistData(Class*, Sel, Message* message, std::string subject, std::string sender,
                                 std::string to, double dateSent, std::string remoteID,
                                 std::string originalMailbox, std::uint64_t flags,
                                 platform::Dictionary merge);
    static bool writeEmlxWithBody(Class*, Sel, std::string path, Message* message, std::string_view body,
                                  std::string plistData);
    static bool writeEmlxWithData(Class*, Sel, std::string path, Message* message, std::string_view emlxData);
    static void updateFileForMessage(Class*, Sel, Message* message);
    static std::optional<DuplicateMap> duplicateMessages(Class*, Sel, MessageList messages,
                                                         std::vector<std::string> newRemoteIDs,
                                                         std::string mailbox, std::uint64_t setFlags,
                                                         std::uint64_t clearFlags, bool createNewCacheFiles);

private:
    static Table& mutableTable();
};

} // namespace mailhost
