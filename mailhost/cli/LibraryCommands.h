#pragma once

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace mailhost {

class Library;
class Message;

// The command line's jobs on a mail library. Each returns the exit status: 0 done,
// 1 the work failed (the reason on `err`), 2 the command was wrong.
class LibraryCommands {
public:
    struct Context {
        std::filesystem::path library;
        bool json = false;
        std::ostream& out;
        std::ostream& err;
    };

    // The library of the command line, or nullptr after saying why on `c.err`.
    static std::unique_ptr<Library> openLibrary(const Context& c);

    // $LUMETTA_LIBRARY, else $XDG_DATA_HOME/lumetta-mail/Mail.
    static std::filesystem::path defaultLibraryPath();

    static int init(const Context& c);
    static int mailboxes(const Context& c);
    static int list(const Context& c, const std::string& mailbox);
    static int show(const Context& c, const std::string& idOrPath, bool body);
    // With `applyRules`, the library's active rules run on each batch of new messages.
    static int import(const Context& c, const std::string& mailbox, const std::vector<std::string>& paths,
                      bool applyRules = true);
    // A whole mail folder becomes a library in place; a mailbox folder is copied into
    // the library as mailbox `name` (default: the folder's name).
    static int adopt(const Context& c, const std::filesystem::path& folder, const std::string& name);
    static int copy(const Context& c, const std::vector<std::string>& ids, const std::string& mailbox);
    static int rebuild(const Context& c, const std::string& mailbox);
    static int stripAttachments(const Context& c, const std::string& id);
    static int mark(const Context& c, const std::vector<std::string>& ids, const std::string& how);

    // The message a command names: a library row number (the library is opened into
    // `library` unless it already is) or the path of a loose message file. On failure
    // says why on `c.err` and returns the exit status (1 no such message or no
    // library, 2 neither a number nor a file); 0 when found. Drop `message` before
    // `library`.
    static int findMessage(const Context& c, const std::string& idOrPath, std::unique_ptr<Library>& library,
                           std::shared_ptr<Message>& message);
};

} // namespace mailhost
