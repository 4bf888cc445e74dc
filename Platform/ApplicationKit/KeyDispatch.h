#pragma once

#include "KeyEvents.h"

#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <set>
#include <vector>

namespace LumoKit {

class NSWindow;

namespace detail {

/// The way of a key through a window:
///
///   1. its views, through `performKeyEquivalent`: a view may swallow the key, and a page that has the keyboard
///      takes it;
///   2. whatever else has the keyboard;
///   3. the main menu;
///   4. what the toolkit does with keys: moving the keyboard from one control to the next, and the like.
///
/// A page answers later. What it does not handle comes back as a marked event, and goes on at 3.
/// The release of a key goes where its press went: of a press that reached nobody but views and menus, nobody is
/// told.
///
/// Lifetime: as long as the window.
class KeyDispatch {
public:
    explicit KeyDispatch(NSWindow& window);

    void send(const NSEvent& event);

    /// Hands the event to a widget of the window, and if that does not take it to those around it; true if one
    /// took it.
    bool deliver(const NSEvent& event, GtkWidget* widget, KeyReader reader);

private:
    static constexpr guint16 noKey = 0xFFFF;

    gboolean received(GdkEventKey& key);
    /// What nobody in the window took. `hasMoved` says that another has the keyboard than had the press.
    void goOn(const NSEvent& event, bool hasMoved);
    /// The engine takes a second press of a key without a release for a repetition. Keys made by hand have no
    /// release: a letter that comes twice is one of another, unknown place the second time.
    void keepFromRepeating(const NSEvent& event, GdkEventKey& key);
    bool deliverToFocus(const NSEvent& event);
    bool propagate(GdkEvent* event, GtkWidget* widget) const;

    NSWindow& window;
    bool reached = false; // the press that is being sent reached a widget
    guint16 lastMadeByHand = noKey; // the place that the page was last given for a key that no keyboard sent
    std::set<guint16> held; // keys that are down, by their places
    std::set<guint16> unreached; // of those, the ones whose press reached no widget
    std::vector<SignalConnection> connections;
};

} // namespace detail
} // namespace LumoKit
