#pragma once

#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <memory>
#include <string>

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;

class Menu;

// One entry of a menu, as the client's menus are built from them without a display:
// what it shows (title, state mark, key equivalent), what it sends (action selector
// name and target), how code tells it apart (tag), and the submenu it opens. The
// menu holding it is known so that an action can find its way up the menus.
class MenuItem : public Object {
public:
    static constexpr const char* kClassName = "NSMenuItem";
    enum State { Off = 0, On = 1, Mixed = -1 };

    static Class& registerClass();
    static std::shared_ptr<MenuItem> make(std::string title, std::string action = {}, int tag = 0);
    static std::shared_ptr<MenuItem> separatorItem();

    explicit MenuItem(Class* cls) : Object(cls) {}
    ~MenuItem() override;

    const std::string& title() const { return title_; }
    void setTitle(std::string title) { title_ = std::move(title); }
    int tag() const { return tag_; }
    void setTag(int tag) { tag_ = tag; }
    int state() const { return state_; }
    void setState(int state) { state_ = state; }
    // The action's selector name ("addKeywords:"); empty for none.
    const std::string& action() const { return action_; }
    void setAction(std::string action) { action_ = std::move(action); }
    const std::string& keyEquivalent() const { return keyEquivalent_; }
    void setKeyEquivalent(std::string key) { keyEquivalent_ = std::move(key); }
    unsigned keyEquivalentModifierMask() const { return modifierMask_; }
    void setKeyEquivalentModifierMask(unsigned mask) { modifierMask_ = mask; }
    // Not owned: targets are the long-lived viewer or bundle objects.
    Object* target() const { return target_; }
    void setTarget(Object* target) { target_ = target; }
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }
    bool isSeparatorItem() const { return separator_; }

    const std::shared_ptr<Menu>& submenu() const { return submenu_; }
    void setSubmenu(std::shared_ptr<Menu> submenu);
    bool hasSubmenu() const { return submenu_ != nullptr; }
    // The menu that holds this item; nullptr while it is in none.
    Menu* menu() const { return menu_; }

private:
    friend class Menu;
    std::string title_;
    std::string action_;
    std::string keyEquivalent_;
    int tag_ = 0;
    int state_ = Off;
    unsigned modifierMask_ = 0;
    bool enabled_ = true;
    bool separator_ = false;
    Object* target_ = nullptr;
    std::shared_ptr<Menu> submenu_;
    Menu* menu_ = nullptr;
};

} // namespace mailhost
