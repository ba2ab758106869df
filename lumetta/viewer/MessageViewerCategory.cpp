#include "lumetta/viewer/MessageViewerCategory.h"

#include "lumetta/core/MethodReplacement.h"
#include "lumetta/viewer/BulkTagCommands.h"
#include "lumetta/viewer/DialogCommands.h"
#include "lumetta/viewer/MenuCommands.h"
#include "platform/runtime/Runtime.h"

namespace lumetta {

using mailhost::MessageViewer;
using platform::Value;

namespace {

constexpr const char* kHostClass = MessageViewer::kClassName;

MessageViewer& viewer(Object* self) {
    return *static_cast<MessageViewer*>(self);
}

} // namespace

void MessageViewerCategory::load() {
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(kHostClass);
    if (!cls)
        return; // a host without viewers: nothing to extend
    cls->addInstanceMethod("addKeywords:", &addKeywords);
    cls->addInstanceMethod("removeKeywords:", &removeKeywords);
    cls->addInstanceMethod("setKeywords:", &setKeywords);
    cls->addInstanceMethod("lumettaClearKeywords:", &lumettaClearKeywords);
    cls->addInstanceMethod("setProject:", &setProject);
    cls->addInstanceMethod("setOtherProject:", &setOtherProject);
    cls->addInstanceMethod("setPriority:", &setPriority);
    cls->addInstanceMethod("setDueDate:", &setDueDate);
    cls->addInstanceMethod("moveDueDateByOffset:useTodayIfNoDate:", &moveDueDateByOffset);
    cls->addInstanceMethod("lumettaEditDueDate:", &lumettaEditDueDate);
    cls->addInstanceMethod("lumettaSetNote:", &lumettaSetNote);
    cls->addInstanceMethod("lumettaSetKeywords:", &lumettaSetKeywords);
    cls->addInstanceMethod("lumettaClearAll:", &lumettaClearAll);
    cls->addInstanceMethod("lumettaTagMessage:", &lumettaTagMessage);
    cls->addInstanceMethod("lumettaSubMenuItemAction:", &lumettaSubMenuItemAction);
    cls->addInstanceMethod("lumettaValidateMenuItem:", &lumettaValidateMenuItem);
    cls->addInstanceMethod("lumetta_MarkAsFlagged:", &lumetta_MarkAsFlagged);
    cls->addInstanceMethod("lumetta_MarkAsUnflagged:", &lumetta_MarkAsUnflagged);
    savedMarkAsFlagged_ = replaceInstanceMethod<MessageViewer::ActionImp>(
        "markAsFlagged:", kHostClass, "lumetta_MarkAsFlagged:", kHostClass);
    savedMarkAsUnflagged_ = replaceInstanceMethod<MessageViewer::ActionImp>(
        "markAsUnflagged:", kHostClass, "lumetta_MarkAsUnflagged:", kHostClass);
    savedValidateMenuItem_ = replaceInstanceMethod<ValidateImp>("validateMenuItem:", kHostClass,
                                                                "lumettaValidateMenuItem:", kHostClass);
}

void MessageViewerCategory::addKeywords(Object* self, Sel, Value keywords) {
    BulkTagCommands::addKeywords(viewer(self), keywords);
}

void MessageViewerCategory::removeKeywords(Object* self, Sel, Value keywords) {
    BulkTagCommands::removeKeywords(viewer(self), keywords);
}

void MessageViewerCategory::setKeywords(Object* self, Sel, Value keywords) {
    BulkTagCommands::setKeywords(viewer(self), keywords);
}

void MessageViewerCategory::lumettaClearKeywords(Object* self, Sel, Object*) {
    BulkTagCommands::clearKeywords(viewer(self));
}

void MessageViewerCategory::setProject(Object* self, Sel, Value project) {
    BulkTagCommands::setProject(viewer(self), project);
}

void MessageViewerCategory::setOtherProject(Object* self, Sel, Object*) {
    DialogCommands::setOtherProject(viewer(self));
}

void MessageViewerCategory::setPriority(Object* self, Sel, int priority) {
    BulkTagCommands::setPriority(viewer(self), priority);
}

void MessageViewerCategory::setDueDate(Object* self, Sel, Value dateOrWord) {
    BulkTagCommands::setDueDate(viewer(self), dateOrWord);
}

void MessageViewerCategory::moveDueDateByOffset(Object* self, Sel, Value days, bool useToday) {
    BulkTagCommands::moveDueDate(viewer(self), days, useToday);
}

void MessageViewerCategory::lumettaEditDueDate(Object* self, Sel, Object*) {
    DialogCommands::editDueDate(viewer(self));
}

void MessageViewerCategory::lumettaSetNote(Object* self, Sel, Object*) {
    DialogCommands::setNote(viewer(self));
}

void MessageViewerCategory::lumettaSetKeywords(Object* self, Sel, Object*) {
    DialogCommands::setKeywords(viewer(self));
}

void MessageViewerCategory::lumettaClearAll(Object* self, Sel, Object*) {
    BulkTagCommands::clearAll(viewer(self));
}

void MessageViewerCategory::lumettaTagMessage(Object* self, Sel, Object*) {
    MenuCommands::tagMessage(viewer(self));
}

void MessageViewerCategory::lumettaSubMenuItemAction(Object* self, Sel, Object* sender) {
    MenuCommands::subMenuItemAction(viewer(self), sender);
}

bool MessageViewerCategory::lumettaValidateMenuItem(Object* self, Sel sel, mailhost::MenuItem* item) {
    const bool hostAnswer = savedValidateMenuItem_(self, sel, item);
    return item ? MenuCommands::validateMenuItem(viewer(self), *item, hostAnswer) : hostAnswer;
}

void MessageViewerCategory::lumetta_MarkAsFlagged(Object* self, Sel sel, Object* sender) {
    savedMarkAsFlagged_(self, sel, sender);
    MenuCommands::afterFlagCommand(viewer(self), true);
}

void MessageViewerCategory::lumetta_MarkAsUnflagged(Object* self, Sel sel, Object* sender) {
    savedMarkAsUnflagged_(self, sel, sender);
    MenuCommands::afterFlagCommand(viewer(self), false);
}

} // namespace lumetta
