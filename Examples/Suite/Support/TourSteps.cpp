#include "Support/TourSteps.h"

#include "Support/Screenshot.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace LumoSuite {

using namespace LumoKit;

TourSteps::TourSteps(
    std::weak_ptr<SuiteApplication> application, std::filesystem::path picture, Report report)
    : application(std::move(application))
    , picture(std::move(picture))
    , report(std::move(report))
{
}

TourSteps::Action TourSteps::run(std::string js) const
{
    return [application = application, js = std::move(js)] {
        if (const auto alive = application.lock())
            alive->execute(js);
    };
}

TourSteps::Action TourSteps::signIn(const std::string& address) const
{
    return run("LumoSignIn.signIn('" + address + "', 'lumo')");
}

TourSteps::Action TourSteps::chooseAccount(std::string title) const
{
    return [application = application, title = std::move(title)] {
        const auto alive = application.lock();
        if (!alive)
            return;
        const auto menu = alive->accountMenu();
        menu->selectItem(-1);
        for (std::int64_t index = 0; index < menu->numberOfItems(); ++index) {
            menu->selectItem(index);
            if (menu->titleOfSelectedItem() != title)
                continue;
            menu->selectItem(-1);
            return menu->performActionForItem(index);
        }
    };
}

TourSteps::Action TourSteps::choose(ThemeMode mode) const
{
    return [application = application, mode] {
        const auto alive = application.lock();
        if (!alive)
            return;
        alive->themeMenu()->selectItem(-1); // so that it is a choice also where it was chosen before
        alive->themeMenu()->performActionForItem(popupButtonIndex(mode));
    };
}

TourSteps::Action TourSteps::openLink(std::string link)
{
    return [link = std::move(link)] {
        DispatchQueue::create("tour.link")->async([link]() mutable {
            std::string program = "/proc/self/exe";
            std::array<char*, 3> arguments = {program.data(), link.data(), nullptr};
            pid_t process = -1;
            if (::posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments.data(), environ) == 0)
                ::waitpid(process, nullptr, 0);
        });
    };
}

Tour::Step TourSteps::awaitPainting() const
{
    return {"the page is painted",
        run("requestAnimationFrame(() => requestAnimationFrame(() => "
            "webkit.messageHandlers.painted.postMessage(null)));"
            "undefined"),
        "page painted"};
}

Tour::Step TourSteps::savePicture(const std::string& addition) const
{
    const auto file =
        picture.parent_path() / (picture.stem().string() + addition + picture.extension().string());
    const auto act = [application = application, file, report = report] {
        if (const auto alive = application.lock())
            saveScreenshot(alive->window(), file, [report, file](bool saved) {
                report((saved ? "picture saved: " : "no picture: ") + file.string());
            });
    };
    return {"the picture is saved", act, "picture saved"};
}

Tour::Step TourSteps::awaitDark() const
{
    return {"the page follows", run(R"(
        {
            const scheme = matchMedia('(prefers-color-scheme: dark)');
            const tell = () => scheme.matches && webkit.messageHandlers.schemeChanged.postMessage('dark');
            scheme.addEventListener('change', tell);
            tell();
        }
        undefined
    )"),
        "page is dark"};
}

Tour::Step TourSteps::resize() const
{
    const auto act = [application = application] {
        const auto alive = application.lock();
        if (!alive)
            return;
        CGRect frame = alive->window()->frame();
        frame.size = frame.size.width == 1000 ? CGSize{1040, 720} : CGSize{1000, 700};
        alive->window()->setFrame(frame);
    };
    return {"the window gets another size", act, "window size kept: "};
}

Tour::Step TourSteps::closeWindow() const
{
    const auto act = [application = application] {
        if (const auto alive = application.lock())
            alive->window()->performClose();
    };
    return {"the window closes", act, "window closed"};
}

Tour::Step TourSteps::failInPage() const
{
    return {"an error of the page reaches the host",
        run("setTimeout(() => { throw new Error('on purpose') }); undefined"), "page error: "};
}

std::vector<Tour::Step> TourSteps::throughAnyPage() const
{
    return {
        {"the load starts", {}, "navigation start"},
        {"the page has loaded", {}, "navigation finish"},
        awaitPainting(),
        savePicture(),
        closeWindow(),
    };
}

std::vector<Tour::Step> TourSteps::throughTheDark() const
{
    return {
        {"the user chooses the dark theme", choose(ThemeMode::forceDark), "theme chosen: forceDark"},
        awaitDark(),
        awaitPainting(),
        savePicture("-dark"),
        resize(),
        failInPage(),
        closeWindow(),
    };
}

std::vector<Tour::Step> TourSteps::throughAccounts(const std::string& folder) const
{
    return {
        {"the window opens", {}, "opened as it was left: "},
        {"the service listens", {}, "service: listening"},
        {"the load starts", {}, "navigation start: /" + folder},
        {"the server redirects once", {}, "navigation redirect: /" + folder},
        {"and to the form", {}, "navigation redirect: /sign-in"},
        {"the page asks to sign in", {}, "sign-in form shown"},
        awaitPainting(),
        savePicture("-sign-in"),
        {"a reader signs in", signIn("noor@example.com"), "account shown: noor@example.com"},
        {"another account is added", addAccount(), "account chosen: "},
        {"the page asks to sign in again", {}, "sign-in form shown"},
        {"another reader signs in", signIn("robin@example.com"), "account shown: robin@example.com"},
        {"the first one is shown without a form", chooseAccount("Noor Haddad"),
            "account shown: noor@example.com"},
        {"and the other one, too", chooseAccount("Robin Ellery"), "account shown: robin@example.com"},
        {"the page tells that it is ready", {}, "page ready"},
        {"the service's script runs in the page", {}, "script injected: service"},
        {"the account's menu has its picture", {}, "avatar shown: Robin Ellery"},
        {"the account is one of the suite's", {}, "account of the suite: "},
    };
}

} // namespace LumoSuite
