#include "ViewerSupport.h"
#include "lumetta/viewer/LumettaExtraDialogsOwner.h"
#include "mailhost/viewer/DialogAnswers.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Assertion.h"

#include <stdexcept>

using namespace viewertest;
using lumetta::LumettaExtraDialogsOwner;
using mailhost::DialogAnswers;
using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::UserDefaults;
using platform::Value;

namespace {

constexpr const char* kNote = "lumettaAnnotation";

class DialogCommandsTest : public ViewerTest {
protected:
    void answer(const char* dialog, Dictionary values) {
        DialogAnswers::shared().push(dialog, std::move(values));
    }
    static Array keywordList(std::initializer_list<const char*> titles) {
        Array list;
        for (const char* t : titles)
            list.add(Dictionary{{"title", t}});
        return list;
    }
    void countListNotices() {
        for (const char* name : {"LUKeywordListWasModified", "LUProjectListWasModified"})
            platform::NotificationCenter::defaultCenter().addObserver(
                name, nullptr, [this, name](const auto& n) { notices_.emplace_back(name, n.userInfo); },
                this);
    }
    std::vector<std::pair<std::string, Dictionary>> notices_;
};

// Notes: placement decides the order, with no separator; an empty note with
// "replace" deletes it.
TEST_F(DialogCommandsTest, NotePlacement) {
    struct Case {
        int placement;
        const char* note;
        Value existing;
        Value stored;
    } cases[] = {
        {0, "X", "Y", "X"},    {1, "X", "Y", "XY"},  {2, "X", "Y", "YX"},
        {0, "", "Y", Value()}, {2, "", Value(), ""}, // an empty note after nothing is kept
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.placement) + " " + c.note);
        auto m = add(1, c.existing.isNull() ? Dictionary{} : Dictionary{{kNote, c.existing}});
        select({m});
        answer(DialogAnswers::kEditNote, {{"noteField", c.note}, {"notePlacementPopup", c.placement}});
        sendAction("lumettaSetNote:");
        EXPECT_TRUE(record(*m).get(kNote).isEqual(c.stored));
        EXPECT_TRUE(fileTags(*m).get(kNote).isEqual(c.stored));
    }
}

// "$date" becomes today, in the user's note date format or %m/%d/%Y.
TEST_F(DialogCommandsTest, NoteDateToken) {
    platform::ScopedFixedClock clock{Date::fromUnix(1204891200)}; // 7 March 2008, 13:00 in Berlin
    auto m = add(1);
    select({m});
    answer(DialogAnswers::kEditNote, {{"noteField", "Call on $date"}});
    sendAction("lumettaSetNote:");
    EXPECT_EQ(record(*m).get(kNote).stringValue(), "Call on 03/07/2008");
    UserDefaults::standard().setObject("%d.%m.%Y", "lumettaDateFormatForNote");
    answer(DialogAnswers::kEditNote, {{"noteField", " ($date, $date)"}, {"notePlacementPopup", 2}});
    sendAction("lumettaSetNote:");
    EXPECT_EQ(record(*m).get(kNote).stringValue(), "Call on 03/07/2008 (07.03.2008, 07.03.2008)");
}

// A dialog ended with Cancel, or with no one to answer it, changes and posts nothing.
TEST_F(DialogCommandsTest, CancelChangesNothing) {
    auto m = add(1, {{kNote, "keep"}, {"lumettaProject", "Keep"}});
    select({m});
    answer(DialogAnswers::kEditNote, {{"noteField", "new"}, {DialogAnswers::kOK, false}});
    sendAction("lumettaSetNote:");
    for (const char* action : {"lumettaEditDueDate:", "setOtherProject:", "lumettaSetKeywords:"})
        sendAction(action);
    EXPECT_EQ(rulesApplied(), 0);
    EXPECT_EQ(record(*m).get(kNote).stringValue(), "keep");
    EXPECT_EQ(record(*m).get("lumettaProject").stringValue(), "Keep");
}

// The due-date dialog: the set tab sets, switches off or deletes; the move tab shifts.
TEST_F(DialogCommandsTest, DueDateDialog) {
    platform::ScopedFixedClock clock{Date{726000000}};
    const Date due{700000000};
    auto m = add(1, {{"lumettaDueDate", due}, {"lumettaDueDateState", 1}});
    select({m});
    answer(DialogAnswers::kDueDate, {{"dueDateTabView", "2"}, {"moveDateField", "3"}});
    sendAction("lumettaEditDueDate:");
    EXPECT_TRUE(record(*m).get("lumettaDueDate").isEqual(Date{700000000 + 3 * 86400}));
    answer(DialogAnswers::kDueDate, {{"setDateTo", 0}, {"clearExistingDueDateSwitch", 0}});
    sendAction("lumettaEditDueDate:");
    EXPECT_EQ(record(*m).get("lumettaDueDateState").intValue(), 0);
    answer(DialogAnswers::kDueDate,
           {{"dueDateTabView", "2"}, {"moveDateField", "1"}, {"moveDateUseTodayButton", 1}});
    sendAction("lumettaEditDueDate:");
    EXPECT_TRUE(record(*m).get("lumettaDueDate").isEqual(Date{726000000 + 86400}));
    answer(DialogAnswers::kDueDate, {{"dueDatePicker", due}});
    sendAction("lumettaEditDueDate:");
    EXPECT_TRUE(fileTags(*m).get("lumettaDueDate").isEqual(due));
    answer(DialogAnswers::kDueDate, {{"setDateTo", 0}, {"clearExistingDueDateSwitch", 1}});
    sendAction("lumettaEditDueDate:");
    EXPECT_TRUE(fileTags(*m).empty());
}

// The keyword dialog opens with every row unchecked; OK with nothing checked gives nil,
// which "set" turns into deleting the keywords and "add" ignores.
TEST_F(DialogCommandsTest, KeywordDialogWithNothingChecked) {
    UserDefaults::standard().setObject(keywordList({"Work", "-", "Home"}), "lumettaKeyWords");
    auto m = add(1, {{"lumettaKeyWords", Array{"Work"}}});
    select({m});
    LumettaExtraDialogsOwner owner;
    answer(DialogAnswers::kEditKeywords, {});
    ASSERT_TRUE(owner.editKeywordsOfMessages(viewer_->selectedMessages(), viewer_.get(), 3));
    ASSERT_EQ(owner.keywordList().count(), 2u); // the separator is no keyword
    EXPECT_EQ(owner.keywordList().at(0).dictionary()->get("state").intValue(), 0);
    EXPECT_TRUE(owner.selectedKeywords().isNull());

    answer(DialogAnswers::kEditKeywords, {{"editKeywordActionPopup", 1}});
    sendAction("lumettaSetKeywords:");
    EXPECT_EQ(rulesApplied(), 0);
    answer(DialogAnswers::kEditKeywords, {});
    sendAction("lumettaSetKeywords:");
    EXPECT_FALSE(record(*m).contains("lumettaKeyWords"));
    EXPECT_TRUE(pendingRemoval(*m, "lumettaKeyWords"));
}

// Checked rows come back in row order: list keywords first, typed ones after.
TEST_F(DialogCommandsTest, KeywordDialogAddsCheckedRowsInRowOrder) {
    UserDefaults::standard().setObject(keywordList({"Work", "Home"}), "lumettaKeyWords");
    auto m = add(1, {{"lumettaKeyWords", Array{"Old"}}});
    select({m});
    answer(DialogAnswers::kEditKeywords,
           {{"editKeywordActionPopup", 1}, {DialogAnswers::kCheckedKeywords, Array{"Typed", "Home"}}});
    sendAction("lumettaSetKeywords:");
    EXPECT_TRUE(record(*m).get("lumettaKeyWords").isEqual(Array{"Old", "Home", "Typed"}));
    EXPECT_EQ(UserDefaults::standard().valueForKey("lumettaKeyWords").array()->count(), 2u);
}

// Typing a keyword: with the switch off only the table has it; on, the list gets it.
TEST_F(DialogCommandsTest, AddKeywordActionAndTheListSwitch) {
    UserDefaults::standard().setObject(keywordList({"Work"}), "lumettaKeyWords");
    LumettaExtraDialogsOwner owner;
    const auto& o = owner.outlets();
    for (int toList : {0, 1}) {
        o.addToKeywordListSwitch->setState(toList);
        o.selectKeyWordField->setStringValue(toList ? "Listed" : "Once");
        owner.addKeywordAction(nullptr);
        EXPECT_EQ(o.selectKeyWordField->stringValue(), "");
    }
    o.selectKeyWordField->setStringValue("");
    owner.addKeywordAction(nullptr); // empty text adds nothing
    ASSERT_EQ(owner.keywordList().count(), 2u);
    EXPECT_EQ(owner.keywordList().at(0).dictionary()->get("type").stringValue(), "message");
    EXPECT_EQ(owner.keywordList().at(1).dictionary()->get("type").stringValue(), "preference");
    EXPECT_TRUE(owner.selectedKeywords().isEqual(Array{"Once", "Listed"}));
    EXPECT_TRUE(
        UserDefaults::standard().valueForKey("lumettaKeyWords").isEqual(keywordList({"Work", "Listed"})));
    // A click flips a row.
    o.keywordTableView->selectRowIndexes({0});
    owner.keywordTableViewSelected(o.keywordTableView.get());
    EXPECT_TRUE(owner.selectedKeywords().isEqual(Array{"Listed"}));
    EXPECT_EQ(owner.tableViewObjectValue(o.keywordTableView.get(), "label", 1).stringValue(), "Listed");
    EXPECT_EQ(owner.tableViewObjectValue(o.keywordTableView.get(), "state", 0).intValue(), 0);
}

// Other project: OK sets the project; with the switch on the list grows and says so.
TEST_F(DialogCommandsTest, OtherProject) {
    countListNotices();
    auto m = add(1);
    select({m});
    answer(DialogAnswers::kOtherProject, {{"otherProjectField", "Zephyr"}});
    sendAction("setOtherProject:");
    EXPECT_EQ(fileTags(*m).get("lumettaProject").stringValue(), "Zephyr");
    EXPECT_TRUE(notices_.empty());
    answer(DialogAnswers::kOtherProject, {{"otherProjectField", "Apollo"}, {"addToProjectListSwitch", 1}});
    sendAction("setOtherProject:");
    EXPECT_TRUE(UserDefaults::standard().valueForKey("lumettaProjects").isEqual(keywordList({"Apollo"})));
    ASSERT_EQ(notices_.size(), 1u);
    EXPECT_EQ(notices_[0].first, "LUProjectListWasModified");
    // The modal form gives nil for empty text.
    LumettaExtraDialogsOwner owner;
    answer(DialogAnswers::kOtherProject, {{"otherProjectField", ""}, {"addToProjectListSwitch", 1}});
    EXPECT_FALSE(owner.runProjectModal());
    EXPECT_EQ(notices_.size(), 1u);
}

TEST_F(DialogCommandsTest, OtherKeywordModalAppendsAndAnnouncesTheList) {
    countListNotices();
    LumettaExtraDialogsOwner owner;
    answer(DialogAnswers::kOtherKeyword,
           {{"kwmodal_keywordField", "Travel"}, {"kwmodal_addToKeywordList", 1}});
    EXPECT_EQ(owner.runKeywordModal(), std::optional<std::string>("Travel"));
    EXPECT_TRUE(owner.shouldAppendToKeywordList());
    ASSERT_EQ(notices_.size(), 1u);
    EXPECT_TRUE(notices_[0].second.get("keywordArray").isEqual(keywordList({"Travel"})));
}

// Without any way to show them, the dialogs fail as an interface file that does not load.
TEST_F(DialogCommandsTest, NoPresenterIsAnInterfaceFailure) {
    auto presenter = LumettaExtraDialogsOwner::presenter();
    LumettaExtraDialogsOwner::setPresenter(nullptr);
    auto previous = platform::runtime::Assertion::setHandler(
        [](std::string_view, int, std::string_view text) { throw std::runtime_error(std::string(text)); });
    LumettaExtraDialogsOwner owner;
    try {
        owner.editNotesForViewer(viewer_.get());
        ADD_FAILURE() << "no failure";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(),
                     "### Lumetta: -[OtherProjectDialog]: Unable to load nib named OtherProjectDialog");
    }
    platform::runtime::Assertion::setHandler(previous);
    LumettaExtraDialogsOwner::setPresenter(presenter);
}

} // namespace
