#include "lumetta/startup/CategoryLoader.h"

#include "lumetta/calendar/MessageCalendarCategory.h"
#include "lumetta/core/AttachedStateCategories.h"
#include "lumetta/criteria/LibraryCriterionFixing.h"
#include "lumetta/criteria/MessageCriterionCategory.h"
#include "lumetta/prefs/LumettaPreferencesModule.h"
#include "lumetta/rules/ConcreteMessageMallCategory.h"
#include "lumetta/rules/MessageRuleTagActions.h"
#include "lumetta/rules/MessageRuleValidationCategory.h"
#include "lumetta/startup/LumettaBundle.h"
#include "lumetta/store/LibraryMessageTagAccess.h"
#include "lumetta/store/LibraryStoreTagCarryOver.h"
#include "lumetta/store/LibraryTagPersistence.h"
#include "lumetta/store/MessageTagAccess.h"
#include "lumetta/store/MessageWriterTagCarryOver.h"
#include "lumetta/store/RecoveredMessageTagAccess.h"
#include "lumetta/store/SpotlightSync.h"
#include "lumetta/viewer/MessageViewerCategory.h"

namespace lumetta {

void loadCategories() {
    static bool loaded = false;
    if (loaded)
        return;
    loaded = true;
    LumettaBundle::registerClass();
    // Host classes in the order their replacements are installed; the criteria,
    // rules, viewer and panel categories join this list as they arrive.
    LibraryTagPersistence::load();
    SpotlightSync::load();
    LibraryCriterionFixing::load();
    MessageCriterionCategory::load();
    MessageContentControllerCategory::load();
    CriteriaUIHelperCategory::load();
    MessageTilingViewCategory::load();
    MailSorterPreferencesCategory::load();
    MessageRuleCategory::load();
    ConcreteMessageMallCategory::load();
    MessageRuleTagActions::load();
    MessageRuleValidationCategory::load();
    LibraryMessageTagAccess::load();
    MessageTagAccess::load();
    RecoveredMessageTagAccess::load();
    LibraryStoreTagCarryOver::load();
    MessageWriterTagCarryOver::load();
    MessageViewerCategory::load();
    LumettaPreferencesModule::load();
    MessageCalendarCategory::load();
}

} // namespace lumetta
