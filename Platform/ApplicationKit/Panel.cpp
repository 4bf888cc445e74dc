#include "Panel.h"

#include "KeyboardFocus.h"
#include "NSApplicationNative.h"
#include "NSWindowNative.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>

#include <algorithm>
#include <utility>

namespace LumoKit::detail {

namespace {

NSApplication::Native& application()
{
    return NSApplication::shared().nativeApplication();
}

/// The window that a modal panel belongs above: where the user is, or was last.
GtkWindow* windowInUse()
{
    if (GtkWindow* active = activeWindow())
        return active;
    const auto& onScreen = application().onScreen;
    return onScreen.empty() ? nullptr : onScreen.back()->nativeWindow().window.get();
}

} // namespace

Panel::Panel(GtkWindow* dialog)
    : window(ObjectPtr<GtkWindow>::retain(dialog))
{
    assertMainThread();
    gtk_window_set_modal(dialog, TRUE);
    gtk_window_set_type_hint(dialog, GDK_WINDOW_TYPE_HINT_DIALOG);
    gtk_window_set_skip_taskbar_hint(dialog, TRUE);
    connections.push_back(takeKeyboardWhenMapped(dialog));
    connections.push_back(
        SignalConnection::connect<gboolean(GtkWidget*, GdkEvent*)>(dialog, "delete-event", [](auto*, auto*) {
            return TRUE;
        })); // the dialog tells of it as a response, and whether it goes is ours
}

Panel::~Panel()
{
    connections.clear();
    gtk_widget_destroy(GTK_WIDGET(window.get()));
}

void Panel::beginSheet(NSWindow& above, Ended whenEnded)
{
    parent = std::static_pointer_cast<NSWindow>(above.shared_from_this());
    ended = std::move(whenEnded);
    above.nativeWindow().sheets.add(above, shared_from_this());
}

NSModalResponse Panel::runModal()
{
    const auto alive = shared_from_this();
    const auto group = ObjectPtr<GtkWindowGroup>::adopt(gtk_window_group_new());
    GtkWindow* above = windowInUse();
    gtk_window_set_position(window.get(), above ? GTK_WIN_POS_CENTER_ON_PARENT : GTK_WIN_POS_CENTER);
    gtk_window_set_transient_for(window.get(), above);
    gtk_window_group_add_window(group.get(), window.get());
    NSModalResponse response = NSModalResponseAbort;
    if (!application().isEnding()) {
        ModalSession modal(window.get());
        session = &modal;
        gtk_window_present(window.get());
        response = modal.run();
        session = nullptr;
    }
    hide();
    return response;
}

void Panel::end(NSModalResponse response)
{
    if (session)
        return session->stop(response);
    const auto alive = shared_from_this();
    if (const auto above = parent.lock())
        above->nativeWindow().sheets.remove(*above, *this);
    if (ended)
        std::exchange(ended, nullptr)(response);
}

void Panel::show(GtkWindow* above)
{
    gtk_window_set_position(window.get(), GTK_WIN_POS_CENTER_ON_PARENT);
    gtk_window_set_transient_for(window.get(), above);
    gtk_window_group_add_window(gtk_window_get_group(above), window.get());
    gtk_window_present(window.get());
}

void Panel::hide()
{
    GtkWindow* above = gtk_window_get_transient_for(window.get());
    const bool hadKeyboard = gtk_window_is_active(window.get());
    gtk_widget_hide(GTK_WIDGET(window.get()));
    if (!hadKeyboard || !above || !gtk_widget_get_visible(GTK_WIDGET(above)))
        return;
    // It comes back in a later turn; what the host does until then counts as done in that window.
    application().expectKey(above);
    giveKeyboard(above);
}

SheetQueue::~SheetQueue()
{
    cancelAll();
}

void SheetQueue::add(NSWindow& window, std::shared_ptr<Panel> panel)
{
    sheets.push_back(std::move(panel));
    if (!window.isVisible())
        window.makeKeyAndOrderFront(); // and with it the first sheet
    else if (sheets.size() == 1)
        setVisible(window, true);
}

void SheetQueue::remove(NSWindow& window, const Panel& panel)
{
    const auto place = std::ranges::find(sheets, &panel, &std::shared_ptr<Panel>::get);
    if (place == sheets.end())
        return;
    const auto removed = *place;
    const bool wasShown = place == sheets.begin();
    sheets.erase(place);
    removed->hide();
    if (wasShown)
        setVisible(window, window.isVisible());
}

void SheetQueue::cancelAll()
{
    for (const auto& panel : std::exchange(sheets, {})) {
        panel->hide();
        DispatchQueue::main()->async([panel] {
            if (panel->ended)
                std::exchange(panel->ended, nullptr)(NSModalResponseCancel);
        });
    }
}

void SheetQueue::setVisible(NSWindow& window, bool visible)
{
    if (sheets.empty())
        return;
    const auto attached = sheets.front();
    if (visible)
        attached->show(window.nativeWindow().window.get());
    else
        gtk_widget_hide(GTK_WIDGET(attached->dialog()));
}

} // namespace LumoKit::detail
