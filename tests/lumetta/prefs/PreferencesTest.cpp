#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/prefs/ImmutableToMutableArrayOfObjectsTransformer.h"
#include "lumetta/prefs/LumettaPreferencesModule.h"
#include "mailhost/HostClasses.h"
#include "mailhost/viewer/DraggingInfo.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <stdlib.h>

using namespace lumetta;
using mailhost::Control;
using mailhost::DraggingInfo;
using mailhost::Pasteboard;
using mailhost::TableView;
using platform::Array;
using platform::Dictionary;
using platform::UserDefaults;
using platform::Value;

namespace {

Array entries(std::initializer_list<const char*> titles) {
    Array list;
    for (const char* t : titles)
        list.add(Dictionary{{"title", t}});
    return list;
}

std::vector<std::string> titles(const Array& list) {
    std::vector<std::string> out;
    for (const Value& e : list.items())
        out.push_back(e.dictionary()->get("title").stringValue());
    return out;
}

// Each test has settings of its own and a pane freshly filled from them.
class PreferencesTest : public ::testing::Test {
protected:
    void SetUp() override {
        mailhost::registerHostClasses();
        loadCategories();
        char tmpl[] = "/tmp/lumetta-prefs-XXXXXX";
        root_ = ::mkdtemp(tmpl);
        ::setenv("XDG_CONFIG_HOME", root_.c_str(), 1);
        UserDefaults::resetStandardForTesting();
        UserDefaults::standard().setObject(entries({"A", "B", "C", "D", "E"}), "lumettaKeyWords");
        module_ = std::make_unique<LumettaPreferencesModule>(&LumettaPreferencesModule::registerClass());
        module_->initializeFromDefaults();
    }
    void TearDown() override {
        platform::NotificationCenter::defaultCenter().removeObserversOwnedBy(this);
        module_.reset();
        std::filesystem::remove_all(root_);
    }
    TagListArrayController& keywords() { return *module_->outlets().keyWordArrayController; }
    TableView* keywordTable() { return module_->outlets().keyWordTable.get(); }
    // Drags rows within the keyword table and drops them at `row`, as the table does.
    bool drag(const Array& rows, int row) {
        auto board = Pasteboard::make();
        EXPECT_TRUE(keywords().tableViewWriteRows(keywordTable(), rows, board.get()));
        DraggingInfo info(keywordTable(), board.get());
        EXPECT_EQ(keywords().tableViewValidateDrop(keywordTable(), info, row, TableView::DropOn),
                  TableView::kDragOperationMove);
        EXPECT_EQ(keywordTable()->dropOperation(), TableView::DropAbove);
        return keywords().tableViewAcceptDrop(keywordTable(), info, keywordTable()->dropRow(),
                                              TableView::DropAbove);
    }

    std::filesystem::path root_;
    std::unique_ptr<LumettaPreferencesModule> module_;
};

// Dragging rows keeps them in their order where the drop was aimed and selects them there.
TEST_F(PreferencesTest, DragToReorder) {
    struct Case {
        Array rows;
        int row;
        std::vector<std::string> order;
        std::vector<std::size_t> selected;
    } cases[] = {
        {Array{0, 2}, 4, {"B", "D", "A", "C", "E"}, {2, 3}},
        {Array{2}, 2, {"A", "B", "C", "D", "E"}, {2}}, // onto itself
        {Array{2}, 3, {"A", "B", "C", "D", "E"}, {2}}, // just below itself
        {Array{3, 4}, 1, {"A", "D", "E", "B", "C"}, {1, 2}},
        {Array{4, 0}, 5, {"B", "C", "D", "A", "E"}, {3, 4}},
        {Array{1}, -3, {"B", "A", "C", "D", "E"}, {0}}, // above the top
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Value(c.rows).description() + " to " + std::to_string(c.row));
        UserDefaults::standard().setObject(entries({"A", "B", "C", "D", "E"}), "lumettaKeyWords");
        keywords().loadFromDefaults();
        ASSERT_TRUE(drag(c.rows, c.row));
        EXPECT_EQ(titles(keywords().arrangedObjects()), c.order);
        EXPECT_EQ(titles(*UserDefaults::standard().valueForKey("lumettaKeyWords").array()), c.order);
        EXPECT_EQ(keywordTable()->selectedRowIndexes(), c.selected);
    }
}

// Only drags from the list's own table reorder it.
TEST_F(PreferencesTest, DragsFromElsewhereAreRefused) {
    auto board = Pasteboard::make();
    auto other = TableView::make("other");
    keywords().tableViewWriteRows(other.get(), Array{0}, board.get());
    DraggingInfo info(other.get(), board.get());
    EXPECT_EQ(keywords().tableViewValidateDrop(keywordTable(), info, 3, TableView::DropOn),
              TableView::kDragOperationCopy);
    EXPECT_FALSE(keywords().tableViewAcceptDrop(keywordTable(), info, 3, TableView::DropAbove));
    EXPECT_EQ(titles(keywords().arrangedObjects()), (std::vector<std::string>{"A", "B", "C", "D", "E"}));
    EXPECT_EQ(TagListArrayController::rowsAboveRow(3, {0, 2, 3, 4}), 2u);
}

// The controller edits copies: the stored list changes only when the controller stores it.
TEST_F(PreferencesTest, TransformerGivesSeparateMutableEntries) {
    ImmutableToMutableArrayOfObjectsTransformer t;
    EXPECT_TRUE(t.transformedValue(Value()).isNull());
    const Array stored = entries({"A"});
    const Value copy = t.transformedValue(stored);
    Dictionary(*copy.array()->at(0).dictionary()).set("title", "Z");
    EXPECT_EQ(titles(stored), (std::vector<std::string>{"A"}));
    EXPECT_TRUE(t.reverseTransformedValue(copy).array()->sameReference(*copy.array()));
    EXPECT_TRUE(ValueTransformer::valueTransformerForName("ImmutableToMutableArrayOfObjects"));
}

// Adding an entry: a localised title at the end, selected and being edited; what is
// typed lands in the settings.
TEST_F(PreferencesTest, AddEntries) {
    module_->addProject(nullptr);
    auto* projects = module_->outlets().projectsTable.get();
    EXPECT_EQ(titles(*UserDefaults::standard().valueForKey("lumettaProjects").array()),
              (std::vector<std::string>{"New Project"}));
    EXPECT_EQ(projects->editedRow(), std::optional<std::size_t>(0));
    EXPECT_TRUE(projects->editedTextSelected());
    ASSERT_TRUE(projects->endEditing("Apollo"));
    module_->addKeyWord(nullptr);
    EXPECT_EQ(keywordTable()->selectedRowIndexes(), std::vector<std::size_t>{5});
    ASSERT_TRUE(keywordTable()->endEditing("F"));
    EXPECT_EQ(titles(*UserDefaults::standard().valueForKey("lumettaProjects").array()),
              (std::vector<std::string>{"Apollo"}));
    EXPECT_EQ(titles(*UserDefaults::standard().valueForKey("lumettaKeyWords").array()).back(), "F");
}

// saveChanges announces both lists; the keyword notice carries the entries, and only
// when there are any.
TEST_F(PreferencesTest, SaveChangesAnnouncesTheLists) {
    std::vector<std::pair<std::string, Dictionary>> notices;
    for (const char* name : {"LUKeywordListWasModified", "LUProjectListWasModified"})
        platform::NotificationCenter::defaultCenter().addObserver(
            name, nullptr, [&, name](const auto& n) { notices.emplace_back(name, n.userInfo); }, this);
    module_->saveChanges();
    ASSERT_EQ(notices.size(), 2u);
    EXPECT_EQ(notices[0].first, "LUProjectListWasModified");
    EXPECT_TRUE(notices[0].second.empty());
    EXPECT_EQ(titles(*notices[1].second.get("keywordArray").array()).size(), 5u);
    for (int i = 4; i >= 0; --i)
        keywords().removeObjectAtArrangedObjectIndex(static_cast<std::size_t>(i));
    notices.clear();
    module_->saveChanges();
    EXPECT_EQ(notices.size(), 1u);
}

// The alarm time: two digits each, both ways.
TEST_F(PreferencesTest, AlarmTime) {
    auto picker = Control::make(Control::Kind::DatePicker);
    picker->setDateValue(*LumettaPreferencesModule::alarmTime("7:5"));
    module_->setAlarmTime(picker.get());
    EXPECT_EQ(UserDefaults::standard().stringForKey("lumettaAlarmTime"), "07:05");
    for (const char* bad : {"7", "7:05:00"})
        EXPECT_FALSE(LumettaPreferencesModule::alarmTime(bad)) << bad;
    UserDefaults::standard().setObject("18:30", "lumettaAlarmTime");
    UserDefaults::standard().setObject(1, "lumettaSetAlarmWithDueDate");
    module_->initializeFromDefaults();
    EXPECT_EQ(LumettaPreferencesModule::alarmTimeText(module_->outlets().alarmTimePicker->dateValue()),
              "18:30");
    EXPECT_TRUE(module_->outlets().alarmTimePicker->isEnabled());
    auto off = Control::make(Control::Kind::Button);
    module_->setAlarmWithDueDate(off.get());
    EXPECT_TRUE(UserDefaults::standard().valueForKey("lumettaSetAlarmWithDueDate").isEqual(0));
    EXPECT_FALSE(module_->outlets().alarmTimePicker->isEnabled());
}

// Only "Manually" shows the manual choice; the pop-ups write the two words.
TEST_F(PreferencesTest, PanelOptions) {
    struct Case {
        Value stored;
        int tag;
    } cases[] = {{"Manually", 0}, {"Automatically", 1}, {"manually", 1}, {Value(), 1}};
    for (const auto& c : cases) {
        UserDefaults::standard().setObject(c.stored, "lumettaShowTagsPanel");
        module_->initializeFromDefaults();
        EXPECT_EQ(module_->outlets().showTagsPopup->selectedTag(), c.tag) << c.stored.description();
    }
    auto popup = Control::make(Control::Kind::PopUpButton);
    for (int tag : {0, 1, 2}) {
        popup->selectItemWithTag(tag);
        module_->setHideTagsOption(popup.get());
        EXPECT_EQ(UserDefaults::standard().stringForKey("lumettaHideTagsPanel"),
                  tag == 0 ? "Manually" : "Automatically");
    }
}

// The calendar for messages without a project: none is the empty string.
TEST_F(PreferencesTest, CalendarWhenNoProject) {
    module_->outlets().fieldCalendarWhenNoProject->setStringValue("Work");
    auto choice = Control::make(Control::Kind::Matrix);
    choice->selectItemWithTag(1);
    module_->selectCalendarWhenNoProject(choice.get());
    EXPECT_EQ(UserDefaults::standard().stringForKey("lumettaDefaultCalendar"), "Work");
    choice->selectItemWithTag(0);
    module_->selectCalendarWhenNoProject(choice.get());
    EXPECT_TRUE(UserDefaults::standard().valueForKey("lumettaDefaultCalendar").isEqual(""));
    module_->outlets().fieldCalendarWhenNoProject->setStringValue("kept");
    module_->initializeFromDefaults();
    EXPECT_EQ(module_->outlets().fieldCalendarWhenNoProject->stringValue(), "kept");
}

} // namespace
