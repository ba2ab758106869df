#pragma once

#include "lumetta/prefs/LUKeyWordArrayController.h"
#include "lumetta/prefs/LUProjectArrayController.h"
#include "mailhost/viewer/Control.h"
#include "mailhost/viewer/TableView.h"

#include <memory>
#include <optional>
#include <string>

namespace lumetta {

// The plug-in's pane in the client's preferences: the keyword and project lists (each
// reorderable by dragging) and the settings its code writes — the calendar for to-dos
// of messages without a project, the alarm that comes with a due date, and when the tag
// panel opens and closes by itself. The other settings it shows are bound straight to
// the settings by its interface file. One module serves the process.
//
// Front ends reach it by selector: the class method "sharedInstance" (Object*), and
//   initializeFromDefaults saveChanges                            void(Object*, Sel)
//   addProject: addKeyWord: selectCalendarWhenNoProject: setAlarmTime:
//   setAlarmWithDueDate: setShowTagsOption: setHideTagsOption: defaultDueDate:
//                                                                 void(Object*, Sel, Object* sender)
//   projectsTable keyWordTable                                    mailhost::TableView*(Object*, Sel)
//   projectArrayController keyWordArrayController                 Object*(Object*, Sel)
//   fieldCalendarWhenNoProject alarmTimePicker alarmWithDueDateSwitch showTagsPopup hideTagsPopup version
//                                                                 mailhost::Control*(Object*, Sel)
class LumettaPreferencesModule : public Object {
public:
    static constexpr const char* kClassName = "LumettaPreferencesModule";
    struct Size {
        double width, height;
    };

    // The pane's controls, made when its interface is loaded.
    struct Outlets {
        std::shared_ptr<mailhost::TableView> projectsTable, keyWordTable;
        std::shared_ptr<mailhost::Control> defaultDueDate;
        std::unique_ptr<LUProjectArrayController> projectArrayController;
        std::unique_ptr<LUKeyWordArrayController> keyWordArrayController;
        std::shared_ptr<mailhost::Control> version, fieldCalendarWhenNoProject, alarmWithDueDateSwitch,
            alarmTimePicker, hideTagsPopup, showTagsPopup;
    };

    static Class& registerClass();
    static void load() { registerClass(); }
    static LumettaPreferencesModule& sharedInstance();

    // Registers the list transformer under its name, for the interface's bindings.
    explicit LumettaPreferencesModule(Class* cls);

    static std::string preferencesNibName() { return "LumettaPreferencePanel"; }
    static std::string imageForPreferenceNamed(const std::string&) { return "lumettaIcon"; }
    static std::string titleForIdentifier(const std::string&) { return "Lumetta"; }
    static Size minSize() { return {675, 372}; }
    // Narrower than the minimum, as the client has always been given it.
    static Size maxSize() { return {598, 372}; }

    // Makes the pane's controls and connects the list controllers (first use only).
    void loadInterface();
    Outlets& outlets();
    // Both tables accept the list drags.
    void awakeFromNib();

    // Fills the controls from the settings.
    void initializeFromDefaults();
    // Announces both lists (the keyword list with its entries, when it has any).
    void saveChanges();
    // A new entry at the end, titled "New Project" ("New Keyword"), selected and edited.
    void addProject(Object* sender);
    void addKeyWord(Object* sender);

    // The settings the pane's code writes. Each reads its sender (a radio matrix, the
    // time picker, the switch, a pop-up), or the pane's own control when the sender is
    // not one.
    void selectCalendarWhenNoProject(Object* sender);
    void setAlarmTime(Object* sender);
    void setAlarmWithDueDate(Object* sender);
    void setShowTagsOption(Object* sender);
    void setHideTagsOption(Object* sender);
    // The due-date offset is bound to its control; the action itself does nothing.
    void defaultDueDate(Object*) {}

    // "HH:MM" of a time, two digits each (Gregorian calendar, local time).
    static std::string alarmTimeText(platform::Date time);
    // The time "H:MM" names, on the reference day; nullopt unless the text splits at ":"
    // into exactly two parts.
    static std::optional<platform::Date> alarmTime(const std::string& text);

private:
    void addEntry(TagListArrayController& controller, mailhost::TableView& table, const std::string& title);

    std::optional<Outlets> outlets_;
};

} // namespace lumetta
