#include "TagStoreSupport.h"
#include "lumetta/store/BulkTagChange.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/SpotlightSync.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/spotlight/query/QueryEvaluator.h"
#include "platform/spotlight/query/QueryTime.h"

#include <set>

using namespace lumetta;
using mailhost::LibraryMessage;
using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::Value;
namespace fs = std::filesystem;

namespace {

Date at(const char* iso) {
    return platform::spotlight::QueryTime::parseIso(iso).value_or(Date{});
}

const char* const kMirrored[] = {"kMDItemComment",  "kMDItemProjects", "kMDItemKeywords",
                                 "kMDItemStarRating", "lumettaICalUID", "lumettaICalCompletionDate",
                                 "kMDItemDueDate"};

class SpotlightSyncTest : public storetest::TaggedLibraryTest {
protected:
    platform::spotlight::MetadataStore& index() { return *library_->metadata(); }

    // The mirrored attributes of the message's file, absent ones left out.
    Dictionary mirrored(const LibraryMessage& message) {
        Dictionary out;
        for (const char* name : kMirrored)
            if (Value v = index().attribute(message.path().string(), name); !v.isNull())
                out.set(name, v);
        return out;
    }

    void sync(const Dictionary& tags, mailhost::Message* message, const std::string& path) {
        SpotlightSync::lumettaUpdateSpotlightForDictionary(nullptr, {}, tags, message, path);
    }
};

// What each tag becomes in the index, from one dictionary of tags; everything not
// listed must be absent afterwards, however it was before.
TEST_F(SpotlightSyncTest, EveryTagHasItsAttribute) {
    const Date due = at("2026-03-27T12:00:00+01:00");
    const Date done = at("2026-03-20T08:00:00+01:00");
    const Dictionary everything{{"kMDItemComment", "old"},          {"kMDItemProjects", Array{"Old"}},
                                {"kMDItemKeywords", Array{"Old"}},   {"kMDItemStarRating", 4},
                                {"lumettaICalUID", "OLD"},           {"lumettaICalCompletionDate", done},
                                {"kMDItemDueDate", due}};
    struct Case {
        const char* what;
        Dictionary tags;
        Dictionary expected; // over a file that had every attribute before
    };
    const Case cases[] = {
        {"an empty note is still a note",
         {{TagKeys::kAnnotation, ""}},
         {{"kMDItemComment", ""}, {"kMDItemDueDate", due}}},
        {"a project title becomes a one-element list",
         {{TagKeys::kProject, "Apollo"}},
         {{"kMDItemProjects", Array{"Apollo"}}, {"kMDItemDueDate", due}}},
        {"\"None\" clears the project, as a title or first in a list",
         {{TagKeys::kProject, "None"}, {TagKeys::kKeyWords, Array{"Work"}}},
         {{"kMDItemKeywords", Array{"Work"}}, {"kMDItemDueDate", due}}},
        {"a list starting with \"None\" clears too",
         {{TagKeys::kProject, Array{"None", "Work"}}},
         {{"kMDItemDueDate", due}}},
        {"empty keywords clear",
         {{TagKeys::kKeyWords, Array{}}, {TagKeys::kProject, Array{"A", "B"}}},
         {{"kMDItemProjects", Array{"A", "B"}}, {"kMDItemDueDate", due}}},
        {"priority 0 clears the rating; a priority written as text counts by its number",
         {{TagKeys::kPriority, 0}},
         {{"kMDItemDueDate", due}}},
        {"a priority written as text is mirrored as it is",
         {{TagKeys::kPriority, "3"}},
         {{"kMDItemStarRating", "3"}, {"kMDItemDueDate", due}}},
        {"the to-do link and its completion",
         {{TagKeys::kICalUID, "U-1"}, {TagKeys::kICalCompletionDate, done}},
         {{"lumettaICalUID", "U-1"}, {"lumettaICalCompletionDate", done}, {"kMDItemDueDate", due}}},
        {"a date without a state is written",
         {{TagKeys::kDueDate, at("2026-04-01T00:00:00+02:00")}},
         {{"kMDItemDueDate", at("2026-04-01T00:00:00+02:00")}}},
        {"state off clears the date",
         {{TagKeys::kDueDate, due}, {TagKeys::kDueDateState, 0}},
         {}},
        {"no state and no date leave the date as it was", {}, {{"kMDItemDueDate", due}}},
    };
    for (const Case& c : cases) {
        auto message = add(1);
        const std::string path = message->path().string();
        for (const auto& [name, value] : everything.entries())
            ASSERT_TRUE(index().setAttribute(path, name, value).ok());
        sync(c.tags, message.get(), path);
        EXPECT_EQ(Value(mirrored(*message)), Value(c.expected)) << c.what;
    }
}

// Turning the due date off takes it out of the index while the record and the file
// keep it, so turning it on again brings the same date back.
TEST_F(SpotlightSyncTest, DueDateFollowsItsState) {
    auto message = add(1);
    const Date due = at("2026-03-27T12:00:00+01:00");
    MessageTags::lumettaSetExtraData(*message, due, TagKeys::kDueDate);
    MessageTags::lumettaSetExtraData(*message, 1, TagKeys::kDueDateState);
    EXPECT_EQ(mirrored(*message).get("kMDItemDueDate"), Value(due));

    MessageTags::lumettaSetExtraData(*message, 0, TagKeys::kDueDateState);
    EXPECT_TRUE(mirrored(*message).get("kMDItemDueDate").isNull());
    EXPECT_EQ(filePlist(message->path()).get(TagKeys::kDueDate), Value(due));

    // A state without a date in the dictionary takes the date from the file.
    sync({{TagKeys::kDueDateState, 1}}, message.get(), message->path().string());
    EXPECT_EQ(mirrored(*message).get("kMDItemDueDate"), Value(due));
}

// Only the legacy single-valued project goes, silently; projects are written anew.
TEST_F(SpotlightSyncTest, LegacyProjectAttributeIsRemoved) {
    auto message = add(1);
    const std::string path = message->path().string();
    ASSERT_TRUE(index().setAttribute(path, "kMDItemProject", "Old single").ok());
    platform::ScopedLogCapture log;
    platform::UserDefaults::standard().setObject(1, "lumettaDebugLogging");
    sync({{TagKeys::kProject, "Apollo"}}, message.get(), path);
    EXPECT_TRUE(index().attribute(path, "kMDItemProject").isNull());
    EXPECT_FALSE(log.contains("kMDItemProject in Spotlight"));
}

// A file the index does not know is looked for where the client keeps the message
// otherwise; when none is known, nothing happens and nothing is said.
TEST_F(SpotlightSyncTest, FindsTheItemAtTheMessagesOtherPlaces) {
    auto message = add(1);
    const std::string path = message->path().string();
    const std::string partial = mailhost::Library::dataPathForMessage(message.get(), 1);
    ASSERT_TRUE(index().removeItem(path).ok());
    ASSERT_TRUE(index().setAttribute(partial, "kMDItemSubject", "x").ok());
    sync({{TagKeys::kKeyWords, Array{"Work"}}}, message.get(), path);
    EXPECT_EQ(index().attribute(partial, "kMDItemKeywords"), Value(Array{"Work"}));
    EXPECT_FALSE(index().hasItem(path));

    ASSERT_TRUE(index().removeItem(partial).ok());
    platform::ScopedLogCapture log;
    platform::UserDefaults::standard().setObject(2, "lumettaDebugLogging");
    auto loose = mailhost::RecoveredMessage::withPath(path);
    sync({{TagKeys::kKeyWords, Array{"Work"}}}, loose.get(), path);
    EXPECT_EQ(index().itemCount(), 0u);
    EXPECT_TRUE(log.lines().empty());
}

// The trace: nothing at level 0, a line per write and per clearing above it, and the
// before-and-after dumps only above 1. Clearing what is not there says nothing.
TEST_F(SpotlightSyncTest, TracesAtTheDebugLevels) {
    auto message = add(1);
    const std::string path = message->path().string();
    ASSERT_TRUE(index().setAttribute(path, "kMDItemStarRating", 2).ok());
    const Dictionary tags{{TagKeys::kKeyWords, Array{"Work"}}};
    const std::string writing = "Writing keywords \"(\n    Work\n)\" to Spotlight for MessageFile " + path;
    const std::string clearing = "Clearing kMDItemStarRating in Spotlight for MessageFile " + path;
    struct Case {
        int level;
        std::size_t lines;
        bool dumps;
    };
    for (const Case c : {Case{0, 0, false}, Case{1, 2, false}, Case{2, 5, true}}) {
        ASSERT_TRUE(index().setAttribute(path, "kMDItemStarRating", 2).ok());
        platform::UserDefaults::standard().setObject(c.level, "lumettaDebugLogging");
        platform::ScopedLogCapture log;
        sync(tags, message.get(), path);
        EXPECT_EQ(log.lines().size(), c.lines) << "level " << c.level;
        if (c.level > 0) {
            EXPECT_TRUE(log.contains(writing)) << "level " << c.level;
            EXPECT_TRUE(log.contains(clearing)) << "level " << c.level;
        }
        EXPECT_EQ(log.contains("Existing SpotlightData for file " + path), c.dumps);
        EXPECT_EQ(log.contains("Updated SpotlightData for file " + path), c.dumps);
    }
}

// The queries smart mailboxes are answered with, over a library tagged through the tag
// store on Wednesday 25 March 2026, select what the tags say.
TEST_F(SpotlightSyncTest, TagQueriesFindWhatWasTagged) {
    platform::ScopedFixedClock clock{at("2026-03-25T15:30:00+01:00")};
    struct Tagging {
        Dictionary tags;
    };
    const Tagging taggings[] = {
        {{{TagKeys::kKeyWords, Array{"Work", "Invoice"}}, {TagKeys::kPriority, 3}}},
        {{{TagKeys::kKeyWords, Array{"w\u00F6rk"}}, {TagKeys::kProject, "Apollo"}}},
        {{{TagKeys::kKeyWords, Array{"x"}}, {TagKeys::kProject, Array{"None"}}, {TagKeys::kPriority, "5"}}},
        {{{TagKeys::kDueDate, at("2026-03-27T09:00:00+01:00")}, {TagKeys::kDueDateState, 1}}},
        {{{TagKeys::kDueDate, at("2026-03-26T09:00:00+01:00")}, {TagKeys::kDueDateState, 0}}},
        {{{TagKeys::kAnnotation, "Call Bob about the INVOICE"}, {TagKeys::kICalUID, "U-6"}}},
    };
    std::vector<std::int64_t> ids;
    BulkTagChange change;
    for (std::size_t i = 0; i < std::size(taggings); ++i) {
        auto message = add(static_cast<int>(i + 1));
        ids.push_back(message->libraryID());
        for (const auto& [key, value] : taggings[i].tags.entries())
            change.set(message, key, value);
    }
    change.commit();

    struct Case {
        const char* query;
        std::set<int> selects; // positions in `taggings`, from 1
    };
    const Case cases[] = {
        {"kMDItemKeywords == \"Work\"cd", {1, 2}},
        {"kMDItemKeywords == \"*vo*\"cd ", {1}},
        {"kMDItemProjects != \"*\"cd ", {1, 3, 4, 5, 6}},
        {"kMDItemProjects = \"apollo\"cd ", {2}},
        {"(kMDItemKeywords != \"x\"cd || kMDItemKeywords !=\"*\"cd) ", {1, 2, 4, 5, 6}},
        {"kMDItemStarRating > \"2\"cd", {1, 3}},
        {"kMDItemDueDate>$time.today && kMDItemDueDate<$time.today(3)", {4}},
        {"kMDItemDueDate!=\"*\"cd", {1, 2, 3, 5, 6}},
        {"kMDItemComment == \"*bob*\"cd", {6}},
        {"lumettaICalUID == \"*\"cd", {6}},
        {"lumettaICalCompletionDate != \"*\"cd", {1, 2, 3, 4, 5, 6}},
    };
    for (const Case& c : cases) {
        auto found = platform::spotlight::QueryEvaluator(index()).evaluate(c.query);
        ASSERT_TRUE(found.ok()) << c.query << ": " << found.error().message;
        std::set<int> got;
        for (const std::string& path : found.value())
            if (auto where = library_->layout().locate(path))
                for (std::size_t i = 0; i < ids.size(); ++i)
                    if (ids[i] == where->rowid)
                        got.insert(static_cast<int>(i + 1));
        EXPECT_EQ(got, c.selects) << c.query;
    }
}

} // namespace
