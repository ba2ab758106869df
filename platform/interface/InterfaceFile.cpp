#include "platform/interface/InterfaceFile.h"

#include "platform/foundation/AtomicFile.h"
#include "platform/interface/XmlDocument.h"

#include <array>
#include <cstdint>
#include <utility>

namespace platform {

namespace {

constexpr std::size_t kNone = SIZE_MAX;

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\n' || s.front() == '\r'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\n' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

Error errorAt(std::size_t line, const std::string& what) {
    return makeError("line " + std::to_string(line) + ": " + what);
}

// Value elements whose whole meaning is their text. Strings keep theirs verbatim,
// since leading and trailing spaces in a label are deliberate.
bool isScalarValue(std::string_view element) {
    static constexpr std::array<std::string_view, 11> kScalars = {"string", "cstring",  "number",   "double",
                                                                  "float",  "bool",     "enum",     "set",
                                                                  "uInt",   "longLong", "uLongLong"};
    for (const auto scalar : kScalars)
        if (element == scalar)
            return true;
    return false;
}

bool declaresObject(std::string_view element) {
    return element == "widget" || element == "layout" || element == "action" || element == "actiongroup";
}

// Where a declaration sits: the nearest enclosing widget, and the layout or action
// group that holds it directly, if any (indices into the object list).
struct Frame {
    const XmlElement* element;
    std::size_t widget;
    std::size_t holder;
};

struct ActionReference {
    std::string name;
    std::size_t line;
};

} // namespace

std::string InterfaceFile::Object::property(std::string_view propertyName) const {
    const auto it = properties.find(std::string(propertyName));
    return it == properties.end() ? std::string() : it->second;
}

Result<InterfaceFile> InterfaceFile::load(const std::filesystem::path& path) {
    auto bytes = LUMETTA_TRY(AtomicFile::read(path));
    auto file = parse(bytes);
    if (!file)
        return makeError(path.string() + ": " + file.error().message, file.error().code);
    return file;
}

Result<InterfaceFile> InterfaceFile::parse(std::string_view xml) {
    const XmlElement ui = LUMETTA_TRY(XmlDocument::parse(xml));
    if (ui.name != "ui")
        return errorAt(ui.line, "root element is <" + ui.name + ">, not <ui>");
    InterfaceFile file;
    if (const XmlElement* cls = ui.child("class"))
        file.className_ = std::string(trim(cls->text));
    bool sawWidget = false;
    for (const auto& element : ui.children) {
        if (element.name != "widget")
            continue;
        sawWidget = true;
        LUMETTA_TRY_VOID(file.collect(element));
    }
    if (!sawWidget)
        return errorAt(ui.line, "no top-level <widget> in <ui>");
    return file;
}

// Walks the declarations in document order with an explicit stack; the XML reader
// already bounds the depth, but the walk does not lean on that.
Result<void> InterfaceFile::collect(const XmlElement& topLevelWidget) {
    std::vector<ActionReference> references;
    std::vector<Frame> stack{{&topLevelWidget, kNone, kNone}};
    while (!stack.empty()) {
        const Frame frame = stack.back();
        stack.pop_back();
        const XmlElement& element = *frame.element;
        Frame inner = frame;
        if (declaresObject(element.name)) {
            Object object;
            if (element.name == "action") {
                object.className = "QAction";
            } else if (element.name == "actiongroup") {
                object.className = "QActionGroup";
            } else {
                object.className = element.attribute("class");
                if (object.className.empty())
                    return errorAt(element.line, "<" + element.name + "> without a class");
            }
            object.name = element.attribute("name");
            if (frame.widget != kNone)
                object.parentName = objects_[frame.widget].name;
            for (const auto& part : element.children) {
                if (part.name == "addaction") {
                    object.actionNames.push_back(part.attribute("name"));
                    references.push_back({object.actionNames.back(), part.line});
                } else if (part.name == "property") {
                    const std::string propertyName = part.attribute("name");
                    if (propertyName.empty())
                        return errorAt(part.line, "<property> without a name");
                    if (part.children.empty() || !isScalarValue(part.children.front().name))
                        continue;
                    const XmlElement& value = part.children.front();
                    object.properties[propertyName] =
                        value.name == "string" ? value.text : std::string(trim(value.text));
                }
            }
            const std::size_t index = objects_.size();
            if (!object.name.empty()) {
                if (!byName_.emplace(object.name, index).second)
                    return errorAt(element.line, "duplicate object name '" + object.name + "'");
                if (frame.widget != kNone)
                    objects_[frame.widget].childNames.push_back(object.name);
                if (frame.holder != kNone)
                    objects_[frame.holder].childNames.push_back(object.name);
            }
            objects_.push_back(std::move(object));
            if (element.name == "widget")
                inner = {nullptr, index, kNone};
            else
                inner = {nullptr, frame.widget, index};
        } else if (element.name != "item") {
            continue; // spacers, attributes, z-order and the like declare no objects
        }
        for (auto it = element.children.rbegin(); it != element.children.rend(); ++it) {
            if (declaresObject(it->name) || it->name == "item")
                stack.push_back({&*it, inner.widget, inner.holder});
        }
    }
    // Menus usually list their actions before the file declares them, so names are
    // checked once everything is known.
    for (const auto& reference : references) {
        if (reference.name != "separator" && !byName_.count(reference.name))
            return errorAt(reference.line,
                           "<addaction name=\"" + reference.name + "\"> names no object in the file");
    }
    return {};
}

const InterfaceFile::Object* InterfaceFile::objectNamed(std::string_view name) const {
    const auto it = byName_.find(name);
    return it == byName_.end() ? nullptr : &objects_[it->second];
}

std::vector<const InterfaceFile::Object*> InterfaceFile::objects() const {
    std::vector<const Object*> out;
    out.reserve(objects_.size());
    for (const auto& object : objects_)
        out.push_back(&object);
    return out;
}

} // namespace platform
