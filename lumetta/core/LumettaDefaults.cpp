#include "lumetta/core/LumettaDefaults.h"

namespace lumetta {

using platform::Value;

const std::vector<LumettaDefaults::Entry>& LumettaDefaults::table() {
    static const std::vector<Entry> entries = {
        {"lumettaShowTagsPanel", Value("Automatically")},
        {"lumettaHideTagsPanel", Value("Automatically")},
        {"lumettaCopyKeywordsInReply", Value(true)},
        {"lumettaDateFormatForNote", Value("%m/%d/%Y")},
        {"lumettaShowPanelWhenComposing", Value(true)},
        {"lumettaConversationSearch", Value(true)},
        {"lumettaOpenICalAtLaunch", Value(true)},
        {"lumettaDefaultCalendar", Value("Lumetta")},
        {"lumettaAlarmTime", Value("7:00")},
        {"lumettaICalRefreshFrequency", Value(5)},
        {"lumettaUncheckDueDateWhenComplete", Value(false)},
        {"lumettaOpenICalToRefresh", Value(false)},
        {"lumettaRefreshFromICal", Value(true)},
        {"lumettaShowTagIcon", Value(true)},
    };
    return entries;
}

void LumettaDefaults::fillIn(platform::UserDefaults& defaults) {
    for (const auto& entry : table())
        if (defaults.valueForKey(entry.key).isNull())
            defaults.setObject(entry.value, entry.key);
}

int LumettaDefaults::refreshDelaySeconds(const Value& frequency) {
    int perTenMinutes = frequency.intValue();
    if (perTenMinutes == 0)
        perTenMinutes = 1;
    // A negative setting would give a negative delay; run at once instead.
    return perTenMinutes < 0 ? 0 : 600 / perTenMinutes;
}

} // namespace lumetta
