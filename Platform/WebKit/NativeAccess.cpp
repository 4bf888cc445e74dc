#include "../ApplicationKit/NSViewNative.h"
#include "../ApplicationKit/NSWindowNative.h"

#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>

namespace LumoKit {

GtkWidget* gtkWidget(const NSView& view)
{
    return view.nativeView().widget.get();
}

GtkWindow* gtkWindow(const NSWindow& window)
{
    return window.nativeWindow().window.get();
}

WebKitWebView* webKitWebView(const WKWebView& view)
{
    return WEBKIT_WEB_VIEW(gtkWidget(view));
}

} // namespace LumoKit
