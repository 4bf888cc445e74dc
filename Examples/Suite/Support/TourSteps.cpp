#include "Support/TourSteps.h"

#include "Support/Screenshot.h"

#include <LumoKit/Platform/ApplicationKit/NSPrintInfo.h>
#include <LumoKit/Utility/DispatchQueue.h>
#include <LumoKit/Utility/WindowDraggingView.h>
#include <LumoKit/WebView/UserAgentFetcher.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>

namespace LumoSuite {

using namespace LumoKit;

/// A folder of its own, as long as this object lives.
class TourSteps::Scratch {
public:
    Scratch()
    {
        std::string name = std::filesystem::temp_directory_path() / "lumo-tour.XXXXXX";
        folder = ::mkdtemp(name.data()) ? name : "";
    }
    ~Scratch()
    {
        std::error_code ignored;
        if (!folder.empty())
            std::filesystem::remove_all(folder, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::filesystem::path folder;
};

TourSteps::TourSteps(
    std::weak_ptr<SuiteApplication> application, std::filesystem::path picture, Report report)
    : application(std::move(application))
    , picture(std::move(picture))
    , report(std::move(report))
    , scratch(std::make_shared<Scratch>())
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

TourSteps::Action TourSteps::chooseCommand(const std::string& menu, const std::string& item)
{
    return [menu, item] {
        const auto& bar = NSApplication::shared().mainMenu();
        const auto entry = bar ? bar->item(menu) : nullptr;
        if (const auto chosen = entry ? entry->submenu()->item(item) : nullptr)
            chosen->performAction();
    };
}

TourSteps::Action TourSteps::chooseCommand(
    const std::string& menu, const std::string& item, const std::string& button, PanelInput input)
{
    return [choose = chooseCommand(menu, item), button, input = std::move(input)] {
        answerAlert(button, input, [](bool) { }); // what it leads to is seen, or not
        choose();
    };
}

TourSteps::Action TourSteps::chooseFile(
    const Action& ask, const std::string& name, const std::string& contents) const
{
    return [ask, report = report, scratch = scratch, name, write = changeFile(name, contents)] {
        write();
        chooseInOpenPanel(
            scratch->folder / name, [report](bool chosen) { report(chosen ? "file chosen" : "no panel"); });
        ask();
    };
}

TourSteps::Action TourSteps::changeFile(const std::string& name, const std::string& contents) const
{
    return [scratch = scratch, name, contents] {
        std::ofstream(scratch->folder / name, std::ios::binary) << contents;
    };
}

namespace {

/// Calls `then` when a file of the format PDF is complete.
void awaitDocument(const std::filesystem::path& file, std::function<void()> then)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (bytes.starts_with("%PDF-")
        && bytes.find("%%EOF", bytes.size() - std::min<std::size_t>(bytes.size(), 32)) != bytes.npos)
        return then();
    delay(0.05, DispatchQueue::main(),
        [file, then = std::move(then)]() mutable { awaitDocument(file, std::move(then)); });
}

} // namespace

TourSteps::Action TourSteps::print(
    const std::string& menu, const std::string& item, const std::string& name) const
{
    const auto file = std::filesystem::absolute(picture).parent_path() / name;
    return [choose = chooseCommand(menu, item), report = report, file] {
        std::filesystem::remove(file);
        const auto info = NSPrintInfo::shared();
        info->jobDisposition = NSPrintInfo::JobDisposition::save;
        info->jobSavingURL = URL::fileURL(file.string());
        choose();
        awaitDocument(file, [info, report, file] {
            info->jobDisposition = NSPrintInfo::JobDisposition::spool;
            report("printed: " + file.filename().string());
        });
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
    return savePictureOf(
        [application = application] {
            const auto alive = application.lock();
            return alive ? alive->window() : nullptr;
        },
        addition);
}

Tour::Step TourSteps::savePictureOf(
    std::function<std::shared_ptr<NSWindow>()> window, const std::string& addition) const
{
    const auto file =
        picture.parent_path() / (picture.stem().string() + addition + picture.extension().string());
    const auto act = [window = std::move(window), file, report = report] {
        if (const auto shown = window())
            saveScreenshot(shown, file, [report, file](bool saved) {
                report((saved ? "picture saved: " : "no picture: ") + file.string());
            });
    };
    return {"the picture is saved", act, "picture saved", {"DispatchQueue"}};
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
        "page is dark", {"ThemeMode"}};
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
    return {"the window gets another size", act, "window size kept: ", {"Settings", "Storable"}};
}

Tour::Step TourSteps::leaveRunning(SuiteApplication::App app) const
{
    return {"another process goes on",
        [report = report, app] { report("left running: " + CrossApp::bundleID(app)); }, "left running"};
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

Tour::Step TourSteps::dragWindow() const
{
    const auto act = [application = application, report = report] {
        const auto alive = application.lock();
        if (!alive)
            return;
        NSEvent drag;
        drag.deltaX = 12;
        drag.deltaY = 8;
        const CGPoint before = alive->window()->frame().origin;
        for (const auto& view : alive->window()->contentView()->subviews())
            if (const auto bar = std::dynamic_pointer_cast<WindowDraggingView>(view))
                bar->mouseDragged(drag);
        const CGPoint after = alive->window()->frame().origin;
        report("window moved: " + std::to_string(static_cast<int>(after.x - before.x)) + " to the right, "
            + std::to_string(static_cast<int>(before.y - after.y)) + " down");
    };
    return {"the bar moves the window", act, "window moved: 12 to the right, 8 down",
        {"FramelessWindowBehaviour", "WindowDraggingView"}};
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
        {"the user chooses the dark theme", choose(ThemeMode::forceDark), "theme chosen: forceDark",
            {"RawRepresentable", "Settings", "ThemeMode"}},
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
        {"the service learns of the start", {}, "service told of the start",
            {"AsyncOperation", "UserAgentFetcher"}},
        {"the load starts", {}, "navigation start: /" + folder},
        {"the server redirects once", {}, "navigation redirect: /" + folder},
        {"and to the form", {}, "navigation redirect: /sign-in"},
        {"the page asks to sign in", {}, "sign-in form shown",
            {"LMWebView", "ServiceInterface", "WebViewMessageHandler"}},
        awaitPainting(),
        savePicture("-sign-in"),
        {"a reader signs in", signIn("noor@example.com"), "account shown: noor@example.com",
            {"WebViewJavascriptExecutor"}},
        {"another account is added", addAccount(), "account chosen: "},
        {"the page asks to sign in again", {}, "sign-in form shown"},
        {"another reader signs in", signIn("robin@example.com"), "account shown: robin@example.com"},
        {"the first one is shown without a form", chooseAccount("Noor Haddad"),
            "account shown: noor@example.com", {"FileSystem", "HTTPCookie+Serialization", "MultiCookieJar"}},
        {"and the other one, too", chooseAccount("Robin Ellery"), "account shown: robin@example.com"},
        {"the page tells that it is ready", {}, "page ready"},
        {"it sees the browser that it is to see",
            run("webkit.messageHandlers.injected.postMessage(navigator.userAgent); undefined"),
            "script injected: " + UserAgentFetcher::shared()->userAgent(), {"UserAgentFetcher"}},
        {"the service's script runs in the page", {}, "script injected: service", {"InjectDownloader"}},
        {"the account's menu has its picture", {}, "avatar shown: Robin Ellery", {"AccountImageDownload"}},
        {"the account is one of the suite's", {}, "account of the suite: ",
            {"Account", "DictionaryToCodable", "SuiteStorageKeys", "UserDefaults+LumoSuite"}},
    };
}

} // namespace LumoSuite
