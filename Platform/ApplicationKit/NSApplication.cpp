#include "CommandLineLinks.h"
#include "ModalSession.h"
#include "NSApplicationNative.h"
#include "NSWindowNative.h"

#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/NSAppleEventManager.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <utility>

#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif
#ifdef GDK_WINDOWING_WAYLAND
#include <gdk/gdkwayland.h>
#endif

namespace LumoKit {

namespace {

constexpr const char* effectiveAppearanceKey = "effectiveAppearance";
constexpr const char* commandKeyKey = "commandKey";
constexpr const char* mainMenuKey = "mainMenu";

/// What this process was started for. GTK takes the token out of the environment when it connects to the display.
detail::StartRequest startRequest()
{
    detail::StartRequest request{
        detail::linksOn(readFile("/proc/self/cmdline").value_or(std::string()), Bundle::main().urlSchemes()),
        {}};
    for (const char* variable : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"})
        if (const char* token = std::getenv(variable); token && *token && isUTF8(token)) {
            request.activationToken = token;
            break;
        }
    return request;
}

/// Lets windows that are presented from now on come to the front, as the desktop has allowed whoever asks for it.
void use(const std::string& activationToken)
{
    constexpr std::size_t longest = 1000; // more than any desktop writes, and less than a display refuses
    if (activationToken.empty() || activationToken.size() > longest)
        return;
    GdkDisplay* display = gdk_display_get_default();
#ifdef GDK_WINDOWING_X11
    if (GDK_IS_X11_DISPLAY(display))
        gdk_x11_display_set_startup_notification_id(display, activationToken.c_str());
#endif
#ifdef GDK_WINDOWING_WAYLAND
    if (GDK_IS_WAYLAND_DISPLAY(display))
        gdk_wayland_display_set_startup_notification_id(display, activationToken.c_str());
#endif
    gdk_notify_startup_complete_with_id(activationToken.c_str()); // else the pointer keeps telling of a start
}

/// Ends the main loops of dialogs that are waited for, which `run` would be held up by.
void endDialogs()
{
    const std::unique_ptr<GList, detail::FreedBy<g_list_free>> windows(gtk_window_list_toplevels());
    std::vector<detail::ObjectPtr<GtkWidget>> dialogs;
    for (GList* item = windows.get(); item; item = item->next)
        if (GTK_IS_DIALOG(item->data) && gtk_window_get_modal(GTK_WINDOW(item->data)))
            dialogs.push_back(detail::ObjectPtr<GtkWidget>::retain(GTK_WIDGET(item->data)));
    for (const auto& dialog : dialogs)
        gtk_widget_hide(dialog.get());
}

} // namespace

void NSApplication::Native::add(const std::shared_ptr<NSWindow>& window)
{
    std::erase_if(windows, [](const auto& known) { return known.expired(); });
    windows.push_back(window);
}

void NSApplication::Native::keep(const std::shared_ptr<NSWindow>& window)
{
    if (std::ranges::find(onScreen, window) == onScreen.end())
        onScreen.push_back(window);
}

bool NSApplication::Native::letGo(const NSWindow& window)
{
    return std::erase_if(onScreen, [&](const auto& kept) { return kept.get() == &window; }) > 0;
}

void NSApplication::Native::becameKey(const NSWindow& window)
{
    expectedKey.reset();
    const auto place =
        std::ranges::find_if(onScreen, [&](const auto& kept) { return kept.get() == &window; });
    if (place != onScreen.end())
        std::rotate(place, place + 1, onScreen.end());
}

void NSApplication::Native::expectKey(GtkWindow* window)
{
    const auto place = std::ranges::find_if(
        onScreen, [&](const auto& kept) { return kept->nativeWindow().window.get() == window; });
    if (place != onScreen.end())
        expectedKey = *place;
}

bool NSApplication::Native::isEnding() const
{
    return terminating && loop && !g_main_loop_is_running(loop);
}

void NSApplication::Native::becomeTheOne(const std::string& identifier, const detail::StartRequest& request)
{
    instance.emplace(identifier, [this](const detail::StartRequest& further) {
        const auto answer = take(further);
        if (answer == detail::SingleInstance::Answer::accepted)
            use(further.activationToken);
        return answer;
    });
    if (!instance->claim(request))
        std::exit(0);
}

detail::SingleInstance::Answer NSApplication::Native::take(const detail::StartRequest& request)
{
    using enum detail::SingleInstance::Answer;
    if (terminating)
        return ending;
    if (request.links.empty() && !std::exchange(reopening, true))
        DispatchQueue::main()->async([this] { reopen(); }); // after it has finished launching
    for (const std::string& link : request.links) {
        NSAppleEventDescriptor event(kInternetEventClass, kAEGetURL);
        event.setParam(NSAppleEventDescriptor(link), keyDirectObject);
        if (!NSAppleEventManager::sharedAppleEventManager().dispatch(std::move(event)))
            return refused;
    }
    return accepted;
}

void NSApplication::Native::reopen()
{
    reopening = false;
    const auto asked = delegate.lock();
    const bool wanted = !asked || asked->applicationShouldHandleReopen(!onScreen.empty());
    if (wanted && !onScreen.empty())
        onScreen.back()->makeKeyAndOrderFront();
}

void NSApplication::Native::closed(const NSWindow& window)
{
    if (!letGo(window) || !onScreen.empty())
        return; // it was not on screen, or others are
    const auto asked = delegate.lock();
    if (asked && asked->applicationShouldTerminateAfterLastWindowClosed())
        NSApplication::shared().terminate();
}

NSApplication::Native::Desktop::Desktop(NSApplication& application)
    : theme([&application] { application.native->show(application, *application.effectiveAppearance()); })
    , portal([&application](detail::ColorScheme scheme) {
        auto& native = *application.native;
        native.show(
            application, native.appearance ? *native.appearance : *native.desktop->appearance(scheme));
    })
{
}

std::shared_ptr<NSAppearance> NSApplication::Native::Desktop::appearance(detail::ColorScheme scheme) const
{
    const bool dark = scheme == detail::ColorScheme::dark
        || (scheme == detail::ColorScheme::noPreference && theme.isDark());
    return std::make_shared<NSAppearance>(dark ? NSAppearanceNameDarkAqua : NSAppearanceNameAqua);
}

void NSApplication::Native::show(NSApplication& application, const NSAppearance& effective)
{
    const unsigned showing = ++shows;
    desktop->theme.show(effective.name == NSAppearanceNameDarkAqua);
    if (showing != shows)
        return; // the desktop has another theme by now, and what that makes of it has been shown
    if (effective.name == shown)
        return;
    const std::string before = std::exchange(shown, effective.name);
    application.didChangeValue(effectiveAppearanceKey, before);
    NotificationCenter::defaultCenter().post(
        {didChangeEffectiveAppearanceNotification, application.shared_from_this(), {}});
}

NSApplication& NSApplication::shared()
{
    // Never destroyed: windows and views that live in statics of a host may still refer to it.
    static const auto& application =
        *new std::shared_ptr<NSApplication>(new NSApplication, [](NSApplication*) { /* see above */ });
    return *application;
}

NSApplication::NSApplication()
    : native(std::make_unique<Native>())
{
    assertMainThread();
    const auto request = startRequest();
    // Desktops match a window to its application by these names; the engine names its folders after the
    // first.
    const auto identifier = Bundle::main().bundleIdentifier();
    if (identifier) {
        native->becomeTheOne(*identifier, request);
        g_set_prgname(identifier->c_str());
    }
    const Value name = Bundle::main().object("CFBundleName");
    if (const auto* text = name.asText())
        g_set_application_name(text->c_str());
    if (!gtk_init_check(nullptr, nullptr))
        fatalError("there is no display to connect to");
    if (identifier)
        gdk_set_program_class(identifier->c_str()); // GTK derives one of its own from the first
    native->desktop.emplace(*this);
    const auto effective = effectiveAppearance();
    native->shown = effective->name; // nobody is told of the first
    native->show(*this, *effective);
    if (!request.links.empty() && native->take(request) == detail::SingleInstance::Answer::refused)
        g_printerr("there are too many links to open\n");
}

NSApplication::~NSApplication() = default;

void NSApplication::run()
{
    assertMainThread();
    if (native->loop)
        fatalError("the application runs already");
    native->terminating = false;
    const std::unique_ptr<GMainLoop, detail::FreedBy<g_main_loop_unref>> loop(
        g_main_loop_new(nullptr, FALSE));
    native->loop = loop.get();
    std::vector<detail::Source> signals;
    for (const int number : {SIGTERM, SIGINT}) {
        GSource* source = g_unix_signal_source_new(number);
        g_source_set_callback(
            source,
            +[](gpointer) -> gboolean {
                NSApplication::shared().terminate();
                return G_SOURCE_CONTINUE;
            },
            nullptr, nullptr);
        g_source_attach(source, nullptr);
        signals.push_back(detail::Source::adopt(source));
    }
    DispatchQueue::main()->async([this] {
        if (const auto delegate = native->delegate.lock())
            delegate->applicationDidFinishLaunching();
    });
    if (!native->terminating)
        g_main_loop_run(loop.get());
    native->loop = nullptr;
}

void NSApplication::terminate()
{
    assertMainThread();
    if (native->terminating)
        return;
    const auto delegate = native->delegate.lock();
    if (delegate && !delegate->applicationShouldTerminate())
        return;
    native->terminating = true;
    if (delegate)
        delegate->applicationWillTerminate();
    if (native->loop)
        g_main_loop_quit(native->loop);
    endDialogs();
    detail::ModalSession::abortAll();
}

NSModalResponse NSApplication::runModal(const std::shared_ptr<NSWindow>& forWindow)
{
    assertMainThread();
    if (native->isEnding())
        return NSModalResponseAbort;
    forWindow->makeKeyAndOrderFront();
    return detail::ModalSession(forWindow->nativeWindow().window.get()).run();
}

void NSApplication::stopModal(NSModalResponse withCode)
{
    assertMainThread();
    if (auto* session = detail::ModalSession::current())
        session->stop(withCode);
}

void NSApplication::abortModal()
{
    stopModal(NSModalResponseAbort);
}

std::shared_ptr<NSWindow> NSApplication::keyWindow() const
{
    const auto all = windows();
    for (const auto& window : all)
        if (window->isKeyWindow())
            return window;
    for (const auto& window : all)
        if (const auto* sheet = window->nativeWindow().sheets.attached();
            sheet && gtk_window_is_active(sheet->dialog()))
            return window;
    const auto expected = native->expectedKey.lock();
    return expected && expected->isVisible() ? expected : nullptr;
}

std::vector<std::shared_ptr<NSWindow>> NSApplication::windows() const
{
    std::vector<std::shared_ptr<NSWindow>> alive;
    for (const auto& known : native->windows)
        if (auto window = known.lock())
            alive.push_back(std::move(window));
    return alive;
}

std::shared_ptr<NSWindow> NSApplication::window(int withWindowNumber) const
{
    for (const auto& window : windows())
        if (window->windowNumber() == withWindowNumber)
            return window;
    return nullptr;
}

void NSApplication::sendEvent(const NSEvent& event)
{
    assertMainThread();
    auto window = event.window();
    if (!window)
        window = keyWindow();
    if (!window && !native->onScreen.empty())
        window = native->onScreen.back();
    if (window && window->nativeWindow().isBlocked())
        return;
    if (window)
        window->sendEvent(event);
    else if (native->mainMenu)
        native->mainMenu->performKeyEquivalent(event);
}

const std::shared_ptr<NSMenu>& NSApplication::mainMenu() const
{
    return native->mainMenu;
}

void NSApplication::setMainMenu(std::shared_ptr<NSMenu> menu)
{
    assertMainThread();
    willChangeValue(mainMenuKey);
    native->mainMenu = std::move(menu);
    for (const auto& window : windows())
        window->nativeWindow().showMenuBar();
    didChangeValue(mainMenuKey);
}

NSApplication::CommandKey NSApplication::commandKey() const
{
    return native->commandKey;
}

void NSApplication::setCommandKey(CommandKey key)
{
    assertMainThread();
    willChangeValue(commandKeyKey);
    native->commandKey = key;
    didChangeValue(commandKeyKey);
}

std::shared_ptr<NSAppearance> NSApplication::appearance() const
{
    return native->appearance;
}

void NSApplication::setAppearance(std::shared_ptr<NSAppearance> appearance)
{
    assertMainThread();
    native->appearance = std::move(appearance);
    native->show(*this, *effectiveAppearance());
}

std::shared_ptr<NSAppearance> NSApplication::effectiveAppearance() const
{
    assertMainThread();
    if (native->appearance)
        return native->appearance;
    return native->desktop->appearance(native->desktop->portal.colorScheme());
}

Value NSApplication::value(std::string_view forKey) const
{
    if (forKey == effectiveAppearanceKey)
        return effectiveAppearance()->name;
    if (forKey == commandKeyKey)
        return commandKey() == CommandKey::super ? "super" : "control";
    if (forKey == mainMenuKey)
        return native->mainMenu ? Value(native->mainMenu->title()) : Value();
    return NSObject::value(forKey);
}

void NSApplication::setDelegate(const std::weak_ptr<NSApplicationDelegate>& delegate)
{
    native->delegate = delegate;
}

} // namespace LumoKit
