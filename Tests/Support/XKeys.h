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

/// Moves the pointer on the screen, or from where it is; presses and releases a button of the mouse where it is.
/// Units: points from the top left.
void movePointer(int x, int y);
void movePointerBy(int x, int y);
void pressPointer(unsigned button = 1);
void releasePointer(unsigned button = 1);

} // namespace LumoKit::Test
