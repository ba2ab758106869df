#include "lumetta/viewer/DialogCommands.h"

#include "lumetta/viewer/BulkTagCommands.h"
#include "lumetta/viewer/LumettaExtraDialogsOwner.h"
#include "lumetta/viewer/NoteText.h"

namespace lumetta {

using mailhost::MessageViewer;
using platform::Value;

void DialogCommands::setOtherProject(MessageViewer& viewer) {
    LumettaExtraDialogsOwner owner;
    if (owner.runSheetforWindow(viewer.window()))
        BulkTagCommands::setProject(viewer, owner.projectLabel());
}

void DialogCommands::editDueDate(MessageViewer& viewer) {
    LumettaExtraDialogsOwner owner;
    if (!owner.editDueDatesForViewer(&viewer))
        return;
    if (owner.tagOfSelectedDueDateTabView() == 1) {
        if (owner.setDateOption() != 0)
            BulkTagCommands::setDueDate(viewer, owner.setDateValue());
        else
            BulkTagCommands::setDueDate(viewer, owner.clearExistingDueDate() != 0 ? "None" : "Off");
    } else {
        BulkTagCommands::moveDueDate(viewer, owner.moveDateValue(), owner.moveDateOption() != 0);
    }
}

void DialogCommands::setNote(MessageViewer& viewer) {
    LumettaExtraDialogsOwner owner;
    if (!owner.editNotesForViewer(&viewer))
        return;
    BulkTagCommands::writeNote(viewer, NoteText::expandToday(owner.noteContent()),
                               owner.tagOfSelectedNotePlacementOption());
}

void DialogCommands::setKeywords(MessageViewer& viewer) {
    LumettaExtraDialogsOwner owner;
    if (!owner.editKeywordsOfMessages(viewer.selectedMessages(), &viewer, 3))
        return;
    const Value keywords = owner.selectedKeywords();
    switch (owner.tagOfSelectedEditKeywordAction()) {
    case 1:
        BulkTagCommands::addKeywords(viewer, keywords);
        break;
    case 2:
        BulkTagCommands::removeKeywords(viewer, keywords);
        break;
    case 3:
        BulkTagCommands::setKeywords(viewer, keywords);
        break;
    default:
        break;
    }
}

} // namespace lumetta
