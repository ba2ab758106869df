#pragma once

#include <functional>
#include <string>

namespace lumetta {

// Owns the small dialogs the commands run before they change tags. One object is
// made per command, runs one dialog and goes away. How a dialog is shown is the front
// end's: without a display the welcome text goes to standard error.
class LumettaExtraDialogsOwner {
public:
    using WelcomePresenter = std::function<void(const std::string& title, const std::string& text)>;

    // Shows the first-run welcome and returns once it has been dismissed.
    void runWelcomeModal();

    static std::string welcomeTitle();
    static std::string welcomeText();
    // Installs the front end's way of showing the welcome; empty restores the default.
    static void setWelcomePresenter(WelcomePresenter presenter);
};

} // namespace lumetta
