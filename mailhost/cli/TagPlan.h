#pragma once

#include "mailhost/viewer/MessageViewer.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"
#include "platform/foundation/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace mailhost {

// The tag changes of one `lumetta tag` call, checked and put in the order they are
// applied: --clear-all; --clear-keywords, --set-keywords, --remove-keyword,
// --add-keyword; --clear-project or --project; --priority; --due, then --move-due;
// --note. Each change is one of the viewer's tag commands, sent by selector as a menu
// or a dialog would send it; the note and due-date changes run the bundle's dialogs,
// answered with the values given here.
class TagPlan {
public:
    // The options as typed.
    struct Options {
        bool clearAll = false;
        bool clearKeywords = false;
        std::optional<std::string> setKeywords; // "a,b"; "" sets an empty list
        std::vector<std::string> removeKeywords, addKeywords;
        bool clearProject = false;
        std::optional<std::string> project;
        std::optional<std::string> priority;
        std::optional<std::string> due;
        std::optional<std::string> moveDue;
        bool useToday = false;
        std::optional<std::string> note;
        bool before = false, after = false;
    };

    // One change: a selector with its argument, or a dialog's action with its answer.
    struct Step {
        enum class Send { Values, Action, Priority } send = Send::Action;
        std::string selector;
        platform::Value argument;
        std::optional<platform::Dictionary> dialogAnswer; // queued under `dialog`
        std::string dialog;
        std::string description; // for the summary: "added keyword x"
    };

    // An error with the exit status 2 naming the option that is wrong; nothing is
    // opened or changed before this has passed.
    [[nodiscard]] static platform::Result<TagPlan> read(const Options& options);

    const std::vector<Step>& steps() const { return steps_; }
    bool clearsAll() const { return !steps_.empty() && steps_.front().selector == "lumettaClearAll:"; }
    // The selectors the loaded bundle must answer.
    std::vector<std::string> selectors() const;
    // "added keyword x, set project to Apollo"
    std::string summary() const;

    // Applies every step to the viewer's selection; false (after `why`) when the bundle
    // lacks a command or a dialog did not take its answer.
    bool apply(MessageViewer& viewer, std::string& why) const;

private:
    std::vector<Step> steps_;
};

} // namespace mailhost
