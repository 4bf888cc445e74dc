#include <LumoKit/Platform/ApplicationKit/NSWorkspace.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gdk/gdk.h>
#include <gio/gdesktopappinfo.h>

#include <string>

namespace LumoKit {

namespace {

/// Lets what is started come to the front; null where this process has no display, and nothing to hand on.
detail::ObjectPtr<GAppLaunchContext> launchContext()
{
    GdkDisplay* display = gdk_display_get_default();
    return detail::ObjectPtr<GAppLaunchContext>::adopt(
        display ? G_APP_LAUNCH_CONTEXT(gdk_display_get_app_launch_context(display)) : nullptr);
}

} // namespace

NSWorkspace& NSWorkspace::shared()
{
    static NSWorkspace workspace;
    return workspace;
}

bool NSWorkspace::launchApp(std::string_view withBundleIdentifier)
{
    assertMainThread();
    // Null also for an entry whose program is not there.
    const auto entry = detail::ObjectPtr<GDesktopAppInfo>::adopt(
        g_desktop_app_info_new((std::string(withBundleIdentifier) + ".desktop").c_str()));
    return entry && g_app_info_launch(G_APP_INFO(entry.get()), nullptr, launchContext().get(), nullptr);
}

bool NSWorkspace::open(const URL& url)
{
    assertMainThread();
    return g_app_info_launch_default_for_uri(url.absoluteString().c_str(), launchContext().get(), nullptr);
}

} // namespace LumoKit
