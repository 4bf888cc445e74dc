#pragma once

/// \file
/// The one public door to GTK and WebKitGTK: the native object behind an object of the kit, for hosts that
/// need what the kit does not offer. Whoever includes this builds against both libraries.
///
/// Ownership of everything here: borrowed; it lives as long as the kit's object.
/// Thread: the main thread.

#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

namespace LumoKit {

class NSView;
class NSWindow;
class WKWebView;

/// The widget that shows a view.
[[nodiscard]] GtkWidget* gtkWidget(const NSView& view);
[[nodiscard]] GtkWindow* gtkWindow(const NSWindow& window);
[[nodiscard]] WebKitWebView* webKitWebView(const WKWebView& view);

} // namespace LumoKit
