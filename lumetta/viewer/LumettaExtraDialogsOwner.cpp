#include "lumetta/viewer/LumettaExtraDialogsOwner.h"

#include "lumetta/prefs/PreferenceLists.h"
#include "lumetta/viewer/HeadlessDialogPresenter.h"
#include "platform/foundation/Dictionary.h"
#include "platform/runtime/Assertion.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace lumetta {

using mailhost::Control;
using platform::Array;
using platform::Dictionary;
using platform::Value;

namespace {

std::mutex presenterMutex;

LumettaExtraDialogsOwner::WelcomePresenter& welcomePresenter() {
    static LumettaExtraDialogsOwner::WelcomePresenter p;
    return p;
}

std::shared_ptr<DialogPresenter>& installedPresenter() {
    // Without a display, dialogs take the answers the front end queued for them.
    static std::shared_ptr<DialogPresenter> p = std::make_shared<HeadlessDialogPresenter>();
    return p;
}

std::shared_ptr<Control> control(Control::Kind kind, const char* name) {
    return Control::make(kind, name);
}

} // namespace

void LumettaExtraDialogsOwner::setPresenter(std::shared_ptr<DialogPresenter> p) {
    std::lock_guard lock(presenterMutex);
    installedPresenter() = std::move(p);
}

std::shared_ptr<DialogPresenter> LumettaExtraDialogsOwner::presenter() {
    std::lock_guard lock(presenterMutex);
    return installedPresenter();
}

void LumettaExtraDialogsOwner::setWelcomePresenter(WelcomePresenter p) {
    std::lock_guard lock(presenterMutex);
    welcomePresenter() = std::move(p);
}

// ---- the interface file ----

void LumettaExtraDialogsOwner::loadNib() {
    if (outlets_)
        return;
    if (!presenter())
        platform::runtime::Assertion::fail("-[OtherProjectDialog]", 0,
                                           "### Lumetta: -[OtherProjectDialog]: Unable to load nib named "
                                           "OtherProjectDialog");
    using K = Control::Kind;
    Outlets o;
    o.addToProjectListSwitch = control(K::Button, "addToProjectListSwitch");
    o.otherProjectField = control(K::TextField, "otherProjectField");
    o.kwmodal_keywordField = control(K::TextField, "kwmodal_keywordField");
    o.kwmodal_addToKeywordList = control(K::Button, "kwmodal_addToKeywordList");
    o.addToKeywordListSwitch = control(K::Button, "addToKeywordListSwitch");
    o.editKeywordActionPopup = control(K::PopUpButton, "editKeywordActionPopup");
    o.keywordTableView = mailhost::TableView::make("keywordTableView");
    o.selectKeyWordField = control(K::TextField, "selectKeyWordField");
    o.dueDateTabView = control(K::TabView, "dueDateTabView");
    o.setDateTo = control(K::Button, "setDateTo");
    o.setDateOff = control(K::Button, "setDateOff");
    o.clearExistingDueDateSwitch = control(K::Button, "clearExistingDueDateSwitch");
    o.dueDatePicker = control(K::DatePicker, "dueDatePicker");
    o.moveDateField = control(K::TextField, "moveDateField");
    o.moveDateDontAdjustButton = control(K::Button, "moveDateDontAdjustButton");
    o.moveDateUseTodayButton = control(K::Button, "moveDateUseTodayButton");
    o.noteField = control(K::TextField, "noteField");
    o.notePlacementPopup = control(K::PopUpButton, "notePlacementPopup");
    // As the interface file sets them up.
    o.setDateTo->setState(1);
    o.moveDateDontAdjustButton->setState(1);
    o.moveDateField->setIntValue(1);
    o.dueDateTabView->selectTabWithIdentifier("1");
    o.editKeywordActionPopup->selectItemWithTag(1);
    o.notePlacementPopup->selectItemWithTag(0);
    outlets_ = std::move(o);
}

const LumettaExtraDialogsOwner::Outlets& LumettaExtraDialogsOwner::outlets() {
    loadNib();
    return *outlets_;
}

Control* LumettaExtraDialogsOwner::outletNamed(const std::string& name) {
    const Outlets& o = outlets();
    for (const auto& c :
         {o.addToProjectListSwitch, o.otherProjectField, o.kwmodal_keywordField, o.kwmodal_addToKeywordList,
          o.addToKeywordListSwitch, o.editKeywordActionPopup, o.selectKeyWordField, o.dueDateTabView,
          o.setDateTo, o.setDateOff, o.clearExistingDueDateSwitch, o.dueDatePicker, o.moveDateField,
          o.moveDateDontAdjustButton, o.moveDateUseTodayButton, o.noteField, o.notePlacementPopup})
        if (c->name() == name)
            return c.get();
    return nullptr;
}

// ---- running ----

bool LumettaExtraDialogsOwner::runSheet(EditDialog dialog, Object* window) {
    result_ = false;
    loadNib();
    modalRunning_ = true;
    if (auto p = presenter())
        p->runModal(*this, dialog, window);
    modalRunning_ = false;
    return result_;
}

void LumettaExtraDialogsOwner::stopModal(bool result) {
    result_ = result;
    modalRunning_ = false;
}

void LumettaExtraDialogsOwner::okButton(Object*) {
    stopModal(true);
}

void LumettaExtraDialogsOwner::cancelButton(Object*) {
    stopModal(false);
}

void LumettaExtraDialogsOwner::okProjectButton(Object*) {
    stopModal(true);
    const std::string text = outlets().otherProjectField->stringValue();
    if (outlets().addToProjectListSwitch->state() != 0 && !text.empty()) {
        PreferenceLists::append(PreferenceLists::kProjects, text);
        PreferenceLists::postProjectListModified();
    }
}

void LumettaExtraDialogsOwner::okKeywordButton(Object*) {
    stopModal(true);
    const std::string text = outlets().kwmodal_keywordField->stringValue();
    if (outlets().kwmodal_addToKeywordList->state() != 0 && !text.empty()) {
        PreferenceLists::append(PreferenceLists::kKeyWords, text);
        PreferenceLists::postKeywordListModified();
    }
}

// ---- other project and other keyword ----

bool LumettaExtraDialogsOwner::runSheetforWindow(Object* window) {
    return runSheet(EditDialog::OtherProject, window);
}

std::string LumettaExtraDialogsOwner::projectLabel() const {
    return outlets_ ? outlets_->otherProjectField->stringValue() : std::string();
}

bool LumettaExtraDialogsOwner::shouldAppendToProjectList() const {
    return outlets_ && outlets_->addToProjectListSwitch->state() != 0;
}

std::optional<std::string> LumettaExtraDialogsOwner::runProjectModal() {
    if (!runSheet(EditDialog::ProjectModal, nullptr) || projectLabel().empty())
        return std::nullopt;
    return projectLabel();
}

std::optional<std::string> LumettaExtraDialogsOwner::runKeywordModal() {
    if (!runSheet(EditDialog::OtherKeyword, nullptr) || otherKeywordFromModal().empty())
        return std::nullopt;
    return otherKeywordFromModal();
}

std::string LumettaExtraDialogsOwner::otherKeywordFromModal() const {
    return outlets_ ? outlets_->kwmodal_keywordField->stringValue() : std::string();
}

bool LumettaExtraDialogsOwner::shouldAppendToKeywordList() const {
    return outlets_ && outlets_->kwmodal_addToKeywordList->state() != 0;
}

// ---- keywords of the selection ----

bool LumettaExtraDialogsOwner::editKeywordsOfMessages(const mailhost::MessageList&,
                                                      mailhost::MessageViewer* viewer, int actionTag) {
    loadNib();
    // The dialog starts with nothing checked: the selection's own keywords are
    // deliberately not looked at, so the messages do not decide the rows.
    const Array messageKeywords;
    keywordList_ = Array();
    std::vector<std::string> listed;
    const Array preferences = PreferenceLists::list(PreferenceLists::kKeyWords);
    for (const Value& entry : preferences.items()) {
        const Dictionary* fields = entry.dictionary();
        const Value title = fields ? fields->get(PreferenceLists::kTitle) : Value();
        if (!title.isString() || *title.string() == PreferenceLists::kSeparator)
            continue;
        listed.push_back(*title.string());
        keywordList_.add(Dictionary{
            {"label", title}, {"state", messageKeywords.contains(title) ? 1 : 0}, {"type", kPreferenceRow}});
    }
    for (const Value& keyword : messageKeywords.items())
        if (std::find(listed.begin(), listed.end(), keyword.stringValue()) == listed.end())
            keywordList_.add(Dictionary{{"label", keyword}, {"state", 1}, {"type", kMessageRow}});
    outlets_->keywordTableView->reloadData();
    outlets_->editKeywordActionPopup->selectItemWithTag(actionTag);
    return runSheet(EditDialog::EditKeywords, viewer ? viewer->window() : nullptr);
}

int LumettaExtraDialogsOwner::tagOfSelectedEditKeywordAction() const {
    return outlets_ ? outlets_->editKeywordActionPopup->selectedTag() : 0;
}

Value LumettaExtraDialogsOwner::selectedKeywords() const {
    Array checked;
    for (const Value& row : keywordList_.items())
        if (const Dictionary* fields = row.dictionary(); fields && fields->get("state").intValue() == 1)
            checked.add(fields->get("label"));
    return checked.empty() ? Value() : Value(checked);
}

std::size_t LumettaExtraDialogsOwner::numberOfRowsInTableView(const mailhost::TableView*) const {
    return keywordList_.count();
}

Value LumettaExtraDialogsOwner::tableViewObjectValue(const mailhost::TableView*, const std::string& column,
                                                     std::size_t row) const {
    const Value entry = keywordList_.at(row);
    const Dictionary* fields = entry.dictionary();
    if (!fields)
        return Value();
    return fields->get(column == "label" ? "label" : "state");
}

void LumettaExtraDialogsOwner::keywordTableViewSelected(Object*) {
    const auto row = outlets().keywordTableView->selectedRow();
    if (!row || *row >= keywordList_.count())
        return;
    const Value entry = keywordList_.at(*row);
    if (const Dictionary* fields = entry.dictionary())
        Dictionary(*fields).set("state", fields->get("state").intValue() == 1 ? 0 : 1);
}

void LumettaExtraDialogsOwner::addKeywordAction(Object*) {
    const Outlets& o = outlets();
    const std::string text = o.selectKeyWordField->stringValue();
    if (text.empty())
        return;
    const bool toList = o.addToKeywordListSwitch->state() != 0;
    if (toList) {
        PreferenceLists::append(PreferenceLists::kKeyWords, text);
        keywordListIsDirty_ = true;
    }
    keywordList_.add(
        Dictionary{{"label", text}, {"state", 1}, {"type", toList ? kPreferenceRow : kMessageRow}});
    o.keywordTableView->reloadData();
    o.selectKeyWordField->setStringValue("");
}

// ---- notes ----

bool LumettaExtraDialogsOwner::editNotesForViewer(mailhost::MessageViewer* viewer) {
    loadNib();
    outlets_->notePlacementPopup->selectItemWithTag(0);
    outlets_->noteField->setStringValue("");
    return runSheet(EditDialog::EditNote, viewer ? viewer->window() : nullptr);
}

std::string LumettaExtraDialogsOwner::noteContent() const {
    return outlets_ ? outlets_->noteField->stringValue() : std::string();
}

int LumettaExtraDialogsOwner::tagOfSelectedNotePlacementOption() const {
    return outlets_ ? outlets_->notePlacementPopup->selectedTag() : 0;
}

// ---- due dates ----

bool LumettaExtraDialogsOwner::editDueDatesForViewer(mailhost::MessageViewer* viewer) {
    loadNib();
    outlets_->dueDatePicker->setDateValue(platform::Clock::now());
    outlets_->clearExistingDueDateSwitch->setEnabled(false);
    outlets_->dueDatePicker->setEnabled(true);
    outlets_->dueDateTabView->selectTabWithIdentifier("1");
    return runSheet(EditDialog::DueDate, viewer ? viewer->window() : nullptr);
}

void LumettaExtraDialogsOwner::setDueDateOn(Object*) {
    outlets().dueDatePicker->setEnabled(true);
    outlets().clearExistingDueDateSwitch->setEnabled(false);
}

void LumettaExtraDialogsOwner::setDueDateOff(Object*) {
    outlets().dueDatePicker->setEnabled(false);
    outlets().clearExistingDueDateSwitch->setEnabled(true);
}

int LumettaExtraDialogsOwner::tagOfSelectedDueDateTabView() const {
    return outlets_ ? Value(outlets_->dueDateTabView->selectedIdentifier()).intValue() : 0;
}

int LumettaExtraDialogsOwner::setDateOption() const {
    return outlets_ ? outlets_->setDateTo->state() : 0;
}

platform::Date LumettaExtraDialogsOwner::setDateValue() const {
    return outlets_ ? outlets_->dueDatePicker->dateValue() : platform::Date();
}

int LumettaExtraDialogsOwner::clearExistingDueDate() const {
    return outlets_ ? outlets_->clearExistingDueDateSwitch->state() : 0;
}

int LumettaExtraDialogsOwner::moveDateOption() const {
    return outlets_ ? outlets_->moveDateUseTodayButton->state() : 0;
}

int LumettaExtraDialogsOwner::moveDateValue() const {
    return outlets_ ? outlets_->moveDateField->intValue() : 0;
}

// ---- welcome ----

std::string LumettaExtraDialogsOwner::welcomeTitle() {
    return "Welcome to Lumetta";
}

std::string LumettaExtraDialogsOwner::welcomeText() {
    return "Lumetta lets you tag each message with keywords, a project, a note, a priority and a due "
           "date, and link it to a to-do in your calendar. Tags are kept inside the message files, so "
           "they travel with your mail, and searches and smart mailboxes find them.\n"
           "Select messages and use the Lumetta menu or the tag panel beside the message to start; "
           "your keyword and project lists live in the Lumetta preferences.";
}

void LumettaExtraDialogsOwner::runWelcomeModal() {
    WelcomePresenter own;
    {
        std::lock_guard lock(presenterMutex);
        own = welcomePresenter();
    }
    if (own) {
        own(welcomeTitle(), welcomeText());
        return;
    }
    if (auto p = presenter())
        p->showWelcome(welcomeTitle(), welcomeText());
    else
        std::fprintf(stderr, "%s\n\n%s\n", welcomeTitle().c_str(), welcomeText().c_str());
}

} // namespace lumetta
