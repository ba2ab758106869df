#include "lumetta/viewer/MenuCommands.h"

#include "lumetta/viewer/BulkTagCommands.h"
#include "lumetta/core/LumettaStrings.h"
#include "mailhost/viewer/Menu.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Send.h"

namespace lumetta {

using mailhost::Menu;
using mailhost::MenuItem;
using mailhost::MessageViewer;
using platform::runtime::Object;
namespace rt = platform::runtime;

namespace {

// The tag panel's operations (the panel and its placement in the message view),
// reached by selector: before the panel is part of a build they are simply absent.
//   MessageContentController: lumettaShowPanel        void(Object*, Sel)
//                             lumettaSideBarState     bool(Object*, Sel)
//   the panel controller:     selectKeywords          void(Object*, Sel)
//                             displayGeneralFlag:     void(Object*, Sel, bool)
//                             generalFlagState        bool(Object*, Sel)
bool sideBarShown(const MessageViewer& viewer) {
    Object* content = viewer.contentController();
    return content && rt::send<bool>(content, "lumettaSideBarState").value_or(false);
}

int parentTag(const MenuItem& item) {
    Menu* menu = item.menu();
    Menu* super = menu ? menu->supermenu() : nullptr;
    int tag = 0;
    if (super)
        for (const auto& candidate : super->itemArray())
            if (candidate->submenu().get() == menu)
                tag = candidate->tag();
    return tag;
}

} // namespace

void MenuCommands::subMenuItemAction(MessageViewer& viewer, Object* sender) {
    auto* item = dynamic_cast<MenuItem*>(sender);
    if (!item)
        return;
    const int itemTag = item->tag();
    const platform::Value title = item->title();
    switch (parentTag(*item)) {
    case kAddKeywordMenu:
        BulkTagCommands::addKeywords(viewer, platform::Array{title});
        break;
    case kRemoveKeywordMenu:
        if (itemTag == kClearItem)
            BulkTagCommands::clearKeywords(viewer);
        else
            BulkTagCommands::removeKeywords(viewer, platform::Array{title});
        break;
    case kProjectMenu:
        BulkTagCommands::setProject(viewer, itemTag == kClearItem ? platform::Value() : title);
        break;
    case kPriorityMenu:
        BulkTagCommands::setPriority(viewer, itemTag);
        break;
    default:
        break;
    }
}

bool MenuCommands::validateMenuItem(MessageViewer& viewer, MenuItem& item, bool hostAnswer) {
    const std::string& action = item.action();
    if (action == "toggleLumettaColumn:") {
        item.setState(viewer.tableManager().isColumnVisible(kTagsColumn) ? MenuItem::On : MenuItem::Off);
        return true;
    }
    if (action == "lumettaTagMessage:")
        return viewer.selectedMessages().size() == 1;
    if (action == "lumettaTogglePanel:") {
        item.setTitle(
            LumettaStrings::localized(sideBarShown(viewer) ? "Hide Lumetta Panel" : "Show Lumetta Panel"));
        return true;
    }
    if (action.starts_with("lumetta"))
        return true;
    return hostAnswer;
}

void MenuCommands::tagMessage(MessageViewer& viewer) {
    Object* content = viewer.contentController();
    if (!content)
        return;
    rt::sendVoid(content, "lumettaShowPanel");
    // The panel may only now exist.
    if (Object* panel = viewer.contentController()->viewOwner())
        rt::sendVoid(panel, "selectKeywords");
}

void MenuCommands::afterFlagCommand(MessageViewer& viewer, bool flagged) {
    auto* content = viewer.contentController();
    if (!content || !content->message() || !content->message()->isKindOfClass("LibraryMessage"))
        return;
    Object* panel = content->viewOwner();
    if (!panel)
        return;
    // Unflagging shows the opposite of what the panel shows now, whatever the host did.
    const bool show = flagged ? true : !rt::send<bool>(panel, "generalFlagState").value_or(false);
    rt::sendVoid(panel, "displayGeneralFlag:", show);
}

} // namespace lumetta
