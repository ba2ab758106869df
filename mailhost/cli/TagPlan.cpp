#include "mailhost/cli/TagPlan.h"

#include "mailhost/cli/DueDateArgument.h"
#include "mailhost/rules/TagPriority.h"
#include "mailhost/viewer/DialogAnswers.h"
#include "platform/runtime/Send.h"

#include <charconv>
#include <cstdlib>

namespace mailhost {

using platform::Array;
using platform::Dictionary;
using platform::Value;
using Step = TagPlan::Step;

namespace {

constexpr int kUsage = 2;

platform::Error usage(std::string message) {
    return platform::makeError(std::move(message), kUsage);
}

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    const auto last = text.find_last_not_of(" \t");
    return first == std::string_view::npos ? std::string()
                                           : std::string(text.substr(first, last - first + 1));
}

// "a, b,c" -> a, b, c; "" -> nothing. Empty items are an error.
platform::Result<Array> keywordList(const std::string& text) {
    Array list;
    if (trimmed(text).empty())
        return list;
    std::size_t from = 0;
    while (from <= text.size()) {
        const auto comma = std::min(text.find(',', from), text.size());
        const std::string item = trimmed(std::string_view(text).substr(from, comma - from));
        if (item.empty())
            return usage("--set-keywords \"" + text + "\": an empty keyword between commas");
        if (!list.contains(item))
            list.add(item);
        from = comma + 1;
    }
    return list;
}

std::optional<int> wholeNumber(const std::string& text) {
    int n = 0;
    const char* first = text.data() + (text.starts_with('+') ? 1 : 0);
    const auto [end, ec] = std::from_chars(first, text.data() + text.size(), n);
    if (ec != std::errc() || end != text.data() + text.size() || first == text.data() + text.size())
        return std::nullopt;
    return n;
}

std::string joined(const std::vector<std::string>& items) {
    std::string out;
    for (const auto& item : items)
        out += (out.empty() ? "" : ", ") + item;
    return out;
}

Step values(std::string selector, Value argument, std::string description) {
    Step s;
    s.send = Step::Send::Values;
    s.selector = std::move(selector);
    s.argument = std::move(argument);
    s.description = std::move(description);
    return s;
}

Step action(std::string selector, std::string description) {
    Step s;
    s.selector = std::move(selector);
    s.description = std::move(description);
    return s;
}

Step dialog(std::string selector, std::string name, Dictionary answer, std::string description) {
    Step s = action(std::move(selector), std::move(description));
    s.dialog = std::move(name);
    s.dialogAnswer = std::move(answer);
    return s;
}

} // namespace

platform::Result<TagPlan> TagPlan::read(const Options& o) {
    TagPlan plan;
    auto& steps = plan.steps_;
    if (o.clearAll)
        steps.push_back(action("lumettaClearAll:", "cleared all tags"));

    if (o.clearKeywords && o.setKeywords)
        return usage("--clear-keywords and --set-keywords contradict each other");
    if (o.clearKeywords)
        steps.push_back(action("lumettaClearKeywords:", "cleared keywords"));
    if (o.setKeywords) {
        auto list = LUMETTA_TRY(keywordList(*o.setKeywords));
        std::vector<std::string> names;
        for (const Value& k : list.items())
            names.push_back(k.stringValue());
        steps.push_back(
            values("setKeywords:", list,
                   names.empty() ? "set an empty keyword list" : "set keywords to " + joined(names)));
    }
    for (const auto* group : {&o.removeKeywords, &o.addKeywords}) {
        if (group->empty())
            continue;
        Array list;
        for (const auto& keyword : *group) {
            if (trimmed(keyword).empty())
                return usage(std::string(group == &o.addKeywords ? "--add-keyword" : "--remove-keyword") +
                             " needs a keyword");
            list.add(keyword);
        }
        const bool adding = group == &o.addKeywords;
        steps.push_back(values(adding ? "addKeywords:" : "removeKeywords:", list,
                               std::string(adding ? "added " : "removed ") +
                                   (group->size() == 1 ? "keyword " : "keywords ") + joined(*group)));
    }

    if (o.clearProject && o.project)
        return usage("--clear-project and --project contradict each other");
    if (o.project && trimmed(*o.project).empty())
        return usage("--project needs a name (use --clear-project to remove the project)");
    if (o.clearProject)
        steps.push_back(values("setProject:", Value(), "cleared project"));
    if (o.project)
        steps.push_back(values("setProject:", *o.project, "set project to " + *o.project));

    if (o.priority) {
        auto n = TagPriority::read(*o.priority, "--priority \"" + *o.priority + "\"");
        if (!n)
            return usage(n.error().message);
        Step s = values("setPriority:", n.value(),
                        n.value() == 0 ? "cleared priority" : "set priority to " + *o.priority);
        s.send = Step::Send::Priority;
        steps.push_back(std::move(s));
    }

    if (o.due) {
        auto due = DueDateArgument::read(*o.due);
        if (!due)
            return usage(due.error().message);
        using Kind = DueDateArgument::Kind;
        const Kind kind = due.value().kind;
        if (kind == Kind::On) {
            // The dialog cannot switch dates on without setting one: the menu command can.
            steps.push_back(values("setDueDate:", "On", "switched due dates on"));
        } else {
            Dictionary answer{{"dueDateTabView", "1"}, {"setDateTo", kind == Kind::Date ? 1 : 0}};
            if (kind == Kind::Date)
                answer.set("dueDatePicker", due.value().date);
            else
                answer.set("clearExistingDueDateSwitch", kind == Kind::None ? 1 : 0);
            steps.push_back(dialog("lumettaEditDueDate:", DialogAnswers::kDueDate, answer,
                                   kind == Kind::Date  ? "set due date to " + *o.due
                                   : kind == Kind::Off ? "switched due dates off"
                                                       : "removed due dates"));
        }
    }
    if (o.useToday && !o.moveDue)
        return usage("--use-today only goes with --move-due");
    if (o.moveDue) {
        auto days = wholeNumber(*o.moveDue);
        if (!days)
            return usage("--move-due \"" + *o.moveDue + "\": give a whole number of days, e.g. 7 or -1");
        Dictionary answer{
            {"dueDateTabView", "2"}, {"moveDateField", *days}, {"moveDateUseTodayButton", o.useToday}};
        steps.push_back(dialog("lumettaEditDueDate:", DialogAnswers::kDueDate, answer,
                               "moved due dates by " + std::to_string(*days) +
                                   (std::abs(*days) == 1 ? " day" : " days") +
                                   (o.useToday ? " (from today where none was set)" : "")));
    }

    if (o.before && o.after)
        return usage("--before and --after contradict each other");
    if ((o.before || o.after) && !o.note)
        return usage(std::string(o.before ? "--before" : "--after") + " only goes with --note");
    if (o.note) {
        const int placement = o.before ? 1 : o.after ? 2 : 0;
        const char* what = o.note->empty() && placement == 0 ? "removed notes"
                           : placement == 1                  ? "put the note before existing notes"
                           : placement == 2                  ? "added the note after existing notes"
                                                             : "set the note";
        steps.push_back(dialog("lumettaSetNote:", DialogAnswers::kEditNote,
                               Dictionary{{"noteField", *o.note}, {"notePlacementPopup", placement}}, what));
    }
    if (steps.empty())
        return usage("say what to change, e.g. --add-keyword Work (see 'lumetta tag --help')");
    return plan;
}

std::vector<std::string> TagPlan::selectors() const {
    std::vector<std::string> out;
    for (const auto& step : steps_)
        out.push_back(step.selector);
    return out;
}

std::string TagPlan::summary() const {
    std::vector<std::string> parts;
    for (const auto& step : steps_)
        parts.push_back(step.description);
    return joined(parts);
}

bool TagPlan::apply(MessageViewer& viewer, std::string& why) const {
    Object* self = &viewer;
    namespace rt = platform::runtime;
    for (const auto& step : steps_) {
        if (step.dialogAnswer)
            DialogAnswers::shared().push(step.dialog, *step.dialogAnswer);
        bool sent = false;
        switch (step.send) {
        case Step::Send::Values:
            sent = rt::sendVoid(self, step.selector, step.argument);
            break;
        case Step::Send::Priority:
            sent = rt::sendVoid(self, step.selector, step.argument.intValue());
            break;
        case Step::Send::Action:
            sent = viewer.sendAction(step.selector, nullptr);
            break;
        }
        if (!sent) {
            why = "the Lumetta bundle does not provide " + step.selector + " (is it loaded?)";
            DialogAnswers::shared().clear();
            return false;
        }
        if (step.dialogAnswer && DialogAnswers::shared().pending() != 0) {
            why = "the " + step.dialog + " dialog of the Lumetta bundle did not run";
            DialogAnswers::shared().clear();
            return false;
        }
    }
    return true;
}

} // namespace mailhost
