// A host that tells what happens to it, a line each, in the file that LINK_HOST_REPORT names.
//
//   LinkHost [ARGUMENT...]        runs until it is sent "lumotest:quit"
//   LinkHost --register SCHEME    makes itself the default handler, and says on standard output whether it is
//   LinkHost --default SCHEME     says which application is
//   LinkHost --facts              says what a request for help tells
//
// LINK_HOST_MODE: "late" has no handler of links before it is started a second time, "none" never; "mail" reads mail
// links; "windows" has two windows and uses the first one last, "quiet" too, but leaves them where they are; "time" tells
// of the last interaction that the desktop knows of when it is started a second time; "slow" ends only when something
// is written to the file that LINK_HOST_GATE names, and "thoughtful" agrees to end only then.
//
// Links: "lumotest:quit" (or "quit" as the command of any scheme), "lumotest:relaunch", "lumotest:reset", and "lumotest:dialog-quit" and "lumotest:dialog-relaunch", which do so from
// within a dialog that is waited for.

#include <LumoKit/MailTo/MailToManager.h>
#include <LumoKit/Platform/ApplicationKit/LaunchServices.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/NSAppleEventManager.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Platform/Foundation/UserDefaults.h>
#include <LumoKit/Utility/HelpRequestInfo.h>
#include <LumoKit/Utility/ResetApp.h>

#include <fcntl.h>
#include <gdk/gdkx.h>
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace LumoKit;

namespace {

std::string variable(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

void report(const std::string& event)
{
    static const int file = ::open(variable("LINK_HOST_REPORT").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const std::string line = event + "\n";
    if (::write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        std::abort();
}

void waitForTheGate()
{
    bool open = false;
    g_unix_fd_add(
        ::open(variable("LINK_HOST_GATE").c_str(), O_RDONLY | O_CLOEXEC), G_IO_IN,
        +[](int, GIOCondition, gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &open);
    while (!open)
        g_main_context_iteration(nullptr, TRUE);
}

class Host : public NSApplicationDelegate,
             public NSWindowDelegate,
             public std::enable_shared_from_this<Host> {
public:
    explicit Host(std::string mode)
        : mode(std::move(mode))
    {
    }

    void start()
    {
        if (mode == "mail") {
            MailToManager::shared()->registerSystemHandler();
            MailToManager::shared()->handleMailTo([](const MailToParseResult& mail) {
                std::string to;
                for (const auto& recipient : mail.recipients.value_or(std::vector<std::string>{"(none)"}))
                    to += recipient + " ";
                report("mail " + to + "| " + mail.subject.value_or("(none)") + " | "
                    + mail.body.value_or("(none)"));
                return true;
            });
        } else if (mode != "late" && mode != "none") {
            receiveLinks();
        }
        if (mode == "windows" || mode == "quiet") {
            for (const char* title : {"first", "second"}) {
                windows.push_back(NSWindow::create({{100, 100}, {200, 100}}));
                windows.back()->setTitle(title);
                windows.back()->setDelegate(weak_from_this());
            }
            windows.front()->makeKeyAndOrderFront();
        }
    }

private:
    void receiveLinks()
    {
        NSAppleEventManager::sharedAppleEventManager().setEventHandler(
            shared_from_this(), &Host::open, kInternetEventClass, kAEGetURL);
    }

    void open(const NSAppleEventDescriptor& event, NSAppleEventDescriptor&)
    {
        const std::string link = event.paramDescriptor(keyDirectObject)->stringValue().value();
        report((isMainThread() ? "link " : "link on another thread ") + link);
        if (link == "lumotest:quit" || link.ends_with("://quit"))
            quitApp();
        else if (link == "lumotest:relaunch")
            relaunchApp();
        else if (link == "lumotest:dialog-quit")
            fromADialog(&quitApp);
        else if (link == "lumotest:dialog-relaunch")
            fromADialog(&relaunchApp);
        else if (link == "lumotest:reset")
            reset();
    }

    static void reset()
    {
        const auto settings = UserDefaults::standard();
        settings->setValue("green", "colour");
        settings->setValue(3, "count");
        report("setting " + *settings->value("colour").asText());
        resetApp([settings] {
            report("setting afterwards " + settings->value("colour").description() + ", "
                + settings->value("count").description());
        });
    }

    static void fromADialog(void (*action)())
    {
        DispatchQueue::main()->async([action] {
            GtkWidget* dialog = gtk_dialog_new();
            DispatchQueue::main()->async(action);
            gtk_dialog_run(GTK_DIALOG(dialog));
            gtk_widget_destroy(dialog);
            report("dialog ended");
        });
    }
    bool applicationShouldTerminate() override
    {
        report("asked");
        if (mode == "thoughtful")
            waitForTheGate();
        return true;
    }

    void applicationDidFinishLaunching() override { report("launched"); }
    bool applicationShouldHandleReopen(bool hasVisibleWindows) override
    {
        report(hasVisibleWindows ? "reopened with windows" : "reopened");
        if (mode == "late")
            receiveLinks();
        if (mode == "time")
            report("time " + std::to_string(gdk_x11_display_get_user_time(gdk_display_get_default())));
        return mode != "quiet";
    }
    void windowDidBecomeKey(NSWindow& window) override
    {
        report("key " + window.title());
        if (next < 2) // the second one, and the first one again
            windows[next++ == 0 ? 1 : 0]->makeKeyAndOrderFront();
    }
    void windowDidResignKey(NSWindow& window) override { report("not key " + window.title()); }

    const std::string mode;
    std::vector<std::shared_ptr<NSWindow>> windows;
    std::size_t next = 0;
};

int answer(std::string_view question, const std::string& scheme)
{
    if (question == "--register") {
        const auto made = LaunchServices::setDefaultHandler(scheme);
        print(made ? "it is" : made.error().description);
        return made ? 0 : 1;
    }
    if (question == "--default") {
        print(LaunchServices::defaultHandler(scheme).value_or("none"));
        return 0;
    }
    print(HelpRequestInfo::applicationName() + "|" + HelpRequestInfo::versionNumber() + "|"
        + HelpRequestInfo::buildNumber());
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    const std::string_view first = count > 1 ? arguments[1] : "";
    if (first == "--register" || first == "--default" || first == "--facts")
        return answer(first, count > 2 ? arguments[2] : "");
    ::alarm(120); // whatever becomes of the test
    auto& application = NSApplication::shared();
    report("started " + std::to_string(::getpid()));
    const std::string mode = variable("LINK_HOST_MODE");
    const auto host = std::make_shared<Host>(mode);
    application.setDelegate(host);
    host->start();
    application.run();
    report("ending");
    if (mode == "slow") // its main loop runs on, as that of an alert would
        waitForTheGate();
    return 0;
}
