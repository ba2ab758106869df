#pragma once

#include "platform/runtime/Object.h"

#include <string>

namespace lumetta {

class LumettaExtraDialogsOwner;

// The dialogs a command may run before it changes tags.
enum class EditDialog { OtherProject, ProjectModal, OtherKeyword, EditKeywords, EditNote, DueDate };

// How the dialogs reach the user. The owner prepares a dialog's controls and asks the
// presenter to run it; the presenter shows it (as a sheet on `window` when there is
// one), feeds the user's changes into the owner's controls and actions, and returns
// once an OK or Cancel action has ended the modal run. The owner then reads the
// results from its controls. Front ends install the presenter that fits them.
class DialogPresenter {
public:
    virtual ~DialogPresenter() = default;
    virtual void runModal(LumettaExtraDialogsOwner& owner, EditDialog dialog,
                          platform::runtime::Object* window) = 0;
    // The first-run welcome, returning once it was dismissed.
    virtual void showWelcome(const std::string& title, const std::string& text) = 0;
};

} // namespace lumetta
