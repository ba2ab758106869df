#include "lumetta/prefs/LumettaPreferencesModule.h"

#include "lumetta/core/LumettaStrings.h"
#include "lumetta/core/PluginBundle.h"
#include "lumetta/prefs/ImmutableToMutableArrayOfObjectsTransformer.h"
#include "lumetta/prefs/PreferenceLists.h"
#include "platform/foundation/Format.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Bundle.h"
#include "platform/runtime/Runtime.h"

#include <cmath>
#include <ctime>

namespace lumetta {

using mailhost::Control;
using mailhost::TableView;
using platform::UserDefaults;
using platform::Value;
using Sel = platform::runtime::Sel;

namespace {

constexpr const char* kDefaultCalendar = "lumettaDefaultCalendar";
constexpr const char* kAlarmTime = "lumettaAlarmTime";
constexpr const char* kSetAlarmWithDueDate = "lumettaSetAlarmWithDueDate";
constexpr const char* kShowTagsPanel = "lumettaShowTagsPanel";
constexpr const char* kHideTagsPanel = "lumettaHideTagsPanel";
constexpr const char* kManually = "Manually";
constexpr const char* kAutomatically = "Automatically";

LumettaPreferencesModule& module(Object* self) {
    return *static_cast<LumettaPreferencesModule*>(self);
}

// The sender when it is a control of the kind the action expects, else the pane's own.
Control* senderOr(Object* sender, Control::Kind kind, const std::shared_ptr<Control>& own) {
    auto* control = dynamic_cast<Control*>(sender);
    return control && control->kind() == kind ? control : own.get();
}

template <void (LumettaPreferencesModule::*action)(Object*)>
void actionImp(Object* self, Sel, Object* sender) {
    (module(self).*action)(sender);
}

template <std::shared_ptr<Control> LumettaPreferencesModule::Outlets::*field>
Control* controlImp(Object* self, Sel) {
    return (module(self).outlets().*field).get();
}

std::string version() {
    const platform::runtime::Bundle* bundle = PluginBundle::find();
    return bundle ? bundle->version() : std::string();
}

} // namespace

Class& LumettaPreferencesModule::registerClass() {
    using M = LumettaPreferencesModule;
    using O = M::Outlets;
    Class& cls = platform::runtime::Runtime::defineClass(kClassName);
    LUProjectArrayController::registerClass();
    LUKeyWordArrayController::registerClass();
    cls.addClassMethod(
        "sharedInstance", +[](Class*, Sel) -> Object* { return &sharedInstance(); });
    cls.addInstanceMethod(
        "initializeFromDefaults", +[](Object* self, Sel) { module(self).initializeFromDefaults(); });
    cls.addInstanceMethod(
        "saveChanges", +[](Object* self, Sel) { module(self).saveChanges(); });
    cls.addInstanceMethod("addProject:", &actionImp<&M::addProject>);
    cls.addInstanceMethod("addKeyWord:", &actionImp<&M::addKeyWord>);
    cls.addInstanceMethod("selectCalendarWhenNoProject:", &actionImp<&M::selectCalendarWhenNoProject>);
    cls.addInstanceMethod("setAlarmTime:", &actionImp<&M::setAlarmTime>);
    cls.addInstanceMethod("setAlarmWithDueDate:", &actionImp<&M::setAlarmWithDueDate>);
    cls.addInstanceMethod("setShowTagsOption:", &actionImp<&M::setShowTagsOption>);
    cls.addInstanceMethod("setHideTagsOption:", &actionImp<&M::setHideTagsOption>);
    cls.addInstanceMethod("defaultDueDate:", &actionImp<&M::defaultDueDate>);
    cls.addInstanceMethod(
        "projectsTable",
        +[](Object* self, Sel) -> TableView* { return module(self).outlets().projectsTable.get(); });
    cls.addInstanceMethod(
        "keyWordTable",
        +[](Object* self, Sel) -> TableView* { return module(self).outlets().keyWordTable.get(); });
    cls.addInstanceMethod(
        "projectArrayController",
        +[](Object* self, Sel) -> Object* { return module(self).outlets().projectArrayController.get(); });
    cls.addInstanceMethod(
        "keyWordArrayController",
        +[](Object* self, Sel) -> Object* { return module(self).outlets().keyWordArrayController.get(); });
    cls.addInstanceMethod("fieldCalendarWhenNoProject", &controlImp<&O::fieldCalendarWhenNoProject>);
    cls.addInstanceMethod("alarmTimePicker", &controlImp<&O::alarmTimePicker>);
    cls.addInstanceMethod("alarmWithDueDateSwitch", &controlImp<&O::alarmWithDueDateSwitch>);
    cls.addInstanceMethod("showTagsPopup", &controlImp<&O::showTagsPopup>);
    cls.addInstanceMethod("hideTagsPopup", &controlImp<&O::hideTagsPopup>);
    cls.addInstanceMethod("version", &controlImp<&O::version>);
    return cls;
}

LumettaPreferencesModule& LumettaPreferencesModule::sharedInstance() {
    // Made once and kept for the life of the process, as the preferences window keeps it.
    static auto* shared = new LumettaPreferencesModule(&registerClass());
    return *shared;
}

LumettaPreferencesModule::LumettaPreferencesModule(Class* cls) : Object(cls) {
    ValueTransformer::setValueTransformer(std::make_shared<ImmutableToMutableArrayOfObjectsTransformer>(),
                                          ImmutableToMutableArrayOfObjectsTransformer::kName);
}

void LumettaPreferencesModule::loadInterface() {
    if (outlets_)
        return;
    using K = Control::Kind;
    Outlets o;
    o.projectsTable = TableView::make("projectsTable");
    o.keyWordTable = TableView::make("keyWordTable");
    o.defaultDueDate = Control::make(K::TextField, "defaultDueDate");
    o.projectArrayController = LUProjectArrayController::make();
    o.keyWordArrayController = LUKeyWordArrayController::make();
    o.version = Control::make(K::TextField, "version");
    o.fieldCalendarWhenNoProject = Control::make(K::TextField, "fieldCalendarWhenNoProject");
    o.alarmWithDueDateSwitch = Control::make(K::Button, "alarmWithDueDateSwitch");
    o.alarmTimePicker = Control::make(K::DatePicker, "alarmTimePicker");
    o.hideTagsPopup = Control::make(K::PopUpButton, "hideTagsPopup");
    o.showTagsPopup = Control::make(K::PopUpButton, "showTagsPopup");
    o.projectArrayController->setTable(o.projectsTable);
    o.keyWordArrayController->setTable(o.keyWordTable);
    outlets_ = std::move(o);
    // The lists come in through their bindings, then the file's objects wake up.
    outlets_->projectArrayController->loadFromDefaults();
    outlets_->keyWordArrayController->loadFromDefaults();
    outlets_->projectArrayController->awakeFromNib();
    outlets_->keyWordArrayController->awakeFromNib();
    awakeFromNib();
}

LumettaPreferencesModule::Outlets& LumettaPreferencesModule::outlets() {
    loadInterface();
    return *outlets_;
}

void LumettaPreferencesModule::awakeFromNib() {
    outlets_->projectsTable->registerForDraggedTypes({TagListArrayController::kDraggingType});
    outlets_->keyWordTable->registerForDraggedTypes({TagListArrayController::kDraggingType});
}

void LumettaPreferencesModule::initializeFromDefaults() {
    Outlets& o = outlets();
    const UserDefaults& defaults = UserDefaults::standard();
    o.version->setStringValue(platform::format("Lumetta  %@", {version()}));
    if (const Value calendar = defaults.valueForKey(kDefaultCalendar);
        !(calendar.string() && calendar.string()->empty()))
        o.fieldCalendarWhenNoProject->setStringValue(calendar.stringValue());
    if (auto time = alarmTime(defaults.stringForKey(kAlarmTime)))
        o.alarmTimePicker->setDateValue(*time);
    const bool alarm = defaults.valueForKey(kSetAlarmWithDueDate).boolValue();
    o.alarmWithDueDateSwitch->setState(alarm ? 1 : 0);
    o.alarmTimePicker->setEnabled(alarm);
    o.showTagsPopup->selectItemWithTag(defaults.stringForKey(kShowTagsPanel) == kManually ? 0 : 1);
    o.hideTagsPopup->selectItemWithTag(defaults.stringForKey(kHideTagsPanel) == kManually ? 0 : 1);
}

void LumettaPreferencesModule::saveChanges() {
    PreferenceLists::postProjectListModified();
    const platform::Array& keywords = outlets().keyWordArrayController->arrangedObjects();
    if (!keywords.empty())
        PreferenceLists::postKeywordListModified(keywords);
}

void LumettaPreferencesModule::addEntry(TagListArrayController& controller, TableView& table,
                                        const std::string& title) {
    controller.setSelectsInsertedObjects(true);
    const std::size_t index = controller.arrangedObjects().count();
    controller.insertObjectAtArrangedObjectIndex(platform::Dictionary{{PreferenceLists::kTitle, title}},
                                                 index);
    controller.setSelectionIndex(index);
    table.selectRowIndexes({index});
    table.editColumn(0, index, true);
}

void LumettaPreferencesModule::addProject(Object*) {
    Outlets& o = outlets();
    addEntry(*o.projectArrayController, *o.projectsTable, LumettaStrings::localized("New Project"));
}

void LumettaPreferencesModule::addKeyWord(Object*) {
    Outlets& o = outlets();
    addEntry(*o.keyWordArrayController, *o.keyWordTable, LumettaStrings::localized("New Keyword"));
}

void LumettaPreferencesModule::selectCalendarWhenNoProject(Object* sender) {
    const auto* choice = dynamic_cast<Control*>(sender);
    const bool none = choice && choice->selectedTag() == 0;
    UserDefaults::standard().setObject(none ? "" : outlets().fieldCalendarWhenNoProject->stringValue(),
                                       kDefaultCalendar);
}

void LumettaPreferencesModule::setAlarmTime(Object* sender) {
    const Control* picker = senderOr(sender, Control::Kind::DatePicker, outlets().alarmTimePicker);
    UserDefaults::standard().setObject(alarmTimeText(picker->dateValue()), kAlarmTime);
}

void LumettaPreferencesModule::setAlarmWithDueDate(Object* sender) {
    const Control* alarmSwitch = senderOr(sender, Control::Kind::Button, outlets().alarmWithDueDateSwitch);
    const int on = alarmSwitch->state();
    UserDefaults::standard().setObject(on, kSetAlarmWithDueDate);
    outlets().alarmTimePicker->setEnabled(on != 0);
}

void LumettaPreferencesModule::setShowTagsOption(Object* sender) {
    const Control* popup = senderOr(sender, Control::Kind::PopUpButton, outlets().showTagsPopup);
    UserDefaults::standard().setObject(popup->selectedTag() == 0 ? kManually : kAutomatically,
                                       kShowTagsPanel);
}

void LumettaPreferencesModule::setHideTagsOption(Object* sender) {
    const Control* popup = senderOr(sender, Control::Kind::PopUpButton, outlets().hideTagsPopup);
    UserDefaults::standard().setObject(popup->selectedTag() == 0 ? kManually : kAutomatically,
                                       kHideTagsPanel);
}

std::string LumettaPreferencesModule::alarmTimeText(platform::Date time) {
    const auto seconds = static_cast<std::time_t>(std::floor(time.unixSeconds()));
    std::tm local{};
    localtime_r(&seconds, &local);
    return platform::format("%02i:%02i", {local.tm_hour, local.tm_min});
}

std::optional<platform::Date> LumettaPreferencesModule::alarmTime(const std::string& text) {
    const auto colon = text.find(':');
    if (colon == std::string::npos || text.find(':', colon + 1) != std::string::npos)
        return std::nullopt;
    std::tm local{};
    local.tm_year = 101; // the reference day, 1 January 2001: only the time of day counts
    local.tm_mday = 1;
    local.tm_hour = Value(text.substr(0, colon)).intValue();
    local.tm_min = Value(text.substr(colon + 1)).intValue();
    local.tm_isdst = -1;
    return platform::Date::fromUnix(static_cast<double>(std::mktime(&local)));
}

} // namespace lumetta
