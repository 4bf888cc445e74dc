#include "InboxTour.h"

#include "Support/Screenshot.h"

#include <LumoKit/Models/ThemeMode.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace LumoSuite {

using namespace LumoKit;

namespace {

std::function<void()> run(const std::weak_ptr<InboxApplication>& application, const char* js)
{
    return [application, js] {
        if (const auto alive = application.lock())
            alive->executor().execute(js);
    };
}

/// Two frames after it is asked for, what the page shows is on its way to the screen.
Tour::Step awaitPainting(const std::weak_ptr<InboxApplication>& application)
{
    return {"the page is painted",
        run(application,
            "requestAnimationFrame(() => requestAnimationFrame(() => "
            "webkit.messageHandlers.painted.postMessage(null)));"
            "undefined"),
        "page painted"};
}

Tour::Step savePicture(const std::weak_ptr<InboxApplication>& application,
    const std::filesystem::path& picture, const std::function<void(const std::string&)>& report)
{
    const auto act = [application, picture, report] {
        if (const auto alive = application.lock())
            saveScreenshot(alive->window(), picture, [report, picture](bool saved) {
                report((saved ? "picture saved: " : "no picture: ") + picture.string());
            });
    };
    return {"the picture is saved", act, "picture saved"};
}

std::function<void()> choose(const std::weak_ptr<InboxApplication>& application, ThemeMode mode)
{
    return [application, mode] {
        const auto alive = application.lock();
        if (!alive)
            return;
        alive->themeMenu()->selectItem(-1); // so that it is a choice also where it was chosen before
        alive->themeMenu()->performActionForItem(popupButtonIndex(mode));
    };
}

/// Chooses an item of the accounts' menu as a user does; the last one adds an account.
std::function<void()> chooseAccount(const std::weak_ptr<InboxApplication>& application, std::string title)
{
    return [application, title = std::move(title)] {
        const auto alive = application.lock();
        if (!alive)
            return;
        const auto& menu = *alive->accountMenu();
        alive->accountMenu()->selectItem(-1);
        for (std::int64_t index = 0; index < menu.numberOfItems(); ++index) {
            alive->accountMenu()->selectItem(index);
            if (menu.titleOfSelectedItem() != title)
                continue;
            alive->accountMenu()->selectItem(-1);
            return alive->accountMenu()->performActionForItem(index);
        }
    };
}

std::function<void()> addAccount(const std::weak_ptr<InboxApplication>& application)
{
    return chooseAccount(application, "Add Account…");
}

std::function<void()> resize(const std::weak_ptr<InboxApplication>& application)
{
    return [application] {
        const auto alive = application.lock();
        if (!alive)
            return;
        CGRect frame = alive->window()->frame();
        frame.size = frame.size.width == 1000 ? CGSize{1040, 720} : CGSize{1000, 700};
        alive->window()->setFrame(frame);
    };
}

/// Tells the host as soon as what the page draws by is dark.
constexpr const char* followScheme = R"(
    {
        const scheme = matchMedia('(prefers-color-scheme: dark)');
        const tell = () => scheme.matches && webkit.messageHandlers.schemeChanged.postMessage('dark');
        scheme.addEventListener('change', tell);
        tell();
    }
    undefined
)";

std::filesystem::path named(const std::filesystem::path& picture, const char* what)
{
    return picture.parent_path() / (picture.stem().string() + what + picture.extension().string());
}

/// Starts the application once more with a link, as the desktop does. It ends when this one has taken the link.
std::function<void()> openLink(std::string link)
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

constexpr const char* mailLink =
    "mailto:maya.lindqvist@tarnfield.example,ines@example.net?subject=The%20harbour%20map%20is%20printed"
    "&body=Dear%20both%2C%0A%0AThe%20proof%20came%20back%20this%20morning%2C%20and%20the%20crane%20stands%"
    "20where%20it"
    "%20should.%20A%20copy%20lies%20on%20your%20desks.%0A%0AShall%20we%20walk%20the%20north%20quay%20with%"
    "20it%20on"
    "%20Friday%2C%20after%20lunch%3F%0A%0ARobin";

Tour::Step closeWindow(const std::weak_ptr<InboxApplication>& application)
{
    const auto act = [application] {
        if (const auto alive = application.lock())
            alive->window()->performClose();
    };
    return {"the window closes", act, "window closed"};
}

} // namespace

std::vector<Tour::Step> inboxTour(const std::weak_ptr<InboxApplication>& application,
    const std::filesystem::path& picture, const std::function<void(const std::string&)>& report)
{
    const auto click = [application] {
        if (const auto alive = application.lock())
            alive->doneButton()->performClick();
    };
    return {
        {"the window opens", {}, "opened as it was left: "},
        {"the service listens", {}, "service: listening"},
        {"the load starts", {}, "navigation start: /"},
        {"the server redirects once", {}, "navigation redirect: /start"},
        {"and once more", {}, "navigation redirect: /inbox"},
        {"and to the form", {}, "navigation redirect: /sign-in"},
        {"the page asks to sign in", {}, "sign-in form shown"},
        awaitPainting(application),
        savePicture(application, named(picture, "-sign-in"), report),
        {"a reader signs in", run(application, "LumoSignIn.signIn('noor@example.com', 'lumo')"),
            "account shown: noor@example.com"},
        {"another account is added", addAccount(application), "account chosen: "},
        {"the page asks to sign in again", {}, "sign-in form shown"},
        {"another reader signs in", run(application, "LumoSignIn.signIn('robin@example.com', 'lumo')"),
            "account shown: robin@example.com"},
        {"the first one is shown without a form", chooseAccount(application, "Noor Haddad"),
            "account shown: noor@example.com"},
        {"and the other one, too", chooseAccount(application, "Robin Ellery"),
            "account shown: robin@example.com"},
        {"the page tells that it is ready", {}, "page ready"},
        {"the service's script runs in the page", {}, "script injected: service"},
        {"the account's menu has its picture", {}, "avatar shown: Robin Ellery"},
        {"the account is one of the suite's", {}, "account of the suite: "},
        {"the window's title tells what is unread", {}, "window title: "},
        {"a script opens a conversation", run(application, "LumoInbox.open()"), "conversation opened"},
        awaitPainting(application),
        savePicture(application, picture, report),
        {"a mail link, opened elsewhere, begins a mail", openLink(mailLink),
            "mail begun: The harbour map is printed"},
        awaitPainting(application),
        savePicture(application, named(picture, "-mail"), report),
        {"it is sent", run(application, "document.getElementById('compose').requestSubmit()"), "mail sent: "},
        {"the native button marks it done", click, "conversation done"},
        {"the user chooses the dark theme", choose(application, ThemeMode::forceDark),
            "theme chosen: forceDark"},
        {"the page follows", run(application, followScheme), "page is dark"},
        awaitPainting(application),
        savePicture(application, named(picture, "-dark"), report),
        {"another mail link begins another", openLink(mailLink), "mail begun: "},
        awaitPainting(application),
        savePicture(application, named(picture, "-mail-dark"), report),
        {"the window gets another size", resize(application), "window size kept: "},
        {"an error of the page reaches the host",
            run(application, "setTimeout(() => { throw new Error('on purpose') }); undefined"),
            "page error: "},
        closeWindow(application),
    };
}

std::vector<Tour::Step> pageTour(const std::weak_ptr<InboxApplication>& application,
    const std::filesystem::path& picture, const std::function<void(const std::string&)>& report)
{
    return {
        {"the load starts", {}, "navigation start"},
        {"the page has loaded", {}, "navigation finish"},
        awaitPainting(application),
        savePicture(application, picture, report),
        closeWindow(application),
    };
}

} // namespace LumoSuite
