#include "mailhost/viewer/Menu.h"

#include "platform/runtime/Runtime.h"

#include <algorithm>

namespace mailhost {

Class& Menu::registerClass() {
    return platform::runtime::Runtime::defineClass(kClassName);
}

std::shared_ptr<Menu> Menu::make(std::string title) {
    auto menu = std::make_shared<Menu>(&registerClass());
    menu->title_ = std::move(title);
    return menu;
}

Menu::~Menu() {
    // Items and submenus may outlive the menu (callers keep them): none may point back.
    for (const auto& item : items_) {
        item->menu_ = nullptr;
        if (item->submenu_ && item->submenu_->supermenu_ == this)
            item->submenu_->supermenu_ = nullptr;
    }
}

MenuItem* Menu::itemAtIndex(std::size_t index) const {
    return index < items_.size() ? items_[index].get() : nullptr;
}

MenuItem* Menu::itemWithTag(int tag) const {
    for (const auto& item : items_)
        if (item->tag() == tag)
            return item.get();
    return nullptr;
}

MenuItem* Menu::itemWithTitle(const std::string& title) const {
    for (const auto& item : items_)
        if (item->title() == title)
            return item.get();
    return nullptr;
}

std::optional<std::size_t> Menu::indexOfItem(const MenuItem* item) const {
    for (std::size_t i = 0; i < items_.size(); ++i)
        if (items_[i].get() == item)
            return i;
    return std::nullopt;
}

void Menu::addItem(std::shared_ptr<MenuItem> item) {
    insertItem(std::move(item), items_.size());
}

void Menu::insertItem(std::shared_ptr<MenuItem> item, std::size_t index) {
    if (!item)
        return;
    if (item->menu_)
        item->menu_->detach(*item);
    item->menu_ = this;
    if (item->submenu_)
        item->submenu_->supermenu_ = this;
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(std::min(index, items_.size())),
                  std::move(item));
}

void Menu::removeItemAtIndex(std::size_t index) {
    if (index >= items_.size())
        return;
    std::shared_ptr<MenuItem> item = items_[index];
    detach(*item);
}

void Menu::removeAllItems() {
    while (!items_.empty())
        removeItemAtIndex(items_.size() - 1);
}

void Menu::detach(MenuItem& item) {
    auto found = std::find_if(items_.begin(), items_.end(), [&](const auto& i) { return i.get() == &item; });
    if (found == items_.end())
        return;
    std::shared_ptr<MenuItem> keep = *found; // alive until its links are cut
    items_.erase(found);
    item.menu_ = nullptr;
    if (item.submenu_ && item.submenu_->supermenu_ == this)
        item.submenu_->supermenu_ = nullptr;
}

} // namespace mailhost
