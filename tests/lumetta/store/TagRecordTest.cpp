#include "lumetta/store/TagRecord.h"

#include "lumetta/store/TagKeys.h"

#include <gtest/gtest.h>

using namespace lumetta;
using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::Set;
using platform::Value;

namespace {

// The two "tags present" tests disagree on purpose: the icon in the list shows any
// tag key in memory, the file test only tags that mean something.
struct PresenceCase {
    const char* name;
    Dictionary record;
    bool inMemory;
    bool inFile;
};

TEST(TagRecordPresence, MemoryCountsAnyTagKeyFileCountsOnlyMeaningfulTags) {
    const PresenceCase cases[] = {
        {"nothing", Dictionary{}, false, false},
        {"host keys only", Dictionary{{"flags", 1}, {"subject", "x"}}, false, false},
        {"empty keyword list", Dictionary{{TagKeys::kKeyWords, Array{}}}, true, false},
        {"keyword", Dictionary{{TagKeys::kKeyWords, Array{"Work"}}}, true, true},
        {"project None", Dictionary{{TagKeys::kProject, "None"}}, true, false},
        {"project (None)", Dictionary{{TagKeys::kProject, Array{"None"}}}, true, false},
        {"project ()", Dictionary{{TagKeys::kProject, Array{}}}, true, false},
        {"project string", Dictionary{{TagKeys::kProject, "Apollo"}}, true, true},
        {"project array", Dictionary{{TagKeys::kProject, Array{"Apollo"}}}, true, true},
        {"empty note", Dictionary{{TagKeys::kAnnotation, ""}}, true, false},
        {"note", Dictionary{{TagKeys::kAnnotation, "call back"}}, true, true},
        {"priority 0", Dictionary{{TagKeys::kPriority, 0}}, true, false},
        {"priority 3", Dictionary{{TagKeys::kPriority, 3}}, true, true},
        {"due state 0", Dictionary{{TagKeys::kDueDateState, 0}, {TagKeys::kDueDate, Date{8e8}}}, true, false},
        {"due state 1", Dictionary{{TagKeys::kDueDateState, 1}}, true, true},
        {"to-do link only", Dictionary{{TagKeys::kICalUID, "uid-1"}}, true, false},
        {"show as subject only", Dictionary{{TagKeys::kShowNoteAsSubject, 1}}, true, false},
        {"any prefixed key", Dictionary{{"lumettaSomethingNew", "x"}}, true, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(TagRecord::hasTagKeys(c.record), c.inMemory) << c.name;
        EXPECT_EQ(TagRecord::presentInFile(c.record), c.inFile) << c.name;
    }
}

// A key is never both present and pending removal, whichever form the removal
// collection has; the collection never holds a key twice.
TEST(TagRecordRemovalSet, SetRemoveSetLeavesTheKeyPresentAndNotPending) {
    for (const Value& initial : {Value(), Value(Set{}), Value(Array{TagKeys::kAnnotation})}) {
        Dictionary record;
        if (!initial.isNull())
            record.set(TagKeys::kTagsToRemove, initial);
        TagRecord::setTag(record, TagKeys::kProject, "Apollo");
        TagRecord::removeTag(record, TagKeys::kProject);
        TagRecord::removeTag(record, TagKeys::kProject);
        EXPECT_FALSE(record.contains(TagKeys::kProject));
        EXPECT_TRUE(TagRecord::isRemovalPending(record, TagKeys::kProject));
        const auto pending = TagRecord::pendingRemovals(record);
        EXPECT_EQ(std::count(pending.begin(), pending.end(), TagKeys::kProject), 1);

        TagRecord::setTag(record, TagKeys::kProject, "Zephyr");
        EXPECT_EQ(record.get(TagKeys::kProject), Value("Zephyr"));
        EXPECT_FALSE(TagRecord::isRemovalPending(record, TagKeys::kProject));
        // An array stays an array: rule actions read it back as one.
        EXPECT_EQ(record.get(TagKeys::kTagsToRemove).isArray(), initial.isArray());
    }
}

TEST(TagRecordRemovalSet, RemovingANeverSetKeyMakesItPendingAndANullSetRemoves) {
    Dictionary record{{TagKeys::kKeyWords, Array{"Work"}}};
    TagRecord::removeTag(record, TagKeys::kAnnotation);
    EXPECT_TRUE(record.get(TagKeys::kTagsToRemove).isSet());
    EXPECT_TRUE(TagRecord::isRemovalPending(record, TagKeys::kAnnotation));
    TagRecord::setTag(record, TagKeys::kKeyWords, Value());
    EXPECT_FALSE(record.contains(TagKeys::kKeyWords));
}

// Merging: the source's tag keys win, its pending removals are carried out unless
// the source has the key after all, and nothing without the prefix crosses over.
TEST(TagRecordMerge, SourceTagsWinRemovalsApplyHostKeysStay) {
    Dictionary target{{"flags", 8},
                      {TagKeys::kProject, "Old"},
                      {TagKeys::kAnnotation, "file note"},
                      {TagKeys::kPriority, 2},
                      {"lumettaKept", "file only"}};
    const Dictionary source{{"flags", 99},
                            {"subject", "never copied"},
                            {TagKeys::kProject, Array{"Apollo"}},
                            {TagKeys::kPriority, 4},
                            {TagKeys::kTagsToRemove, Array{TagKeys::kAnnotation, TagKeys::kPriority}}};
    TagRecord::mergeTagKeys(target, source);
    EXPECT_EQ(target.get("flags"), Value(8));
    EXPECT_FALSE(target.contains("subject"));
    EXPECT_FALSE(target.contains(TagKeys::kTagsToRemove));
    EXPECT_EQ(target.get(TagKeys::kProject), Value(Array{"Apollo"}));
    EXPECT_FALSE(target.contains(TagKeys::kAnnotation));
    EXPECT_EQ(target.get(TagKeys::kPriority), Value(4)) << "a value in the source outweighs its removal";
    EXPECT_EQ(target.get("lumettaKept"), Value("file only"));
}

// Readers see a project in either form and a due date only while its state is on.
// A save brings in only what this process changed since the file held `asSaved`, over
// what the file holds now: another process's changes to the same messages survive.
struct ChangeCase {
    const char* name;
    Dictionary asSaved;
    Dictionary record;
    Dictionary fileNow;
    Dictionary expected;
};

TEST(TagRecordMerge, ChangesGoOverTheFileAsItIsNowAndKeepOthersChanges) {
    const char* kw = TagKeys::kKeyWords;
    const char* project = TagKeys::kProject;
    const ChangeCase cases[] = {
        {"both added a keyword", Dictionary{}, Dictionary{{kw, Array{"B"}}}, Dictionary{{kw, Array{"A"}}},
         Dictionary{{kw, Array{"A", "B"}}}},
        {"added one, the other removed one", Dictionary{{kw, Array{"A", "B"}}},
         Dictionary{{kw, Array{"A", "B", "C"}}}, Dictionary{{kw, Array{"B"}}},
         Dictionary{{kw, Array{"B", "C"}}}},
        {"removed the last keyword", Dictionary{{kw, Array{"A"}}}, Dictionary{}, Dictionary{{kw, Array{"A"}}},
         Dictionary{}},
        {"removed one the other also added again", Dictionary{{kw, Array{"A"}}}, Dictionary{{kw, Array{}}},
         Dictionary{{kw, Array{"A", "X"}}}, Dictionary{{kw, Array{"X"}}}},
        {"keyword already there once", Dictionary{}, Dictionary{{kw, Array{"A"}}},
         Dictionary{{kw, Array{"A"}}}, Dictionary{{kw, Array{"A"}}}},
        {"unchanged keys keep the file's value", Dictionary{{project, "Apollo"}},
         Dictionary{{project, "Apollo"}, {TagKeys::kPriority, 3}}, Dictionary{{project, "Gemini"}},
         Dictionary{{project, "Gemini"}, {TagKeys::kPriority, 3}}},
        {"a changed key takes this side's value", Dictionary{{project, "Apollo"}},
         Dictionary{{project, "Mercury"}}, Dictionary{{project, "Gemini"}}, Dictionary{{project, "Mercury"}}},
        {"a removed key goes even if the file changed it", Dictionary{{project, "Apollo"}}, Dictionary{},
         Dictionary{{project, "Gemini"}}, Dictionary{}},
        {"a key someone else added stays", Dictionary{}, Dictionary{{TagKeys::kAnnotation, "n"}},
         Dictionary{{project, "Gemini"}}, Dictionary{{project, "Gemini"}, {TagKeys::kAnnotation, "n"}}},
        {"a removal asked for goes though the record never held the key", Dictionary{},
         Dictionary{{TagKeys::kTagsToRemove, Set{project}}}, Dictionary{{project, "Gemini"}}, Dictionary{}},
        {"a removal carried out before is not made again",
         Dictionary{{TagKeys::kTagsToRemove, Array{project}}},
         Dictionary{{TagKeys::kTagsToRemove, Set{project}}}, Dictionary{{project, "Gemini"}},
         Dictionary{{project, "Gemini"}}},
        {"host keys are left alone", Dictionary{}, Dictionary{{"flags", 9}, {kw, Array{"B"}}},
         Dictionary{{"flags", 1}}, Dictionary{{"flags", 1}, {kw, Array{"B"}}}},
    };
    for (const auto& c : cases) {
        Dictionary file = c.fileNow.mutableCopy();
        TagRecord::mergeChanges(file, c.record, c.asSaved);
        EXPECT_EQ(Value(file), Value(c.expected)) << c.name;
    }
}

// The record learns what the save wrote, and the snapshot does not follow later edits.
TEST(TagRecordMerge, TakeTagsAndSnapshotKeepTheirOwnContainers) {
    Array keywords{"A"};
    Dictionary record{{TagKeys::kKeyWords, keywords}, {TagKeys::kProject, "Apollo"}, {"flags", 1}};
    const Dictionary snapshot = TagRecord::tagSnapshot(record);
    keywords.add("B");
    EXPECT_EQ(snapshot.get(TagKeys::kKeyWords), Value(Array{"A"}));
    EXPECT_FALSE(snapshot.contains("flags"));

    TagRecord::takeTags(record, Dictionary{{TagKeys::kKeyWords, Array{"A", "C"}}});
    EXPECT_EQ(Value(record), Value(Dictionary{{TagKeys::kKeyWords, Array{"A", "C"}}, {"flags", 1}}));
}

TEST(TagRecordReaders, ProjectInEitherFormAndDueDateOnlyWhileInForce) {
    EXPECT_EQ(TagRecord::projectTitle("Apollo"), "Apollo");
    EXPECT_EQ(TagRecord::projectTitle(Array{"Apollo", "ignored"}), "Apollo");
    EXPECT_EQ(TagRecord::projectTitle(Array{"None"}), std::nullopt);
    EXPECT_EQ(TagRecord::projectTitle(Value(3)), std::nullopt);

    const Date due{8e8};
    EXPECT_TRUE(TagRecord::dueDate(Dictionary{{TagKeys::kDueDate, due}}).isNull());
    EXPECT_TRUE(
        TagRecord::dueDate(Dictionary{{TagKeys::kDueDate, due}, {TagKeys::kDueDateState, 0}}).isNull());
    EXPECT_EQ(TagRecord::dueDate(Dictionary{{TagKeys::kDueDate, due}, {TagKeys::kDueDateState, 1}}),
              Value(due));
}

} // namespace
