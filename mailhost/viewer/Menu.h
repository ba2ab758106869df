#pragma once

#include "mailhost/viewer/MenuItem.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mailhost {

// A menu: an ordered list of items, some opening submenus. A submenu knows the menu
// whose item opens it (its supermenu), so an action sent from a submenu entry can ask
// which parent item it came through.
class Menu : public Object {
public:
    static constexpr const char* kClassName = "NSMenu";
    static Class& registerClass();
    static std::shared_ptr<Menu> make(std::string title = {});

    explicit Menu(Class* cls) : Object(cls) {}
    ~Menu() override;
    Menu(const Menu&) = delete;
    Menu& operator=(const Menu&) = delete;

    const std::string& title() const { return title_; }
    void setTitle(std::string title) { title_ = std::move(title); }

    std::size_t numberOfItems() const { return items_.size(); }
    const std::vector<std::shared_ptr<MenuItem>>& itemArray() const { return items_; }
    // nullptr past the end.
    MenuItem* itemAtIndex(std::size_t index) const;
    MenuItem* itemWithTag(int tag) const;
    MenuItem* itemWithTitle(const std::string& title) const;
    std::optional<std::size_t> indexOfItem(const MenuItem* item) const;

    // An item is in one menu at a time: adding it here takes it out of any other.
    void addItem(std::shared_ptr<MenuItem> item);
    void insertItem(std::shared_ptr<MenuItem> item, std::size_t index);
    void removeItemAtIndex(std::size_t index);
    void removeAllItems();

    // The menu holding the item whose submenu this is; nullptr for a top menu.
    Menu* supermenu() const { return supermenu_; }

private:
    friend class MenuItem;
    void detach(MenuItem& item);

    std::string title_;
    std::vector<std::shared_ptr<MenuItem>> items_;
    Menu* supermenu_ = nullptr;
};

} // namespace mailhost
