#include "lumetta/store/TagRecord.h"

#include "lumetta/store/TagKeys.h"
#include "platform/foundation/Set.h"

#include <algorithm>

namespace lumetta {

using platform::Dictionary;
using platform::Value;

void TagRecord::setTag(Dictionary& record, const std::string& key, Value value) {
    record.set(key, std::move(value));
    const Value pending = record.get(TagKeys::kTagsToRemove);
    if (const platform::Set* set = pending.set(); set && set->contains(key)) {
        platform::Set kept = *set;
        kept.remove(key);
        record.set(TagKeys::kTagsToRemove, kept);
    } else if (const platform::Array* array = pending.array(); array && array->contains(key)) {
        platform::Array kept = *array;
        kept.remove(key);
        record.set(TagKeys::kTagsToRemove, kept);
    }
}

void TagRecord::removeTag(Dictionary& record, const std::string& key) {
    const Value pending = record.get(TagKeys::kTagsToRemove);
    // The set is edited in place: every holder of the record sees the same pending
    // removals.
    if (const platform::Set* set = pending.set()) {
        platform::Set(*set).add(key);
    } else if (const platform::Array* array = pending.array()) {
        if (!array->contains(key))
            platform::Array(*array).add(key);
    } else {
        record.set(TagKeys::kTagsToRemove, platform::Set{key});
    }
    record.remove(key);
}

std::vector<std::string> TagRecord::pendingRemovals(const Dictionary& record) {
    std::vector<std::string> keys;
    const Value pending = record.get(TagKeys::kTagsToRemove);
    const std::vector<Value>* items = pending.set()     ? &pending.set()->items()
                                      : pending.array() ? &pending.array()->items()
                                                        : nullptr;
    if (items)
        for (const Value& item : *items)
            if (const std::string* key = item.string())
                keys.push_back(*key);
    return keys;
}

bool TagRecord::isRemovalPending(const Dictionary& record, const std::string& key) {
    const Value pending = record.get(TagKeys::kTagsToRemove);
    if (const platform::Set* set = pending.set())
        return set->contains(key);
    if (const platform::Array* array = pending.array())
        return array->contains(key);
    return false;
}

void TagRecord::mergeTagKeys(Dictionary& target, const Dictionary& source) {
    for (const auto& [key, value] : source.entries())
        if (TagKeys::isTagKey(key))
            target.set(key, value);
    for (const std::string& key : pendingRemovals(source))
        if (!source.contains(key))
            target.remove(key);
}

namespace {

std::vector<Value> elementsOf(const Value& value) {
    if (const platform::Array* array = value.array())
        return array->items();
    return {};
}

bool holds(const std::vector<Value>& items, const Value& item) {
    return std::find(items.begin(), items.end(), item) != items.end();
}

// Keywords are a set in all but order: both sides' additions and removals are kept.
Value mergedKeywords(const Value& theirs, const Value& ours, const Value& asSaved) {
    const std::vector<Value> saved = elementsOf(asSaved);
    const std::vector<Value> mine = elementsOf(ours);
    platform::Array result;
    std::vector<Value> kept;
    for (const Value& keyword : elementsOf(theirs))
        if (!holds(kept, keyword) && !(holds(saved, keyword) && !holds(mine, keyword))) {
            kept.push_back(keyword);
            result.add(keyword);
        }
    for (const Value& keyword : mine)
        if (!holds(saved, keyword) && !holds(kept, keyword)) {
            kept.push_back(keyword);
            result.add(keyword);
        }
    // An empty list stays one when this side made it so; otherwise no keywords is no key.
    return kept.empty() && !ours.isArray() ? Value() : Value(result);
}

bool isKeywordList(const Value& value) {
    return value.isNull() || value.isArray();
}

} // namespace

void TagRecord::mergeChanges(Dictionary& target, const Dictionary& record, const Dictionary& asSaved) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : record.entries())
        if (TagKeys::isTagKey(key))
            keys.push_back(key);
    for (const auto& [key, value] : asSaved.entries())
        if (TagKeys::isTagKey(key) && !record.contains(key))
            keys.push_back(key);
    // A removal asked for since the last save goes, even of a key this side never saw.
    const std::vector<std::string> carriedOut = pendingRemovals(asSaved);
    for (const std::string& key : pendingRemovals(record))
        if (!record.contains(key) && std::find(carriedOut.begin(), carriedOut.end(), key) == carriedOut.end())
            target.remove(key);
    for (const std::string& key : keys) {
        const Value ours = record.get(key);
        const Value saved = asSaved.get(key);
        if (ours == saved)
            continue;
        const Value theirs = target.get(key);
        const Value value =
            key == TagKeys::kKeyWords && isKeywordList(ours) && isKeywordList(saved) && isKeywordList(theirs)
                ? mergedKeywords(theirs, ours, saved)
                : ours;
        if (value.isNull())
            target.remove(key);
        else
            target.set(key, value);
    }
}

void TagRecord::takeTags(Dictionary& record, const Dictionary& tags) {
    std::vector<std::string> gone;
    for (const auto& [key, value] : record.entries())
        if (TagKeys::isTagKey(key) && !tags.contains(key))
            gone.push_back(key);
    for (const std::string& key : gone)
        record.remove(key);
    for (const auto& [key, value] : tags.entries())
        if (record.get(key) != value)
            record.set(key, value);
}

Dictionary TagRecord::tagSnapshot(const Dictionary& record) {
    Dictionary tags;
    for (const auto& [key, value] : record.entries())
        if (TagKeys::isTagKey(key))
            tags.set(key, value.deepCopy());
    return tags;
}

Dictionary TagRecord::tagKeysOnly(const Dictionary& record) {
    Dictionary tags;
    for (const auto& [key, value] : record.entries())
        if (TagKeys::isTagKey(key))
            tags.set(key, value);
    return tags;
}

bool TagRecord::hasTagKeys(const Dictionary& record) {
    for (const auto& [key, value] : record.entries())
        if (TagKeys::isTagKey(key))
            return true;
    return false;
}

bool TagRecord::presentInFile(const Dictionary& plist) {
    const Value note = plist.get(TagKeys::kAnnotation);
    if (note.isString() && !note.string()->empty())
        return true;
    // A project array counts by its first title, so ("None") is no project here
    // either, as it is for every other reader.
    const Value project = plist.get(TagKeys::kProject);
    if ((project.isString() || project.isArray()) && projectTitle(project))
        return true;
    const Value keywords = plist.get(TagKeys::kKeyWords);
    if (keywords.isArray() && !keywords.array()->empty())
        return true;
    return plist.get(TagKeys::kPriority).intValue() != 0 || plist.get(TagKeys::kDueDateState).intValue() != 0;
}

std::optional<std::string> TagRecord::projectTitle(const Value& project) {
    const Value title = project.isArray() ? project.array()->first() : project;
    if (!title.isString() || *title.string() == TagKeys::kNoProject)
        return std::nullopt;
    return *title.string();
}

Value TagRecord::dueDate(const Dictionary& record) {
    const Value state = record.get(TagKeys::kDueDateState);
    if (state.isNull() || state.intValue() == 0)
        return {};
    return record.get(TagKeys::kDueDate);
}

} // namespace lumetta
