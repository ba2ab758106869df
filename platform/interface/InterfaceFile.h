#pragma once

#include "platform/foundation/Result.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct XmlElement;

// The structure of a Qt Designer interface file, read without Qt and without a
// display: which objects it declares, under which names, with which simple
// properties. Start-up uses it to prove an interface file is present and sound
// before anything tries to show it; logic code uses it to find outlets by name and
// read the titles, texts and tags the file gives them. Rendering is Qt's business.
//
// Objects are the file's <widget>, <layout>, <action> and <actiongroup> elements.
// Every object's parentName is the nearest enclosing widget, as a loaded widget's
// parent would be, and that widget's childNames list everything declared inside it
// short of a nested widget: child widgets (also those placed through layout items),
// layouts, actions and action groups. A layout's childNames are the widgets and
// layouts its items hold; an action group's are its actions.
class InterfaceFile {
public:
    struct Object {
        std::string className; // "QAction" / "QActionGroup" for actions and groups
        std::string name;
        // Scalar properties (<string>, <cstring>, <number>, <double>, <float>, <bool>,
        // <enum>, <set>, ...) as their text; compound ones (<rect>, <font>, ...) are
        // left out. Text is kept exactly; other values lose surrounding white space.
        std::map<std::string, std::string> properties;
        std::vector<std::string> childNames;  // document order
        std::vector<std::string> actionNames; // <addaction> order; "separator" marks one
        std::string parentName;               // empty for the top-level widget

        // The property's text, or an empty string when the object does not set it.
        std::string property(std::string_view propertyName) const;
    };

    // A missing or unreadable file, malformed XML, a root other than <ui>, a widget
    // or layout without a class, two objects with one name or an <addaction> naming
    // nothing the file declares are all errors; the message names the file and line.
    [[nodiscard]] static Result<InterfaceFile> load(const std::filesystem::path& path);
    [[nodiscard]] static Result<InterfaceFile> parse(std::string_view xml);

    // The form's class name, from the file's <class> element.
    std::string className() const { return className_; }

    const Object* objectNamed(std::string_view name) const;
    bool hasObject(std::string_view name) const { return objectNamed(name) != nullptr; }
    std::vector<const Object*> objects() const; // document order

private:
    InterfaceFile() = default;
    Result<void> collect(const XmlElement& topLevelWidget);

    std::string className_;
    std::vector<Object> objects_;
    std::map<std::string, std::size_t, std::less<>> byName_;
};

} // namespace platform
