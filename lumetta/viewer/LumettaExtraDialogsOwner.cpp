#include "lumetta/viewer/LumettaExtraDialogsOwner.h"

#include <cstdio>
#include <mutex>

namespace lumetta {

namespace {
std::mutex presenterMutex;
LumettaExtraDialogsOwner::WelcomePresenter& presenter() {
    static LumettaExtraDialogsOwner::WelcomePresenter p;
    return p;
}
} // namespace

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

void LumettaExtraDialogsOwner::setWelcomePresenter(WelcomePresenter p) {
    std::lock_guard lock(presenterMutex);
    presenter() = std::move(p);
}

void LumettaExtraDialogsOwner::runWelcomeModal() {
    WelcomePresenter p;
    {
        std::lock_guard lock(presenterMutex);
        p = presenter();
    }
    if (p) {
        p(welcomeTitle(), welcomeText());
        return;
    }
    std::fprintf(stderr, "%s\n\n%s\n", welcomeTitle().c_str(), welcomeText().c_str());
}

} // namespace lumetta
