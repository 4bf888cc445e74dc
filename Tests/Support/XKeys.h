#pragma once

#include <gtk/gtk.h>

#include <string>

namespace LumoKit::Test {

/// Presses and releases a key as the keyboard does, by its name ("Return", "Escape", "a"): the X server hands it to
/// the window that has the keyboard.
void pressKey(const std::string& name);

/// Types the letters and digits of a text.
void typeText(const std::string& text);

/// Moves the pointer to the middle of a widget that is on screen, and clicks.
void clickOn(GtkWidget* widget);

} // namespace LumoKit::Test
