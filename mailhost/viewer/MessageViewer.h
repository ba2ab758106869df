#pragma once

#include "mailhost/mail/Library.h"
#include "mailhost/viewer/MessageContentController.h"
#include "mailhost/viewer/TableViewManager.h"

#include <memory>
#include <string>

namespace mailhost {

class MenuItem;

// A viewer window without the window: the messages selected in its list, the content
// controller that shows the one selected message, and the list's column manager.
// Front ends set the selection (the command line from the messages it was given) and
// send actions to the viewer as its menus would. Flagging and menu validation go
// through replaceable methods, so a bundle can add to them; bundles add their own
// actions to the class.
class MessageViewer : public Object {
public:
    static constexpr const char* kClassName = "MessageViewer";
    // Flag bit of the client's flag word.
    static constexpr std::uint64_t kFlaggedBit = 16;

    // Defines the class and its replaceable methods; idempotent.
    static Class& registerClass();
    // A new viewer made by the class's factory (a bundle may pose as the class).
    static std::unique_ptr<MessageViewer> make();

    explicit MessageViewer(Class* cls);
    ~MessageViewer() override;

    // In the list's order.
    const MessageList& selectedMessages() const { return selection_; }
    // Selecting exactly one message shows it in the content controller.
    void setSelectedMessages(MessageList messages);
    // The window sheets attach to; none without a display.
    Object* window() const { return nullptr; }
    MessageContentController* contentController() const { return content_.get(); }
    TableViewManager& tableManager() { return *tableManager_; }

    // The replaceable methods, through their seams.
    void markAsFlagged(Object* sender);
    void markAsUnflagged(Object* sender);
    bool validateMenuItem(MenuItem* item);

    // Sends an action (a selector taking a sender) to the viewer, as a menu item or a
    // button would; false when the viewer has no such action.
    bool sendAction(const std::string& selector, Object* sender);

    // The host's implementations.
    static void hostMarkAsFlagged(Object* self, Sel, Object* sender);
    static void hostMarkAsUnflagged(Object* self, Sel, Object* sender);
    static bool hostValidateMenuItem(Object* self, Sel, MenuItem* item);
    static void hostDealloc(Object*, Sel) {}

    // The type of every action: receiver, selector, sender.
    using ActionImp = void (*)(Object*, Sel, Object*);

private:
    void setFlagged(bool flagged);

    MessageList selection_;
    std::unique_ptr<MessageContentController> content_;
    std::unique_ptr<TableViewManager> tableManager_;
};

} // namespace mailhost
