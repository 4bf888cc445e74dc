#pragma once

#include "Support/Panels.h"
#include "Support/SuiteApplication.h"
#include "Support/Tour.h"

#include <LumoKit/Models/ThemeMode.h>

#include <filesystem>
#include <memory>
#include <string>

namespace LumoSuite {

/// What the walks through the suite's applications are put together from. What is done is done as a user does it.
///
/// Thread: the main thread.
class TourSteps {
public:
    using Action = std::function<void()>;
    using Report = std::function<void(const std::string&)>;

    /// Pictures are saved as `picture`, and with something added to its name.
    TourSteps(std::weak_ptr<SuiteApplication> application, std::filesystem::path picture, Report report);

    // What sets a step off.

    [[nodiscard]] Action run(std::string js) const;
    /// Signs in at the form, with the password that every account has.
    [[nodiscard]] Action signIn(const std::string& address) const;
    /// Chooses an item of the accounts' menu.
    [[nodiscard]] Action chooseAccount(std::string title) const;
    [[nodiscard]] Action addAccount() const { return chooseAccount("Add Account…"); }
    [[nodiscard]] Action choose(LumoKit::ThemeMode mode) const;
    /// Chooses a command of the menu bar, by the titles of its menu and its item.
    [[nodiscard]] static Action chooseCommand(const std::string& menu, const std::string& item);
    /// The same, and then presses a button of the alert that asks for more.
    [[nodiscard]] static Action chooseCommand(
        const std::string& menu, const std::string& item, const std::string& button, PanelInput input = {});
    /// Does something that puts the open panel up, and chooses a file there that this makes, which is gone after the walk.
    [[nodiscard]] Action chooseFile(
        const Action& ask, const std::string& name, const std::string& contents) const;
    /// Writes that file again.
    [[nodiscard]] Action changeFile(const std::string& name, const std::string& contents) const;
    /// Prints by a command as into a file, without a panel.
    [[nodiscard]] Action print(
        const std::string& menu, const std::string& item, const std::string& name) const;
    /// Starts the application once more with a link, as the desktop does. It ends when this one has taken the link.
    [[nodiscard]] static Action openLink(std::string link);

    // Whole steps.

    /// Two frames after it is asked for, what the page shows is on its way to the screen.
    [[nodiscard]] Tour::Step awaitPainting() const;
    [[nodiscard]] Tour::Step savePicture(const std::string& addition = "") const;
    /// A picture of another window.
    [[nodiscard]] Tour::Step savePictureOf(
        std::function<std::shared_ptr<LumoKit::NSWindow>()> window, const std::string& addition) const;
    /// The page tells the host as soon as what it draws by is dark.
    [[nodiscard]] Tour::Step awaitDark() const;
    /// Gives the window another size than it has.
    [[nodiscard]] Tour::Step resize() const;
    /// Says that an application runs when the walk has ended, to whoever has to end it.
    [[nodiscard]] Tour::Step leaveRunning(SuiteApplication::App app) const;
    [[nodiscard]] Tour::Step closeWindow() const;
    [[nodiscard]] Tour::Step failInPage() const;
    /// Moves the window by the bar that is all the title it has.
    [[nodiscard]] Tour::Step dragWindow() const;

    /// The walk through any page: it loads, and a picture is saved.
    [[nodiscard]] std::vector<Tour::Step> throughAnyPage() const;
    /// How a walk ends: in the dark theme, with a picture of it, in a window of another size, past an error of the page.
    [[nodiscard]] std::vector<Tour::Step> throughTheDark() const;
    /// The beginning of the walk through a page of the suite: two readers sign in, with pictures of the form, and are
    /// shown in turn. Robin is shown when it ends.
    [[nodiscard]] std::vector<Tour::Step> throughAccounts(const std::string& folder) const;

private:
    class Scratch;

    const std::weak_ptr<SuiteApplication> application;
    const std::filesystem::path picture;
    const Report report;
    const std::shared_ptr<const Scratch> scratch; // the folder of the files that are chosen
};

} // namespace LumoSuite
