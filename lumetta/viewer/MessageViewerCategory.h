#pragma once

#include "mailhost/viewer/MenuItem.h"
#include "mailhost/viewer/MessageViewer.h"
#include "platform/foundation/Value.h"

namespace lumetta {

using platform::runtime::Object;
using platform::runtime::Sel;

// The plug-in's additions to the client's viewer: the tag commands over the selection,
// the submenu dispatch and menu validation, and the flag commands' replacements. Front
// ends reach them by selector, with exactly these argument types:
//   addKeywords: removeKeywords: setKeywords:       (Object*, Sel, platform::Value)  array or nil
//   setProject: setDueDate:                         (Object*, Sel, platform::Value)
//   setPriority:                                    (Object*, Sel, int)
//   moveDueDateByOffset:useTodayIfNoDate:           (Object*, Sel, platform::Value, bool)
//   lumettaClearKeywords: setOtherProject: lumettaEditDueDate: lumettaSetNote:
//   lumettaSetKeywords: lumettaClearAll: lumettaTagMessage: lumettaSubMenuItemAction:
//                                                   (Object*, Sel, Object* sender)
//   lumettaValidateMenuItem: (replaces validateMenuItem:)  bool(Object*, Sel, MenuItem*)
//   lumetta_MarkAsFlagged: lumetta_MarkAsUnflagged: (replace markAsFlagged: / markAsUnflagged:)
class MessageViewerCategory {
public:
    static void load();

    static void addKeywords(Object* self, Sel, platform::Value keywords);
    static void removeKeywords(Object* self, Sel, platform::Value keywords);
    static void setKeywords(Object* self, Sel, platform::Value keywords);
    static void lumettaClearKeywords(Object* self, Sel, Object* sender);
    static void setProject(Object* self, Sel, platform::Value project);
    static void setOtherProject(Object* self, Sel, Object* sender);
    static void setPriority(Object* self, Sel, int priority);
    static void setDueDate(Object* self, Sel, platform::Value dateOrWord);
    static void moveDueDateByOffset(Object* self, Sel, platform::Value days, bool useToday);
    static void lumettaEditDueDate(Object* self, Sel, Object* sender);
    static void lumettaSetNote(Object* self, Sel, Object* sender);
    static void lumettaSetKeywords(Object* self, Sel, Object* sender);
    static void lumettaClearAll(Object* self, Sel, Object* sender);
    static void lumettaTagMessage(Object* self, Sel, Object* sender);
    static void lumettaSubMenuItemAction(Object* self, Sel, Object* sender);
    static bool lumettaValidateMenuItem(Object* self, Sel sel, mailhost::MenuItem* item);
    static void lumetta_MarkAsFlagged(Object* self, Sel sel, Object* sender);
    static void lumetta_MarkAsUnflagged(Object* self, Sel sel, Object* sender);

private:
    using ValidateImp = bool (*)(Object*, Sel, mailhost::MenuItem*);
    static inline mailhost::MessageViewer::ActionImp savedMarkAsFlagged_ = nullptr;
    static inline mailhost::MessageViewer::ActionImp savedMarkAsUnflagged_ = nullptr;
    static inline ValidateImp savedValidateMenuItem_ = nullptr;
};

} // namespace lumetta
