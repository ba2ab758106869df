#include "platform/interface/InterfaceFile.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

using namespace platform;
namespace fs = std::filesystem;

namespace {

// A tagging menu: sub-menus, separators, and actions declared after the menus
// that list them, as Designer writes them.
constexpr const char* kMenu = R"(<?xml version="1.0" encoding="UTF-8"?>
<ui version="4.0">
 <class>TagMenu</class>
 <widget class="QMenu" name="TagMenu">
  <property name="title">
   <string>Tags</string>
  </property>
  <widget class="QMenu" name="projectMenu">
   <property name="title">
    <string>Project</string>
   </property>
   <addaction name="otherProjectAction"/>
  </widget>
  <widget class="QMenu" name="priorityMenu">
   <property name="title">
    <string>Priority &amp; Due</string>
   </property>
   <addaction name="highAction"/>
   <addaction name="lowAction"/>
  </widget>
  <addaction name="projectMenu"/>
  <addaction name="priorityMenu"/>
  <addaction name="separator"/>
  <addaction name="clearAction"/>
  <action name="otherProjectAction">
   <property name="text">
    <string>Other Project…</string>
   </property>
  </action>
  <action name="highAction">
   <property name="text"><string>High</string></property>
   <property name="tag" stdset="0"><number> 1 </number></property>
   <property name="checkable"><bool>true</bool></property>
  </action>
  <action name="lowAction">
   <property name="text"><string>Low</string></property>
   <property name="tag" stdset="0"><number>3</number></property>
  </action>
  <action name="clearAction">
   <property name="text"><string>Clear Tags</string></property>
   <property name="shortcut"><string>Ctrl+Shift+K</string></property>
  </action>
 </widget>
 <resources/>
 <connections/>
</ui>
)";

// A tag panel: a form layout holding fields, a nested box layout and a spacer.
constexpr const char* kPanel = R"(<?xml version="1.0" encoding="UTF-8"?>
<ui version="4.0">
 <class>AnnotationView</class>
 <widget class="QWidget" name="AnnotationView">
  <property name="geometry">
   <rect><x>0</x><y>0</y><width>320</width><height>120</height></rect>
  </property>
  <property name="windowTitle">
   <string notr="true">  Annotation  </string>
  </property>
  <layout class="QFormLayout" name="formLayout">
   <item row="0" column="0">
    <widget class="QLabel" name="projectLabel">
     <property name="text"><string>Project:</string></property>
    </widget>
   </item>
   <item row="0" column="1">
    <widget class="QLineEdit" name="projectField">
     <property name="placeholderText"><string>&lt;none&gt;</string></property>
    </widget>
   </item>
   <item row="1" column="1">
    <layout class="QHBoxLayout" name="priorityRow">
     <item>
      <widget class="QComboBox" name="priorityPopUp">
       <item><property name="text"><string>High</string></property></item>
       <item><property name="text"><string>Low</string></property></item>
      </widget>
     </item>
     <item>
      <widget class="QCheckBox" name="dueDateCheckBox">
       <property name="text"><string>Due date</string></property>
       <property name="checked"><bool>false</bool></property>
       <property name="layoutDirection"><enum>Qt::RightToLeft</enum></property>
      </widget>
     </item>
     <item>
      <spacer name="horizontalSpacer">
       <property name="orientation"><enum>Qt::Horizontal</enum></property>
      </spacer>
     </item>
    </layout>
   </item>
  </layout>
 </widget>
 <resources/>
 <connections/>
</ui>
)";

InterfaceFile parsed(const char* xml) {
    auto file = InterfaceFile::parse(xml);
    EXPECT_TRUE(file.ok()) << file.error().message;
    return std::move(file).value();
}

std::vector<std::string> namesInOrder(const InterfaceFile& file) {
    std::vector<std::string> names;
    for (const auto* object : file.objects())
        names.push_back(object->name);
    return names;
}

using Names = std::vector<std::string>;

} // namespace

// Menus: titles, texts and tags of menus and actions, and what each menu lists.
TEST(InterfaceFile, ReadsMenusAndTheirActions) {
    const auto file = parsed(kMenu);
    EXPECT_EQ(file.className(), "TagMenu");
    EXPECT_EQ(namesInOrder(file), (Names{"TagMenu", "projectMenu", "priorityMenu", "otherProjectAction",
                                         "highAction", "lowAction", "clearAction"}));

    const auto* menu = file.objectNamed("TagMenu");
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->className, "QMenu");
    EXPECT_EQ(menu->property("title"), "Tags");
    EXPECT_EQ(menu->parentName, "");
    EXPECT_EQ(menu->actionNames, (Names{"projectMenu", "priorityMenu", "separator", "clearAction"}));
    EXPECT_EQ(menu->childNames, (Names{"projectMenu", "priorityMenu", "otherProjectAction", "highAction",
                                       "lowAction", "clearAction"}));

    const auto* priority = file.objectNamed("priorityMenu");
    ASSERT_NE(priority, nullptr);
    EXPECT_EQ(priority->property("title"), "Priority & Due");
    EXPECT_EQ(priority->parentName, "TagMenu");
    EXPECT_EQ(priority->actionNames, (Names{"highAction", "lowAction"}));

    struct Expected {
        const char* action;
        const char* property;
        const char* value;
    };
    const Expected expected[] = {
        {"otherProjectAction", "text", "Other Project…"},
        {"highAction", "tag", "1"},
        {"highAction", "checkable", "true"},
        {"lowAction", "tag", "3"},
        {"clearAction", "shortcut", "Ctrl+Shift+K"},
        {"clearAction", "tag", ""},
    };
    for (const auto& e : expected) {
        const auto* action = file.objectNamed(e.action);
        ASSERT_NE(action, nullptr) << e.action;
        EXPECT_EQ(action->className, "QAction");
        EXPECT_EQ(action->parentName, "TagMenu");
        EXPECT_EQ(action->property(e.property), e.value) << e.action << "." << e.property;
    }
}

// Panels: outlets found by name, layout items counted as the widget's children.
TEST(InterfaceFile, ReadsWidgetsAndLayouts) {
    const auto file = parsed(kPanel);
    EXPECT_EQ(file.className(), "AnnotationView");
    EXPECT_EQ(namesInOrder(file), (Names{"AnnotationView", "formLayout", "projectLabel", "projectField",
                                         "priorityRow", "priorityPopUp", "dueDateCheckBox"}));

    const auto* view = file.objectNamed("AnnotationView");
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->childNames, (Names{"formLayout", "projectLabel", "projectField", "priorityRow",
                                       "priorityPopUp", "dueDateCheckBox"}));
    EXPECT_EQ(view->property("windowTitle"), "  Annotation  ");
    EXPECT_FALSE(view->properties.count("geometry"));

    const auto* form = file.objectNamed("formLayout");
    ASSERT_NE(form, nullptr);
    EXPECT_EQ(form->className, "QFormLayout");
    EXPECT_EQ(form->parentName, "AnnotationView");
    EXPECT_EQ(form->childNames, (Names{"projectLabel", "projectField", "priorityRow"}));
    EXPECT_EQ(file.objectNamed("priorityRow")->childNames, (Names{"priorityPopUp", "dueDateCheckBox"}));

    const auto* field = file.objectNamed("projectField");
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->className, "QLineEdit");
    EXPECT_EQ(field->parentName, "AnnotationView");
    EXPECT_EQ(field->property("placeholderText"), "<none>");

    const auto* popUp = file.objectNamed("priorityPopUp");
    ASSERT_NE(popUp, nullptr);
    EXPECT_EQ(popUp->className, "QComboBox");
    EXPECT_TRUE(popUp->properties.empty()); // its items' texts are not its properties

    const auto* check = file.objectNamed("dueDateCheckBox");
    ASSERT_NE(check, nullptr);
    EXPECT_EQ(check->property("text"), "Due date");
    EXPECT_EQ(check->property("checked"), "false");
    EXPECT_EQ(check->property("layoutDirection"), "Qt::RightToLeft");

    EXPECT_TRUE(file.hasObject("projectField"));
    EXPECT_FALSE(file.hasObject("horizontalSpacer")); // spacers are not objects
    EXPECT_FALSE(file.hasObject("projectfield"));
    EXPECT_FALSE(file.hasObject(""));
}

// Unsound files: each is refused with the line at fault.
TEST(InterfaceFile, RefusesUnsoundFiles) {
    struct Case {
        std::string xml;
        const char* message;
    };
    const Case cases[] = {
        {"", "line 1: no root element"},
        {"<ui><widget class=\"QWidget\" name=\"w\">", "unterminated element <widget>"},
        {"<ui>\n<widget class=\"QWidget\" name=\"w\"></ui>",
         "line 2: </ui> does not close <widget> opened at line 2"},
        {"<ui><widget class=\"QWidget\" name=\"w&nbsp;\"/></ui>", "unknown entity &nbsp;"},
        {[] {
             std::string deep = "<ui>";
             for (int i = 0; i < 10000; ++i)
                 deep += "<widget class=\"QWidget\">";
             return deep;
         }(),
         "nested deeper than 256"},
        {"<?xml version=\"1.0\"?>\n<html><body/></html>", "line 2: root element is <html>, not <ui>"},
        {"<ui version=\"4.0\"><class>X</class></ui>", "no top-level <widget>"},
        {"<ui>\n<widget name=\"w\"/></ui>", "line 2: <widget> without a class"},
        {"<ui><widget class=\"QWidget\">\n<layout name=\"l\"/></widget></ui>",
         "line 2: <layout> without a class"},
        {"<ui><widget class=\"QWidget\" name=\"w\">\n<action name=\"w\"/></widget></ui>",
         "line 2: duplicate object name 'w'"},
        {"<ui><widget class=\"QMenu\" name=\"m\">\n<addaction name=\"missing\"/></widget></ui>",
         "line 2: <addaction name=\"missing\"> names no object in the file"},
        {"<ui><widget class=\"QWidget\">\n<property><string>x</string></property></widget></ui>",
         "line 2: <property> without a name"},
    };
    for (const auto& c : cases) {
        const auto file = InterfaceFile::parse(c.xml);
        ASSERT_FALSE(file.ok()) << c.xml.substr(0, 80);
        EXPECT_NE(file.error().message.find(c.message), std::string::npos)
            << c.xml.substr(0, 80) << " gave: " << file.error().message;
    }
}

// Files on disk: a missing or broken file says which one.
TEST(InterfaceFile, LoadsFromDiskAndNamesTheFileInErrors) {
    const fs::path folder = fs::temp_directory_path() / ("lumetta-interface-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    const auto write = [&](const char* name, const std::string& text) {
        std::ofstream(folder / name, std::ios::binary) << text;
        return folder / name;
    };

    const auto good = InterfaceFile::load(write("AnnotationView.ui", kPanel));
    ASSERT_TRUE(good.ok()) << good.error().message;
    EXPECT_TRUE(good.value().hasObject("projectField"));

    const auto broken = InterfaceFile::load(write("Broken.ui", "<ui>\n<widget class=\"QWidget\">\n</ui>"));
    ASSERT_FALSE(broken.ok());
    EXPECT_EQ(broken.error().message,
              (folder / "Broken.ui").string() + ": line 3: </ui> does not close <widget> opened at line 2");

    const fs::path missing = folder / "Missing.ui";
    const auto absent = InterfaceFile::load(missing);
    ASSERT_FALSE(absent.ok());
    EXPECT_EQ(absent.error().message, "cannot open " + missing.string() + ": No such file or directory");

    fs::remove_all(folder);
}
