#include "lumetta/core/CategoryLoader.h"

#include "lumetta/core/AttachedStateCategories.h"
#include "lumetta/core/LumettaBundle.h"

namespace lumetta {

void loadCategories() {
    static bool loaded = false;
    if (loaded)
        return;
    loaded = true;
    LumettaBundle::registerClass();
    // Host classes in the order their replacements are installed; the tag store,
    // criteria, rules, viewer and panel categories join this list as they arrive.
    MessageContentControllerCategory::load();
    CriteriaUIHelperCategory::load();
    MessageTilingViewCategory::load();
    MailSorterPreferencesCategory::load();
    MessageRuleCategory::load();
}

} // namespace lumetta
