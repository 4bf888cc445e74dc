#include "KeyDispatch.h"

#include "NSViewNative.h"
#include "NSWindowNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSMenu.h>

#include <utility>

namespace LumoKit::detail {

KeyDispatch::KeyDispatch(NSWindow& window)
    : window(window)
{
    GtkWindow* widget = window.nativeWindow().window.get();
    for (const char* signal : {"key-press-event", "key-release-event"})
        connections.push_back(SignalConnection::connect<gboolean(GtkWidget*, GdkEventKey*)>(
            widget, signal, [this](auto*, GdkEventKey* key) { return received(*key); }));
    connections.push_back(SignalConnection::connect<gboolean(GtkWidget*, GdkEvent*)>(
        widget, "focus-out-event", [this](auto*, auto*) {
            held.clear(); // another window is told of the releases
            unreached.clear();
            return FALSE;
        }));
}

gboolean KeyDispatch::received(GdkEventKey& key)
{
    const auto alive = window.shared_from_this();
    const int number = window.windowNumber();
    if (wasDelivered(key)) {
        // A page did not handle it, or an input method asked to have it again without itself.
        gpointer data = nullptr;
        gdk_window_get_user_data(key.window, &data);
        GtkWidget* focus = gtk_window_get_focus(window.nativeWindow().window.get());
        GtkWidget* widget = data && !GTK_IS_WINDOW(data) ? GTK_WIDGET(data) : focus;
        // A page that has no more to move to has the engine move the keyboard, and hands the press back all the
        // same: what it does to the one that has the keyboard now is not to be done.
        const bool hasMoved = widget != focus;
        if (widget && propagate(reinterpret_cast<GdkEvent*>(&key), widget))
            return TRUE;
        if (key.type == GDK_KEY_PRESS)
            goOn(eventOf(key, number, false), hasMoved);
        return TRUE;
    }
    const bool repeats = key.type == GDK_KEY_PRESS ? !held.insert(key.hardware_keycode).second
                                                   : (held.erase(key.hardware_keycode), false);
    NSApplication::shared().sendEvent(eventOf(key, number, repeats));
    return TRUE; // the toolkit's own way would hand the key to the page again
}

void KeyDispatch::send(const NSEvent& event)
{
    const auto alive = window.shared_from_this();
    if (event.type != NSEvent::EventType::keyDown) {
        const bool swallowed = event.type == NSEvent::EventType::keyUp && event.native
            && unreached.erase(event.native->event->key.hardware_keycode) > 0;
        if (!swallowed)
            deliverToFocus(event);
        return;
    }
    const bool outer = std::exchange(reached, false);
    const bool taken = window.performKeyEquivalent(event) || deliverToFocus(event);
    const bool tellsOfRelease = std::exchange(reached, outer);
    if (event.native) {
        const guint16 place = event.native->event->key.hardware_keycode;
        if (tellsOfRelease)
            unreached.erase(place);
        else
            unreached.insert(place);
    }
    if (!taken)
        goOn(event, false);
}

bool KeyDispatch::deliver(const NSEvent& event, GtkWidget* widget, KeyReader reader)
{
    GdkWindow* surface = gtk_widget_get_window(widget);
    if (!surface)
        return false; // it is not on screen
    reached = true;
    const auto native = delivered(event, reader, surface);
    if (reader == KeyReader::page && event.type == NSEvent::EventType::keyDown)
        keepFromRepeating(event, native->key);
    return propagate(native.get(), widget);
}

void KeyDispatch::keepFromRepeating(const NSEvent& event, GdkEventKey& key)
{
    if (event.native) {
        lastMadeByHand = noKey;
        return;
    }
    constexpr guint16 unknown = 0;
    constexpr guint16 alsoUnknown = 7;
    const gunichar character = gdk_keyval_to_unicode(key.keyval);
    // A key that edits is known by its place.
    const bool edits = key.hardware_keycode != unknown && !g_unichar_isprint(character);
    if (key.hardware_keycode == lastMadeByHand && !edits)
        key.hardware_keycode = lastMadeByHand == unknown ? alsoUnknown : unknown;
    lastMadeByHand = key.hardware_keycode;
}

bool KeyDispatch::deliverToFocus(const NSEvent& event)
{
    GtkWidget* focus = gtk_window_get_focus(window.nativeWindow().window.get());
    if (!focus)
        return false;
    const auto responder = window.firstResponder();
    const bool isPage = responder && responder->nativeView().isPage;
    // A page takes presses as a view, so that it can leave one to the menus.
    if (isPage && event.type == NSEvent::EventType::keyDown)
        return false;
    const KeyReader reader = isPage ? KeyReader::page : KeyReader::control;
    if (event.native || !hasSeveralCodePoints(event.characters))
        return deliver(event, focus, reader);
    // The toolkit's controls take text by the code point.
    bool taken = false;
    const char* end = event.characters.c_str() + event.characters.size();
    for (const char* point = event.characters.c_str(); point < end; point = g_utf8_next_char(point)) {
        NSEvent part = event;
        const char* next = g_utf8_next_char(point);
        part.characters = part.charactersIgnoringModifiers = std::string(point, next);
        taken = deliver(part, focus, reader) || taken;
    }
    return taken;
}

bool KeyDispatch::propagate(GdkEvent* event, GtkWidget* widget) const
{
    GtkWidget* const top = GTK_WIDGET(window.nativeWindow().window.get());
    auto place = ObjectPtr<GtkWidget>::retain(widget);
    while (place && place.get() != top) {
        // What a handler does may take the widget out of the window.
        const auto next = ObjectPtr<GtkWidget>::retain(gtk_widget_get_parent(place.get()));
        if (gtk_widget_get_realized(place.get()) && gtk_widget_is_sensitive(place.get())
            && gtk_widget_event(place.get(), event))
            return true;
        place = next;
    }
    return false;
}

void KeyDispatch::goOn(const NSEvent& event, bool hasMoved)
{
    const auto alive = window.shared_from_this();
    const auto menu = NSApplication::shared().mainMenu();
    if (menu && menu->performKeyEquivalent(event))
        return;
    GtkWindow* widget = window.nativeWindow().window.get();
    GdkWindow* surface = gtk_widget_get_window(GTK_WIDGET(widget));
    if (!surface)
        return;
    const auto titleBar = window.nativeWindow().titleBar;
    if (titleBar && event.charactersIgnoringModifiers == NSF10FunctionKey && titleBar->openMenu())
        return;
    const auto native = delivered(event, KeyReader::control, surface);
    if (!gtk_window_activate_key(widget, &native->key) && !hasMoved)
        gtk_bindings_activate_event(G_OBJECT(widget), &native->key);
}

} // namespace LumoKit::detail
