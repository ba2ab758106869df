#pragma once

#include "lumetta/viewer/DialogPresenter.h"

namespace lumetta {

// Runs the dialogs without a display, from the answers the front end queued with the
// host (mailhost::DialogAnswers): each answer's values go into the controls named by
// its keys, the choices that are clicks in the dialog (a due-date radio button, a
// keyword row, a keyword typed in and added) are made through the owner's actions, and
// the dialog ends with its OK button, or Cancel when the answer says so or there is
// none. The welcome goes to standard error.
class HeadlessDialogPresenter : public DialogPresenter {
public:
    void runModal(LumettaExtraDialogsOwner& owner, EditDialog dialog,
                  platform::runtime::Object* window) override;
    void showWelcome(const std::string& title, const std::string& text) override;

    // The name answers for a dialog are queued under.
    static const char* answerName(EditDialog dialog);
};

} // namespace lumetta
