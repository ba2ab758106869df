#include "ViewerSupport.h"
#include "mailhost/viewer/Menu.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

using namespace viewertest;
using mailhost::Menu;
using mailhost::MenuItem;
using platform::Array;
using platform::Dictionary;
using platform::Value;
using platform::runtime::Object;
using platform::runtime::Sel;

namespace {

class MenuCommandsTest : public ViewerTest {
protected:
    // A top menu whose item tagged `parentTag` opens a submenu holding `item`.
    MenuItem& inSubmenu(int parentTag, const std::string& title, int itemTag) {
        top_ = Menu::make("Lumetta");
        auto parent = MenuItem::make("Parent", "", parentTag);
        auto submenu = Menu::make();
        auto item = MenuItem::make(title, "lumettaSubMenuItemAction:", itemTag);
        submenu->addItem(item);
        parent->setSubmenu(submenu);
        top_->addItem(MenuItem::make("Other", "", 9999));
        top_->addItem(parent);
        return *item;
    }
    void choose(MenuItem& item) { ASSERT_TRUE(viewer_->sendAction("lumettaSubMenuItemAction:", &item)); }
    std::shared_ptr<Menu> top_;
};

// One action serves every submenu; the parent item's tag tells them apart, and -1 clears.
TEST_F(MenuCommandsTest, SubmenuDispatch) {
    struct Case {
        int parentTag;
        const char* title;
        int itemTag;
        const char* key;
        Value expected;
    } cases[] = {
        {5001, "New", 0, "lumettaKeyWords", Array{"a", "b", "New"}},
        {5002, "a", 0, "lumettaKeyWords", Array{"b"}},
        {5002, "No Keywords", -1, "lumettaKeyWords", Value()},
        {5004, "Zephyr", 0, "lumettaProject", "Zephyr"},
        {5004, "None", -1, "lumettaProject", Value()},
        {5005, "High", 5, "lumettaPriority", 5},
        {5005, "Nothing", 0, "lumettaPriority", Value()},
        {5003, "Not dispatched", 7, "lumettaKeyWords", Array{"a", "b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.title);
        auto m = add(
            1, {{"lumettaKeyWords", Array{"a", "b"}}, {"lumettaProject", "Apollo"}, {"lumettaPriority", 2}});
        select({m});
        choose(inSubmenu(c.parentTag, c.title, c.itemTag));
        EXPECT_TRUE(record(*m).get(c.key).isEqual(c.expected));
        EXPECT_EQ(rulesApplied(), c.parentTag == 5003 ? 0 : 1);
    }
}

// An entry of a menu that no item opens, or no menu item at all, does nothing.
TEST_F(MenuCommandsTest, SubmenuWithoutParentDoesNothing) {
    auto m = add(1);
    select({m});
    auto loose = MenuItem::make("Work", "lumettaSubMenuItemAction:", 0);
    choose(*loose);
    ASSERT_TRUE(viewer_->sendAction("lumettaSubMenuItemAction:", nullptr));
    EXPECT_EQ(rulesApplied(), 0);
}

// Validation: the plug-in's own actions are enabled, titled and checked; the host
// answers for the rest.
TEST_F(MenuCommandsTest, Validation) {
    auto a = add(1), b = add(2);
    auto item = [](const char* action) {
        return MenuItem::make("Item", action);
    };
    select({a, b});
    EXPECT_FALSE(viewer_->validateMenuItem(item("lumettaTagMessage:").get())); // two selected
    EXPECT_TRUE(viewer_->validateMenuItem(item("lumettaClearAll:").get()));
    EXPECT_TRUE(viewer_->validateMenuItem(item("markAsFlagged:").get())); // the host's answer
    EXPECT_FALSE(viewer_->validateMenuItem(item("addKeywords:").get()));  // the host knows it not
    select({a});
    EXPECT_TRUE(viewer_->validateMenuItem(item("lumettaTagMessage:").get()));
    select({});
    EXPECT_FALSE(viewer_->validateMenuItem(item("markAsFlagged:").get()));

    auto column = item("toggleLumettaColumn:");
    column->setState(MenuItem::On);
    EXPECT_TRUE(viewer_->validateMenuItem(column.get()));
    EXPECT_EQ(column->state(), MenuItem::Off);
    viewer_->tableManager().setColumnVisible(24, true);
    viewer_->validateMenuItem(column.get());
    EXPECT_EQ(column->state(), MenuItem::On);

    auto panel = item("lumettaTogglePanel:");
    EXPECT_TRUE(viewer_->validateMenuItem(panel.get()));
    EXPECT_EQ(panel->title(), "Show Lumetta Panel");
}

// A stand-in for the tag panel: it records what it is asked to show.
struct FakePanel : Object {
    static platform::runtime::Class& cls() {
        auto& c = platform::runtime::Runtime::defineClass("ViewerTestPanel");
        c.addInstanceMethod(
            "displayGeneralFlag:", +[](Object* self, Sel, bool shown) {
                static_cast<FakePanel*>(self)->shown.push_back(shown);
                static_cast<FakePanel*>(self)->flag = shown;
            });
        c.addInstanceMethod(
            "generalFlagState", +[](Object* self, Sel) { return static_cast<FakePanel*>(self)->flag; });
        c.addInstanceMethod(
            "selectKeywords", +[](Object* self, Sel) { static_cast<FakePanel*>(self)->focused = true; });
        return c;
    }
    FakePanel() : Object(&cls()) {}
    std::vector<bool> shown;
    bool flag = false;
    bool focused = false;
};

// Flagging flags the files as the host does, then the panel shows the flag; unflagging
// shows the opposite of what the panel shows, whatever the messages are.
TEST_F(MenuCommandsTest, FlagCommandsKeepThePanelInStep) {
    auto m = add(1);
    FakePanel panel;
    select({m});
    viewer_->contentController()->setViewOwner(&panel);
    viewer_->markAsFlagged(nullptr);
    EXPECT_EQ(library_->message(m->libraryID())->flags() & 16, 16u);
    viewer_->markAsUnflagged(nullptr);
    EXPECT_EQ(library_->message(m->libraryID())->flags() & 16, 0u);
    viewer_->markAsUnflagged(nullptr);
    EXPECT_EQ(panel.shown, (std::vector<bool>{true, false, true}));
    // Several messages selected: none is shown, the panel is left alone.
    select({m, add(2)});
    viewer_->contentController()->setViewOwner(&panel);
    viewer_->markAsFlagged(nullptr);
    EXPECT_EQ(panel.shown.size(), 3u);
    viewer_->contentController()->setViewOwner(nullptr);
}

TEST_F(MenuCommandsTest, TagMessageFocusesThePanelKeywords) {
    FakePanel panel;
    select({add(1)});
    viewer_->contentController()->setViewOwner(&panel);
    viewer_->sendAction("lumettaTagMessage:", nullptr);
    EXPECT_TRUE(panel.focused);
    viewer_->contentController()->setViewOwner(nullptr);
}

// Clearing everything: every tag goes, the removal set names them all, the to-do is
// deleted while its link is still there, and the closing steps run once per message.
TEST_F(MenuCommandsTest, ClearAll) {
    const Dictionary tags{{"lumettaKeyWords", Array{"a"}}, {"lumettaProject", "P"},
                          {"lumettaPriority", 3},          {"lumettaAnnotation", "n"},
                          {"lumettaGeneralFlag", 1},       {"lumettaICalToDoTitle", "T"}};
    auto linked = add(1, tags);
    record(*linked).set("lumettaICalUID", "UID-1");
    auto plain = add(2, tags);
    auto bare = add(3);
    MessageMethodSpy deleteToDo("lumettaDeleteToDoInICal", false);
    std::vector<Value> linkSeen;
    deleteToDo.onCall = [&](Object* self) {
        linkSeen.push_back(record(*static_cast<mailhost::Message*>(self)).get("lumettaICalUID"));
    };
    select({linked, plain, bare});
    sendAction("lumettaClearAll:");
    EXPECT_EQ(rulesApplied(), 3);
    EXPECT_EQ(deleteToDo.calls, (std::vector<const Object*>{linked.get()}));
    EXPECT_EQ(linkSeen, (std::vector<Value>{"UID-1"}));
    for (const auto& m : {linked, plain}) {
        EXPECT_TRUE(fileTags(*m).empty());
        for (const char* key : {"lumettaProject", "lumettaKeyWords", "lumettaPriority", "lumettaDueDate",
                                "lumettaDueDateState", "lumettaAnnotation", "lumettaGeneralFlag",
                                "lumettaICalUID", "lumettaICalToDoTitle", "lumettaICalToDoCompleted"})
            EXPECT_TRUE(pendingRemoval(*m, key)) << key;
    }
    select({});
    sendAction("lumettaClearAll:");
    EXPECT_EQ(rulesApplied(), 3); // an empty selection posts nothing
}

} // namespace
