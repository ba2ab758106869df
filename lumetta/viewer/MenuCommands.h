#pragma once

#include "mailhost/viewer/MenuItem.h"
#include "mailhost/viewer/MessageViewer.h"

namespace lumetta {

// What the viewer does for the plug-in's menu entries: dispatching a submenu choice,
// enabling, titling and checking entries, opening the tag panel, and keeping the
// panel's flag in step with the client's own Flag command.
class MenuCommands {
public:
    // Tags of the submenus' parent items; an entry tagged kClearItem means "none".
    static constexpr int kAddKeywordMenu = 5001;
    static constexpr int kRemoveKeywordMenu = 5002;
    static constexpr int kProjectMenu = 5004;
    static constexpr int kPriorityMenu = 5005;
    static constexpr int kClearItem = -1;
    // The message list's tags column.
    static constexpr int kTagsColumn = 24;

    // One action serves every submenu entry; the tag of the parent item (the last item
    // of the supermenu whose submenu holds the entry) tells which submenu it was.
    static void subMenuItemAction(mailhost::MessageViewer& viewer, platform::runtime::Object* sender);
    // The plug-in's answer given the host's: the plug-in's own actions are enabled (and
    // titled or checked); anything else keeps the host's answer.
    static bool validateMenuItem(mailhost::MessageViewer& viewer, mailhost::MenuItem& item, bool hostAnswer);
    // Opens the tag panel on the message shown and puts the focus in its keywords.
    static void tagMessage(mailhost::MessageViewer& viewer);
    // After the host flagged (unflagged) the selection: the panel of a shown library
    // message shows the flag (unflagging toggles what the panel shows).
    static void afterFlagCommand(mailhost::MessageViewer& viewer, bool flagged);
};

} // namespace lumetta
