#pragma once

#include "mailhost/mail/Library.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumetta {

// Tags in message files. The plug-in never writes a message file itself: it reads
// the property list at the end of the file directly, and it joins the host's write
// path so that whenever the host writes a message file the record's tag keys are
// merged into the property list, pending removals are carried out, a linked to-do is
// pointed at the file and the metadata index is brought up to date. Copies of a
// message carry its tags along.
class LibraryTagPersistence {
public:
    using Class = platform::runtime::Class;
    using Sel = platform::runtime::Sel;
    using Message = mailhost::Message;

    // Adds the class methods below to "Library" and replaces the host's write hooks.
    static void load();

    // How the to-do linked to a message is pointed at the message's file after a write
    // (uid, "file://" url). The calendar subsystem sets it at load: the store sits below
    // the calendar and only hands over what changed.
    using ToDoURLSetter = void (*)(const std::string& uid, const std::string& url);
    static void setToDoURLSetter(ToDoURLSetter setter);

    // The raw property-list bytes of a stored or loose message's file; nullopt for
    // other messages and for files that cannot be read or do not fit.
    static std::optional<std::string> lumettaMetaDataFromEmlxFile(Class*, Sel, std::string path,
                                                                  Message* message);
    // Those bytes parsed; nullopt when there are none or they are not a dictionary.
    static std::optional<platform::Dictionary>
    lumettaMetaDataDictionaryFromEmlxFile(Class*, Sel, std::string path, Message* message);
    // One key as the stored message's file holds it (not as its record does).
    static platform::Value lumettaWithKey(Class*, Sel, std::string key, Message* message);
    // Whether the stored message's file shows tags (see TagRecord::presentInFile).
    static bool lumettaPresentForMessage(Class*, Sel, Message* message);
    static bool lumettaSetMetaDataForMessage(Class*, Sel, Message* message, platform::Value value,
                                             std::string key);
    static void lumettaMergeActOnKeysTo(Class*, Sel, std::optional<platform::Dictionary> target,
                                        std::optional<platform::Dictionary> source);
    // The file's tags, then the record's over them, into `target`.
    static void lumettaMergeMetadataTo(Class*, Sel, std::optional<platform::Dictionary> target,
                                       Message* message);

    // Replacements of the host's class methods.
    static std::string lumettaPlistDataForMessage(Class*, Sel, Message* message, std::string subject,
                                                  std::string sender, std::string to, double dateSent,
                                                  std::string remoteID, std::string originalMailbox,
                                                  std::uint64_t flags, platform::Dictionary merge);
    static bool lumettaWriteEmlxFileWithBody(Class*, Sel, std::string path, Message* message,
                                             std::string_view body, std::string plistData);
    static bool lumettaWriteEmlxFileWithData(Class*, Sel, std::string path, Message* message,
                                             std::string_view emlxData);
    static std::optional<mailhost::DuplicateMap>
    lumettaDuplicateMessages(Class*, Sel, mailhost::MessageList messages,
                             std::vector<std::string> newRemoteIDs, std::string mailbox,
                             std::uint64_t setFlags, std::uint64_t clearFlags, bool createNewCacheFiles);
    static void lumettaUpdateFileForMessage(Class*, Sel, Message* message);

    // Calls from the rest of the plug-in.
    static std::optional<platform::Dictionary> metaDataDictionary(const std::string& path, Message* message);
    static void mergeMetadata(platform::Dictionary& target, Message& message);
    // The merge a save makes: for a stored message, only the tags changed in this
    // process go over what the file holds now; otherwise as mergeMetadata.
    static void mergeForSave(platform::Dictionary& target, Message& message);
    // After the host failed to save these rows: their records are written whole next
    // time, and their metadata goes back to what their files hold.
    static void messagesNotSaved(const std::vector<std::int64_t>& rows);
};

} // namespace lumetta
