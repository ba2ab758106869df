#include "lumetta/prefs/PreferenceLists.h"

#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/foundation/Value.h"

namespace lumetta {

using platform::Array;
using platform::Dictionary;
using platform::UserDefaults;
using platform::Value;

Array PreferenceLists::list(const std::string& key) {
    const Value stored = UserDefaults::standard().valueForKey(key);
    return stored.array() ? *stored.array() : Array();
}

std::vector<std::string> PreferenceLists::titles(const std::string& key) {
    std::vector<std::string> out;
    const Array entries = list(key);
    for (const Value& entry : entries.items())
        if (const Dictionary* fields = entry.dictionary())
            if (const Value title = fields->get(kTitle); title.isString())
                out.push_back(*title.string());
    return out;
}

void PreferenceLists::append(const std::string& key, const std::string& title) {
    Array updated = list(key).mutableCopy();
    updated.add(Dictionary{{kTitle, title}});
    UserDefaults::standard().setObject(updated, key);
}

void PreferenceLists::postKeywordListModified(const Array& keywords) {
    platform::NotificationCenter::defaultCenter().post(kKeywordListWasModified, nullptr,
                                                       Dictionary{{kKeywordArray, keywords}});
}

void PreferenceLists::postKeywordListModified() {
    postKeywordListModified(list(kKeyWords));
}

void PreferenceLists::postProjectListModified() {
    platform::NotificationCenter::defaultCenter().post(kProjectListWasModified);
}

} // namespace lumetta
