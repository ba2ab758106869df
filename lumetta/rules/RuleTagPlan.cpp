#include "lumetta/rules/RuleTagPlan.h"

#include "lumetta/rules/RuleActionKeys.h"
#include "lumetta/store/TagKeys.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/CalendarDateFormatter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace lumetta {

using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::Value;
namespace keys = RuleActionKeys;

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

bool isYes(const Value& value) {
    const std::string* text = value.string();
    return text && *text == keys::kYes;
}

bool isString(const Value& value, const char* word) {
    const std::string* text = value.string();
    return text && *text == word;
}

// A whole number of days in seconds, reckoned in 32 bits as the host's int arithmetic
// does: very long shifts wrap around rather than grow.
std::int32_t daysInSeconds(const Value& days) {
    const std::int64_t product = static_cast<std::int64_t>(days.intValue()) * kSecondsPerDay;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(product));
}

// A moved due date is kept to whole seconds in 32 bits, dropping the fraction toward zero.
Date wholeSeconds(double seconds) {
    if (std::isnan(seconds))
        seconds = 0;
    const double limited = std::clamp(std::trunc(seconds), double(std::numeric_limits<std::int32_t>::min()),
                                      double(std::numeric_limits<std::int32_t>::max()));
    return Date{static_cast<double>(static_cast<std::int32_t>(limited))};
}

std::string expand(const std::string& comment, const std::string& token, Date today,
                   const std::string& format) {
    if (token.empty() || comment.find(token) == std::string::npos)
        return comment;
    const std::string date = platform::CalendarDateFormatter::format(today, format);
    std::string out;
    std::size_t from = 0;
    for (std::size_t at = comment.find(token); at != std::string::npos; at = comment.find(token, from)) {
        out.append(comment, from, at - from);
        out += date;
        from = at + token.size();
    }
    out.append(comment, from, std::string::npos);
    return out;
}

} // namespace

RuleTagPlan RuleTagPlan::read(const std::optional<Dictionary>& actions, const std::string& dateToken,
                              Date today, const std::string& dateFormat) {
    RuleTagPlan plan;
    if (!actions)
        return plan;
    const Dictionary& d = *actions;
    plan.project_ = d.get(keys::kProject);
    plan.priority_ = d.get(keys::kPriority);
    plan.offset_ = d.get(keys::kDueDateOffset);
    plan.comment_ = d.get(keys::kComment);
    plan.location_ = d.get(keys::kCommentLocation).stringValue();
    plan.clearAll_ = isYes(d.get(keys::kShouldClearAll));
    plan.clearDueDate_ = isYes(d.get(keys::kShouldClearDueDate));
    plan.clearKeywords_ = isYes(d.get(keys::kShouldClearKeywords));
    plan.fromExisting_ = isYes(d.get(keys::kDueDateFromExisting));
    plan.setDueDate_ = d.get(keys::kSetDueDate);
    plan.addKeywords_ = d.get(keys::kAddKeywords);
    plan.removeKeywords_ = d.get(keys::kRemoveKeywords);
    if (!plan.comment_.isNull())
        plan.note_ = expand(plan.comment_.stringValue(), dateToken, today, dateFormat);
    return plan;
}

bool RuleTagPlan::touchesTags() const {
    return !project_.isNull() || !priority_.isNull() || !offset_.isNull() || !comment_.isNull() ||
           clearAll_ || clearDueDate_ || !addKeywords_.isNull() || !removeKeywords_.isNull() ||
           clearKeywords_ || !setDueDate_.isNull();
}

void RuleTagPlan::apply(Dictionary& record, bool unflag, const std::function<void()>& deleteToDo) const {
    const Value pending = record.get(TagKeys::kTagsToRemove);
    Array removals = pending.array() ? *pending.array()
                     : pending.set() ? Array(pending.set()->items())
                                     : Array();
    const auto noteRemoval = [&](const char* key) {
        if (!removals.contains(Value(key)))
            removals.add(Value(key));
    };
    const auto take = [&](const char* key) {
        record.remove(key);
        noteRemoval(key);
    };

    if (clearAll_) {
        for (const char* key : {TagKeys::kProject, TagKeys::kPriority, TagKeys::kDueDate,
                                TagKeys::kDueDateState, TagKeys::kAnnotation, TagKeys::kKeyWords,
                                TagKeys::kGeneralFlag, TagKeys::kICalToDoTitle, TagKeys::kICalToDoCompleted})
            record.remove(key);
        for (const char* key : {TagKeys::kProject, TagKeys::kKeyWords, TagKeys::kPriority, TagKeys::kDueDate,
                                TagKeys::kDueDateState, TagKeys::kAnnotation, TagKeys::kGeneralFlag,
                                TagKeys::kICalUID, TagKeys::kICalToDoTitle, TagKeys::kICalToDoCompleted})
            noteRemoval(key);
        if (!record.get(TagKeys::kICalUID).isNull()) {
            if (deleteToDo)
                deleteToDo();
            record.remove(TagKeys::kICalUID);
        }
    }
    if (unflag)
        take(TagKeys::kGeneralFlag);
    if (clearKeywords_)
        take(TagKeys::kKeyWords);
    if (clearDueDate_) {
        take(TagKeys::kDueDate);
        take(TagKeys::kDueDateState);
    }
    if (!project_.isNull()) {
        if (isString(project_, TagKeys::kNoProject.data()))
            take(TagKeys::kProject);
        else
            record.set(TagKeys::kProject, project_.array() ? project_ : Value(Array{project_}));
    }
    if (!addKeywords_.isNull()) {
        const Value current = record.get(TagKeys::kKeyWords);
        Array keywords = current.array() ? current.array()->mutableCopy() : Array();
        if (const Array* added = addKeywords_.array())
            for (const Value& keyword : added->items())
                if (!keywords.contains(keyword))
                    keywords.add(keyword);
        record.set(TagKeys::kKeyWords, keywords);
    }
    if (!removeKeywords_.isNull()) {
        const Value current = record.get(TagKeys::kKeyWords);
        if (const Array* has = current.array()) {
            Array keywords = has->mutableCopy();
            if (const Array* removed = removeKeywords_.array())
                for (const Value& keyword : removed->items())
                    keywords.remove(keyword);
            if (keywords.empty())
                take(TagKeys::kKeyWords);
            else
                record.set(TagKeys::kKeyWords, keywords);
        }
    }
    if (!priority_.isNull()) {
        if (priority_.intValue() == 0)
            take(TagKeys::kPriority);
        else
            record.set(TagKeys::kPriority, priority_);
    }
    if (const Date* date = setDueDate_.date()) {
        record.set(TagKeys::kDueDate, *date);
        record.set(TagKeys::kDueDateState, 1);
    } else if (isString(setDueDate_, keys::kDueNone)) {
        take(TagKeys::kDueDate);
        take(TagKeys::kDueDateState);
    } else if (setDueDate_.isString()) {
        record.set(TagKeys::kDueDateState, isString(setDueDate_, keys::kDueOff) ? 0 : 1);
    }
    if (!offset_.isNull()) {
        const std::int32_t seconds = daysInSeconds(offset_);
        const Value due = record.get(TagKeys::kDueDate);
        const Value state = record.get(TagKeys::kDueDateState);
        if (fromExisting_) {
            if (due.date() && !state.isNull() && state.intValue() != 0) {
                record.set(TagKeys::kDueDate, wholeSeconds(due.date()->seconds + seconds));
            } else if (isString(setDueDate_, keys::kDueOn)) {
                const double from = due.date() ? due.date()->seconds : platform::Clock::now().seconds;
                record.set(TagKeys::kDueDate, wholeSeconds(from + seconds));
                record.set(TagKeys::kDueDateState, 1);
            }
        } else {
            record.set(TagKeys::kDueDate, platform::Clock::now().addingSeconds(seconds));
            record.set(TagKeys::kDueDateState, 1);
        }
    }
    if (note_) {
        const bool append = location_ == keys::kAppend, prepend = location_ == keys::kPrepend;
        if (note_->empty() && location_ == keys::kReplace) {
            take(TagKeys::kAnnotation);
        } else if (!append && !prepend) {
            record.set(TagKeys::kAnnotation, *note_);
        } else {
            const std::string old = record.get(TagKeys::kAnnotation).stringValue();
            record.set(TagKeys::kAnnotation, prepend ? *note_ + old : old + *note_);
        }
    }
    record.set(TagKeys::kTagsToRemove, removals);
}

} // namespace lumetta
