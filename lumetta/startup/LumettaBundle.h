#pragma once

#include "lumetta/calendar/LumettaICalToDo.h"
#include "lumetta/core/PluginBundle.h"
#include "mailhost/bundle/MVMailBundle.h"
#include "platform/foundation/Lock.h"
#include "platform/foundation/Notification.h"
#include "platform/foundation/Value.h"
#include "platform/interface/InterfaceFile.h"

#include <memory>
#include <optional>
#include <string>

namespace lumetta {

using platform::runtime::Class;
using platform::runtime::Object;
using platform::runtime::Sel;

class MenuItem;

// The plug-in's principal class: the one object the host makes for the plug-in. Its
// class start-up fills in missing settings and registers with the host; its instance
// start-up builds what the plug-in shows, listens for list changes and arms the
// periodic calendar refresh.
class LumettaBundle : public mailhost::MVMailBundle {
public:
    static constexpr const char* kClassName = PluginBundle::kPrincipalClassName;
    static constexpr const char* kPrefVersion = "1.2.0";

    explicit LumettaBundle(Class* cls) : MVMailBundle(cls) {}
    ~LumettaBundle() override;

    // Defines the class, its methods and its instance factory; idempotent.
    static Class& registerClass();

    // Class methods (the host's bundle protocol and the start-up steps).
    static void load(Class*, Sel) {}
    static void initialize(Class* cls, Sel sel);
    static void firstRun(Class* cls, Sel sel);
    static void setDefaultValueForDefault(Class* cls, Sel sel, platform::Value value, std::string key);
    static bool hasPreferencesPanel(Class*, Sel) { return true; }
    static std::string preferencesOwnerClassName(Class*, Sel) { return "LumettaPreferencesModule"; }
    static std::string preferencesPanelName(Class*, Sel) { return "Lumetta"; }
    static bool hasComposeAccessoryViewOwner(Class*, Sel) { return false; }

    // Instance start-up; nullptr when the host's init fails.
    static Object* init(Object* self, Sel sel);

    void keywordListModified(const platform::Notification& notification);
    void projectListModified(const platform::Notification& notification);
    void observeNotification(const platform::Notification& notification);
    // One refresh from the calendar (ICalRefreshPass), announced with its summary, then
    // the next one armed: in every case, whatever the pass did.
    void refreshICalData();
    static void refreshICalDataImp(Object* self, Sel) {
        static_cast<LumettaBundle*>(self)->refreshICalData();
    }
    // For a refresh the user asks for: after the pass, the links to to-dos deleted in the
    // calendar, which timed passes cannot see, are found and removed
    // (ICalRefreshPass::sweepVanished). Returns the sweep's summary.
    static platform::Dictionary lumettaSweepVanishedToDos(Object*, Sel);
    // For a refresh the user asks for by message: re-reads the messages of these library
    // rows (an array of numbers) whatever the calendar lists; the tag changes and the
    // to-dos that could not be read, as in a pass's summary (ICalRefreshPass::reread).
    static platform::Dictionary lumettaRereadMessagesFromICal(Object*, Sel, platform::Value rows);

    // Loads one of the bundle's interface files; an error when it is missing or broken.
    static platform::Result<platform::InterfaceFile> loadInterface(const Class* cls, const std::string& name);

    // The menu-bar item holding the plug-in's menu; absent until the menus are built.
    MenuItem* lumettaMenuItem = nullptr;
    // The calendar client that starts the calendar and runs the refresh queries.
    std::unique_ptr<LumettaICalToDo> iCalRefresher;

private:
    void armRefresh();

    static inline std::unique_ptr<platform::Lock> bundleMessageLock_; // class-wide, deliberately unused
    std::optional<platform::InterfaceFile> contextMenu_;
};

} // namespace lumetta
