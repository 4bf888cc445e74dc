#pragma once

#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

namespace LumoKit::detail {

/// Whether somebody hands out the keyboard: on a bare X server, without a window manager, nobody does.
[[nodiscard]] bool hasWindowManager(GdkDisplay* display);

/// Makes a window take the keyboard whenever it appears, where nobody hands it out.
[[nodiscard]] SignalConnection takeKeyboardWhenMapped(GtkWindow* window);

/// Gives a window the keyboard, where nobody hands it out.
void giveKeyboard(GtkWindow* window);

/// The window of this application that has the keyboard; null if it is none.
[[nodiscard]] GtkWindow* activeWindow();

} // namespace LumoKit::detail
