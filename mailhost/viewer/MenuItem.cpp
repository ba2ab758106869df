#include "mailhost/viewer/MenuItem.h"

#include "mailhost/viewer/Menu.h"
#include "platform/runtime/Runtime.h"

namespace mailhost {

Class& MenuItem::registerClass() {
    return platform::runtime::Runtime::defineClass(kClassName);
}

std::shared_ptr<MenuItem> MenuItem::make(std::string title, std::string action, int tag) {
    auto item = std::make_shared<MenuItem>(&registerClass());
    item->title_ = std::move(title);
    item->action_ = std::move(action);
    item->tag_ = tag;
    return item;
}

std::shared_ptr<MenuItem> MenuItem::separatorItem() {
    auto item = make({});
    item->separator_ = true;
    item->enabled_ = false;
    return item;
}

MenuItem::~MenuItem() {
    if (submenu_ && submenu_->supermenu_ == menu_)
        submenu_->supermenu_ = nullptr;
}

void MenuItem::setSubmenu(std::shared_ptr<Menu> submenu) {
    if (submenu_ && submenu_->supermenu_ == menu_)
        submenu_->supermenu_ = nullptr;
    submenu_ = std::move(submenu);
    if (submenu_)
        submenu_->supermenu_ = menu_;
}

} // namespace mailhost
