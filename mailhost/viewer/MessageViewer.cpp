#include "mailhost/viewer/MessageViewer.h"

#include "mailhost/viewer/MenuItem.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"
#include "platform/runtime/Send.h"

namespace mailhost {

using platform::runtime::Seam;

namespace {

struct Seams {
    Seam<void(Object*, Object*)>* markAsFlagged = nullptr;
    Seam<void(Object*, Object*)>* markAsUnflagged = nullptr;
    Seam<bool(Object*, MenuItem*)>* validateMenuItem = nullptr;
    Seam<void(Object*)>* dealloc = nullptr;
};

Seams& seams() {
    static Seams s;
    return s;
}

} // namespace

Class& MessageViewer::registerClass() {
    Class& cls = platform::runtime::Runtime::defineClass(kClassName);
    Seams& s = seams();
    if (!s.markAsFlagged) {
        s.markAsFlagged = new Seam<void(Object*, Object*)>(cls, "markAsFlagged:", &hostMarkAsFlagged);
        s.markAsUnflagged = new Seam<void(Object*, Object*)>(cls, "markAsUnflagged:", &hostMarkAsUnflagged);
        s.validateMenuItem =
            new Seam<bool(Object*, MenuItem*)>(cls, "validateMenuItem:", &hostValidateMenuItem);
        s.dealloc = new Seam<void(Object*)>(cls, "dealloc", &hostDealloc);
        cls.setFactory([](Class* c) { return std::make_unique<MessageViewer>(c); });
        MessageContentController::registerClass();
        TableViewManager::registerClass();
    }
    return cls;
}

std::unique_ptr<MessageViewer> MessageViewer::make() {
    std::unique_ptr<Object> object = registerClass().createInstance();
    auto* viewer = dynamic_cast<MessageViewer*>(object.get());
    if (!viewer)
        return nullptr;
    object.release();
    return std::unique_ptr<MessageViewer>(viewer);
}

MessageViewer::MessageViewer(Class* cls)
    : Object(cls), content_(MessageContentController::make()),
      tableManager_(std::make_unique<TableViewManager>(&TableViewManager::registerClass())) {}

MessageViewer::~MessageViewer() {
    if (seams().dealloc)
        (*seams().dealloc)(this);
}

void MessageViewer::setSelectedMessages(MessageList messages) {
    selection_ = std::move(messages);
    if (content_)
        content_->setMessage(selection_.size() == 1 ? selection_.front() : nullptr);
}

void MessageViewer::markAsFlagged(Object* sender) {
    (*seams().markAsFlagged)(this, sender);
}

void MessageViewer::markAsUnflagged(Object* sender) {
    (*seams().markAsUnflagged)(this, sender);
}

bool MessageViewer::validateMenuItem(MenuItem* item) {
    return (*seams().validateMenuItem)(this, item);
}

bool MessageViewer::sendAction(const std::string& selector, Object* sender) {
    return platform::runtime::sendVoid(static_cast<Object*>(this), selector, sender);
}

void MessageViewer::setFlagged(bool flagged) {
    if (selection_.empty())
        return;
    for (const auto& message : selection_)
        message->setFlags(flagged ? message->flags() | kFlaggedBit : message->flags() & ~kFlaggedBit);
    Library::flagsChangedForMessages(selection_);
    Library::updateMessageFiles(nullptr);
}

void MessageViewer::hostMarkAsFlagged(Object* self, Sel, Object*) {
    static_cast<MessageViewer*>(self)->setFlagged(true);
}

void MessageViewer::hostMarkAsUnflagged(Object* self, Sel, Object*) {
    static_cast<MessageViewer*>(self)->setFlagged(false);
}

bool MessageViewer::hostValidateMenuItem(Object* self, Sel, MenuItem* item) {
    // The client enables its own flag commands on a selection; actions it does not know
    // stay disabled.
    const auto* viewer = static_cast<MessageViewer*>(self);
    if (!item)
        return false;
    if (item->action() == "markAsFlagged:" || item->action() == "markAsUnflagged:")
        return !viewer->selectedMessages().empty();
    return false;
}

} // namespace mailhost
