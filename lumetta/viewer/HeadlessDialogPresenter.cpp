#include "lumetta/viewer/HeadlessDialogPresenter.h"

#include "lumetta/viewer/LumettaExtraDialogsOwner.h"
#include "mailhost/viewer/DialogAnswers.h"
#include "platform/foundation/Value.h"

#include <cstdio>

namespace lumetta {

using mailhost::Control;
using mailhost::DialogAnswers;
using platform::Dictionary;
using platform::Value;

namespace {

void setControl(Control& control, const Value& value) {
    switch (control.kind()) {
    case Control::Kind::TextField:
        control.setStringValue(value.stringValue());
        break;
    case Control::Kind::Button:
        control.setState(value.boolValue() ? 1 : 0);
        break;
    case Control::Kind::PopUpButton:
    case Control::Kind::Matrix:
        control.selectItemWithTag(value.intValue());
        break;
    case Control::Kind::DatePicker:
        if (const platform::Date* date = value.date())
            control.setDateValue(*date);
        break;
    case Control::Kind::TabView:
        control.selectTabWithIdentifier(value.stringValue());
        break;
    }
}

// Radio buttons are clicks: choosing one turns its partner off and runs its action.
void chooseDueDateMode(LumettaExtraDialogsOwner& owner, const Dictionary& answer) {
    const auto& o = owner.outlets();
    if (answer.contains("setDateTo") || answer.contains("setDateOff")) {
        const bool on = answer.contains("setDateTo") ? answer.get("setDateTo").boolValue()
                                                     : !answer.get("setDateOff").boolValue();
        o.setDateTo->setState(on ? 1 : 0);
        o.setDateOff->setState(on ? 0 : 1);
        if (on)
            owner.setDueDateOn(o.setDateTo.get());
        else
            owner.setDueDateOff(o.setDateOff.get());
    }
    if (answer.contains("moveDateUseTodayButton") || answer.contains("moveDateDontAdjustButton")) {
        const bool today = answer.contains("moveDateUseTodayButton")
                               ? answer.get("moveDateUseTodayButton").boolValue()
                               : !answer.get("moveDateDontAdjustButton").boolValue();
        o.moveDateUseTodayButton->setState(today ? 1 : 0);
        o.moveDateDontAdjustButton->setState(today ? 0 : 1);
    }
}

// Each keyword is checked by clicking its row, or typed in and added when the table
// has none.
void checkKeywords(LumettaExtraDialogsOwner& owner, const Value& keywords) {
    const auto& o = owner.outlets();
    if (!keywords.array())
        return;
    for (const Value& keyword : keywords.array()->items()) {
        bool found = false;
        for (std::size_t row = 0; row < owner.keywordList().count(); ++row) {
            const Value entry = owner.keywordList().at(row);
            const Dictionary* fields = entry.dictionary();
            if (!fields || !fields->get("label").isEqual(keyword))
                continue;
            found = true;
            if (fields->get("state").intValue() != 1) {
                o.keywordTableView->selectRowIndexes({row});
                owner.keywordTableViewSelected(o.keywordTableView.get());
            }
            break;
        }
        if (!found) {
            o.selectKeyWordField->setStringValue(keyword.stringValue());
            owner.addKeywordAction(o.selectKeyWordField.get());
        }
    }
}

} // namespace

const char* HeadlessDialogPresenter::answerName(EditDialog dialog) {
    switch (dialog) {
    case EditDialog::OtherProject:
    case EditDialog::ProjectModal:
        return DialogAnswers::kOtherProject;
    case EditDialog::OtherKeyword:
        return DialogAnswers::kOtherKeyword;
    case EditDialog::EditKeywords:
        return DialogAnswers::kEditKeywords;
    case EditDialog::EditNote:
        return DialogAnswers::kEditNote;
    case EditDialog::DueDate:
        return DialogAnswers::kDueDate;
    }
    return "";
}

void HeadlessDialogPresenter::runModal(LumettaExtraDialogsOwner& owner, EditDialog dialog,
                                       platform::runtime::Object*) {
    auto answer = DialogAnswers::shared().take(answerName(dialog));
    if (!answer || (answer->contains(DialogAnswers::kOK) && !answer->get(DialogAnswers::kOK).boolValue())) {
        owner.cancelButton(nullptr);
        return;
    }
    for (const auto& [name, value] : answer->entries())
        if (Control* control = owner.outletNamed(name))
            setControl(*control, value);
    switch (dialog) {
    case EditDialog::OtherProject:
    case EditDialog::ProjectModal:
        owner.okProjectButton(nullptr);
        return;
    case EditDialog::OtherKeyword:
        owner.okKeywordButton(nullptr);
        return;
    case EditDialog::EditKeywords:
        checkKeywords(owner, answer->get(DialogAnswers::kCheckedKeywords));
        break;
    case EditDialog::DueDate:
        chooseDueDateMode(owner, *answer);
        break;
    case EditDialog::EditNote:
        break;
    }
    owner.okButton(nullptr);
}

void HeadlessDialogPresenter::showWelcome(const std::string& title, const std::string& text) {
    std::fprintf(stderr, "%s\n\n%s\n", title.c_str(), text.c_str());
}

} // namespace lumetta
