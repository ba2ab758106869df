#include "TagStoreSupport.h"
#include "lumetta/store/LibraryMessageTagAccess.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "lumetta/store/TagRecord.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

using namespace lumetta;
using mailhost::Library;
using platform::Array;
using platform::Value;

namespace {

// Message objects handed from the main thread to the threads that drop them.
class DropQueue {
public:
    void push(std::shared_ptr<mailhost::Message> message) {
        std::lock_guard lock(mutex_);
        queue_.push_back(std::move(message));
        ready_.notify_one();
    }
    // Empty once closed and drained.
    std::shared_ptr<mailhost::Message> pop() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return closed_ || !queue_.empty(); });
        if (queue_.empty())
            return nullptr;
        auto message = std::move(queue_.front());
        queue_.pop_front();
        return message;
    }
    void close() {
        std::lock_guard lock(mutex_);
        closed_ = true;
        ready_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<std::shared_ptr<mailhost::Message>> queue_;
    bool closed_ = false;
};

class TagConcurrencyTest : public storetest::TaggedLibraryTest {};

// The main thread fetches records while message objects die on other threads and a
// writer thread saves files through the tag hooks: the side tables stay consistent
// (run under the thread sanitizer), no fetch misses a tag, and no file loses one.
TEST_F(TagConcurrencyTest, FetchesWhileObjectsDieAndAWriterSaves) {
    constexpr int kMessages = 60;
    constexpr int kRounds = 1500;
    std::vector<std::int64_t> ids;
    for (int i = 0; i < kMessages; ++i) {
        auto message = add(i);
        MessageTags::lumettaSetExtraData(*message, Array{"Work", "m" + std::to_string(i)},
                                         TagKeys::kKeyWords);
        ids.push_back(message->libraryID());
    }

    DropQueue drops;
    std::atomic<bool> writing{true};
    std::vector<std::thread> droppers;
    for (int t = 0; t < 2; ++t)
        droppers.emplace_back([&] {
            while (drops.pop()) {
            }
        });
    std::thread writer([&] {
        while (writing.load())
            Library::updateMessageFiles(nullptr);
    });

    int missing = 0;
    for (int round = 0; round < kRounds; ++round) {
        const std::int64_t id = ids[static_cast<std::size_t>(round % kMessages)];
        auto message = library_->message(id);
        auto record = MessageTags::lumettaExtraData(*message);
        if (!record || !record->get(TagKeys::kKeyWords).isArray())
            ++missing;
        if (round % 3 == 0)
            Library::flagsChangedForMessages({message});
        drops.push(std::move(message));
    }
    drops.close();
    for (auto& t : droppers)
        t.join();
    writing = false;
    writer.join();
    Library::updateMessageFiles(nullptr);

    EXPECT_EQ(missing, 0);
    for (int i = 0; i < kMessages; ++i) {
        auto message = library_->message(ids[static_cast<std::size_t>(i)]);
        EXPECT_EQ(filePlist(message->path()).get(TagKeys::kKeyWords),
                  Value(Array{"Work", "m" + std::to_string(i)}));
    }
    EXPECT_EQ(LibraryMessageTagAccess::tableSizesForTesting().records, 0u)
        << "every record went with its holders";
}

} // namespace
