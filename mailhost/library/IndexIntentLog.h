#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace mailhost {

// The message files whose entries in the metadata index this process changed before
// their files were written: the tag mirror brings a message's attributes up to date as
// soon as its tags change, and the file follows a moment later. A process killed in
// between would leave the index promising tags that no file holds, so each such path
// is noted here first, and the note is settled once the file's write has committed.
//
// Each process keeps its notes in a file of its own under `.lumetta-index-pending/` in
// the library root, locked for as long as the process lives. A note file that nobody
// holds belongs to a process that ended without settling it; whoever opens the library
// next brings those entries back into step with their files and removes it.
class IndexIntentLog {
public:
    static constexpr const char* kFolderName = ".lumetta-index-pending";

    explicit IndexIntentLog(std::filesystem::path root);
    ~IndexIntentLog();
    IndexIntentLog(const IndexIntentLog&) = delete;
    IndexIntentLog& operator=(const IndexIntentLog&) = delete;

    // Notes `path` before its index entry changes. A note that cannot be written is
    // logged: the change goes ahead, as searching is a convenience over the files.
    void note(std::string_view path);
    // The index entries of these files follow their files again.
    void settle(const std::vector<std::string>& paths);
    std::size_t outstanding() const;

    // The notes that processes which have ended left behind. Their files stay locked
    // by this object until discard(), so that two openers do not both take them.
    class Orphans {
    public:
        Orphans() = default;
        ~Orphans();
        Orphans(Orphans&& other) noexcept;
        Orphans(const Orphans&) = delete;
        Orphans& operator=(const Orphans&) = delete;
        Orphans& operator=(Orphans&&) = delete;

        const std::vector<std::string>& paths() const { return paths_; }
        // Removes the note files once their entries are in step.
        void discard();

    private:
        friend class IndexIntentLog;
        std::vector<std::string> paths_;
        std::vector<std::pair<std::filesystem::path, int>> files_;
    };
    static Orphans orphans(const std::filesystem::path& root);

private:
    bool openLocked();

    std::filesystem::path folder_;
    std::filesystem::path file_;
    mutable std::mutex mutex_;
    std::unordered_set<std::string> noted_;
    int fd_ = -1;
    bool broken_ = false; // the note file could not be made: say so once
};

} // namespace mailhost
