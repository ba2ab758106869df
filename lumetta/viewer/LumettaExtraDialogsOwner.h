#pragma once

#include "lumetta/viewer/DialogPresenter.h"
#include "mailhost/mail/Library.h"
#include "mailhost/viewer/Control.h"
#include "mailhost/viewer/MessageViewer.h"
#include "mailhost/viewer/TableView.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Value.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace lumetta {

using platform::runtime::Object;

// Owns the small dialogs the commands run before they change tags: other project,
// other keyword, the keywords of the selection, notes, due dates and the first-run
// welcome. One object is made per command, runs one dialog and goes away; the command
// reads the chosen values afterwards. The controls live here, named as in the
// interface file; how a dialog reaches the user is the installed presenter's.
class LumettaExtraDialogsOwner {
public:
    using WelcomePresenter = std::function<void(const std::string& title, const std::string& text)>;

    // The controls of all dialogs, made together the first time one is needed.
    struct Outlets {
        std::shared_ptr<mailhost::Control> addToProjectListSwitch, otherProjectField;
        std::shared_ptr<mailhost::Control> kwmodal_keywordField, kwmodal_addToKeywordList;
        std::shared_ptr<mailhost::Control> addToKeywordListSwitch, editKeywordActionPopup;
        std::shared_ptr<mailhost::TableView> keywordTableView;
        std::shared_ptr<mailhost::Control> selectKeyWordField;
        std::shared_ptr<mailhost::Control> dueDateTabView, setDateTo, setDateOff, clearExistingDueDateSwitch;
        std::shared_ptr<mailhost::Control> dueDatePicker, moveDateField, moveDateDontAdjustButton,
            moveDateUseTodayButton;
        std::shared_ptr<mailhost::Control> noteField, notePlacementPopup;
    };

    // Keyword rows: "label", "state" (1 checked) and "type" (kPreferenceRow for a
    // keyword of the list, kMessageRow for one typed in and kept off the list).
    static constexpr const char* kPreferenceRow = "preference";
    static constexpr const char* kMessageRow = "message";

    LumettaExtraDialogsOwner() = default;
    LumettaExtraDialogsOwner(const LumettaExtraDialogsOwner&) = delete;
    LumettaExtraDialogsOwner& operator=(const LumettaExtraDialogsOwner&) = delete;

    // Other project, as a sheet: the OK flag; then projectLabel() and
    // shouldAppendToProjectList().
    bool runSheetforWindow(Object* window);
    std::string projectLabel() const;
    bool shouldAppendToProjectList() const;
    // Other project, application-modal: the project entered; nullopt on Cancel or empty text.
    std::optional<std::string> runProjectModal();
    // Other keyword, modal: the keyword entered; nullopt on Cancel or empty text.
    std::optional<std::string> runKeywordModal();
    std::string otherKeywordFromModal() const;
    bool shouldAppendToKeywordList() const;

    // Keywords of the selection, opened on the action `actionTag` (1 add, 2 remove,
    // 3 set): the OK flag; then the action chosen and the checked keywords.
    bool editKeywordsOfMessages(const mailhost::MessageList& messages, mailhost::MessageViewer* viewer,
                                int actionTag);
    int tagOfSelectedEditKeywordAction() const;
    // The labels of the checked rows in row order; null when none is checked.
    platform::Value selectedKeywords() const;

    // Notes: the OK flag; then the note and its placement (0 replace, 1 before, 2 after).
    bool editNotesForViewer(mailhost::MessageViewer* viewer);
    std::string noteContent() const;
    int tagOfSelectedNotePlacementOption() const;

    // Due dates: the OK flag; then the tab chosen (1 set, 2 move) and its values.
    bool editDueDatesForViewer(mailhost::MessageViewer* viewer);
    int tagOfSelectedDueDateTabView() const;
    int setDateOption() const;
    platform::Date setDateValue() const;
    int clearExistingDueDate() const;
    int moveDateOption() const;
    int moveDateValue() const;

    // Shows the first-run welcome and returns once it has been dismissed.
    void runWelcomeModal();
    static std::string welcomeTitle();
    static std::string welcomeText();
    // A front end's own way of showing the welcome; empty restores the presenter's.
    static void setWelcomePresenter(WelcomePresenter presenter);

    // The presenter every owner runs its dialogs with. None means the dialogs cannot be
    // shown at all, which fails as an interface file that does not load.
    static void setPresenter(std::shared_ptr<DialogPresenter> presenter);
    static std::shared_ptr<DialogPresenter> presenter();

    // Actions of the dialogs' buttons.
    void okButton(Object* sender);
    void cancelButton(Object* sender);
    // OK, then the entry goes into the project (keyword) list when its switch is on and
    // the field is not empty, and the list's change is announced.
    void okProjectButton(Object* sender);
    void okKeywordButton(Object* sender);
    void setDueDateOn(Object* sender);
    void setDueDateOff(Object* sender);

    // The keyword table.
    std::size_t numberOfRowsInTableView(const mailhost::TableView* table) const;
    // "label" column: the keyword; any other column: the row's state.
    platform::Value tableViewObjectValue(const mailhost::TableView* table, const std::string& column,
                                         std::size_t row) const;
    // A click on a row (the table's selected row) flips its state.
    void keywordTableViewSelected(Object* sender);
    // Adds the typed keyword as a checked row, and to the keyword list when the switch
    // is on; then empties the field.
    void addKeywordAction(Object* sender);

    // Controls by outlet name, for presenters; nullptr for an unknown name.
    mailhost::Control* outletNamed(const std::string& name);
    const Outlets& outlets();
    const platform::Array& keywordList() const { return keywordList_; }
    bool keywordListIsDirty() const { return keywordListIsDirty_; }
    bool isModalRunning() const { return modalRunning_; }

private:
    void loadNib();
    bool runSheet(EditDialog dialog, Object* window);
    void stopModal(bool result);

    std::optional<Outlets> outlets_;
    bool result_ = false;
    bool keywordListIsDirty_ = false;
    bool modalRunning_ = false;
    platform::Array keywordList_;
};

} // namespace lumetta
