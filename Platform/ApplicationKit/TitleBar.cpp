#include "TitleBar.h"

#include "MenuBar.h"
#include "NSViewNative.h"
#include "NSWindowNative.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>

namespace LumoKit::detail {

namespace {

constexpr double height = 22;
constexpr double size = 14; // of a button
constexpr double left = 12;
constexpr double gap = 6;

// A disc, so that a button can be seen on whatever the content shows, larger than the button by two points all around.
// The theme says its colours, and the desktop's icons what is on it.
constexpr const char* look = R"(
    .lumokit-titlebar button {
        min-width: 0; min-height: 0; padding: 0; margin: -2px; border: none; border-radius: 9px; outline-offset: -2px;
        outline-width: 2px; box-shadow: none; text-shadow: none; -gtk-icon-shadow: none; transition: none;
        background-repeat: no-repeat; background-position: center; background-size: 16px 16px;
        color: @theme_fg_color; background-color: mix(@theme_bg_color, @theme_fg_color, 0.12);
        -gtk-outline-radius: 9px;
    }
    .lumokit-titlebar button:backdrop {
        color: mix(@theme_bg_color, @theme_fg_color, 0.6);
        background-color: mix(@theme_bg_color, @theme_fg_color, 0.06);
    }
    .lumokit-titlebar button:hover { color: @theme_fg_color; background-color: mix(@theme_bg_color, @theme_fg_color, 0.2); }
    .lumokit-titlebar button:active { background-color: mix(@theme_bg_color, @theme_fg_color, 0.32); }
    .lumokit-titlebar button:disabled { color: mix(@theme_bg_color, @theme_fg_color, 0.35); }
    .lumokit-titlebar button:focus { outline-style: solid; outline-color: @theme_selected_bg_color; }
    .lumokit-titlebar button, .lumokit-titlebar button:hover, .lumokit-titlebar button:active,
    .lumokit-titlebar button:backdrop, .lumokit-titlebar button:disabled { background-image: -gtk-icontheme("ICON"); }
)";

ObjectPtr<GtkCssProvider> styleWith(const char* icon)
{
    std::string text(look);
    text.replace(text.find("ICON"), 4, icon);
    auto style = ObjectPtr<GtkCssProvider>::adopt(gtk_css_provider_new());
    gtk_css_provider_load_from_data(style.get(), text.c_str(), -1, nullptr);
    return style;
}

/// The content first: Tab does not begin with the button that closes the window. GTK has deprecated this for what only
/// GTK 4 has; the other way is a class of our own for a container that is like the toolkit's in everything else.
void setFocusChain(GtkOverlay* of, std::initializer_list<GtkWidget*> widgets)
{
    GList* order = nullptr;
    for (GtkWidget* widget : widgets)
        order = g_list_append(order, widget);
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    if (order)
        gtk_container_set_focus_chain(GTK_CONTAINER(of), order);
    else
        gtk_container_unset_focus_chain(GTK_CONTAINER(of));
    G_GNUC_END_IGNORE_DEPRECATIONS
    g_list_free(order);
}

void showIcon(GtkWidget* button, const char* icon)
{
    constexpr const char* key = "lumokit-icon";
    GtkStyleContext* context = gtk_widget_get_style_context(button);
    if (auto* former = static_cast<GtkStyleProvider*>(g_object_get_data(G_OBJECT(button), key)))
        gtk_style_context_remove_provider(context, former);
    const auto style = styleWith(icon);
    gtk_style_context_add_provider(
        context, GTK_STYLE_PROVIDER(style.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_set_data_full(
        G_OBJECT(button), key, g_object_ref(style.get()), [](gpointer kept) { g_object_unref(kept); });
}

/// Where the graphics driver works in software, a page that is drawn in part is not drawn there at all (WebKitGTK 2.50,
/// GTK 3.24): what changes above a page redraws all of the window.
SignalConnection redrawWindowWith(GtkWidget* button)
{
    return SignalConnection::connect<void(GtkWidget*, GtkStateFlags)>(button, "state-flags-changed",
        [](GtkWidget* changed, GtkStateFlags) { gtk_widget_queue_draw(gtk_widget_get_toplevel(changed)); });
}

/// A button that drops a menu down.
struct MenuButton : NSView {
    explicit MenuButton(GtkWidget* menu)
        : NSView(std::make_unique<Native>(gtk_menu_button_new()))
    {
        GtkWidget* widget = nativeView().widget.get();
        gtk_menu_button_set_popup(GTK_MENU_BUTTON(widget), menu);
        if (GtkWidget* arrow = gtk_bin_get_child(GTK_BIN(widget)))
            gtk_container_remove(GTK_CONTAINER(widget), arrow);
        atk_object_set_name(gtk_widget_get_accessible(widget), "Main menu");
        gtk_widget_show(widget);
    }
};

} // namespace

std::shared_ptr<TitleBar> TitleBar::create(NSWindow& window, GtkOverlay* overlay)
{
    auto made = std::make_shared<TitleBar>(window, overlay);
    made->fill();
    return made;
}

TitleBar::TitleBar(NSWindow& of, GtkOverlay* over)
    : window(of)
    , overlay(over)
    , bar(std::make_shared<NSView>())
{
}

void TitleBar::fill()
{
    GtkWidget* widget = nativeView().widget.get();
    gtk_style_context_add_class(gtk_widget_get_style_context(widget), "titlebar");
    const CGSize whole = window.frame().size;
    setFrame({{0, whole.height - height}, {whole.width, height}});
    bar->setFrame(bounds());
    bar->setAutoresizing(NSAutoresizing::sizable());
    gtk_style_context_add_class(
        gtk_widget_get_style_context(bar->nativeView().widget.get()), "lumokit-titlebar");
    addSubview(bar);

    struct Kind {
        const char* name;
        const char* icon;
        void (NSWindow::*action)();
    };
    double x = left;
    for (std::size_t index = 0;
        const auto& [name, icon, action] : {Kind{"Close", "window-close-symbolic", &NSWindow::performClose},
            Kind{"Minimise", "window-minimize-symbolic", &NSWindow::miniaturize},
            Kind{"Maximise", "window-maximize-symbolic", &NSWindow::zoom}}) {
        auto& made = buttons[index++];
        made = std::make_shared<NSButton>(name, CGRect{{x, (height - size) / 2}, {size, size}});
        made->setImagePosition(NSCellImagePosition::imageOnly);
        made->setAction([owner = std::weak_ptr(window.weak_from_this()), action](NSButton&) {
            if (const auto alive = std::static_pointer_cast<NSWindow>(owner.lock()))
                (alive.get()->*action)();
        });
        showIcon(made->nativeView().widget.get(), icon);
        connections.push_back(redrawWindowWith(made->nativeView().widget.get()));
        bar->addSubview(made);
        x += size + gap;
    }

    gtk_overlay_add_overlay(overlay, widget);
    gtk_overlay_set_overlay_pass_through(overlay, widget, TRUE);
    setFocusChain(overlay, {GTK_WIDGET(window.nativeWindow().box), widget});

    connections.push_back(SignalConnection::connect<gboolean(GtkOverlay*, GtkWidget*, GdkRectangle*)>(
        overlay, "get-child-position", [this](auto*, GtkWidget* child, GdkRectangle* at) {
            return child == nativeView().widget.get() ? place(*at) : FALSE;
        }));
    connections.push_back(SignalConnection::connect<gboolean(GtkWidget*, cairo_t*)>(
        widget, "draw", [this](GtkWidget* onto, cairo_t* with) {
            paint(onto, with);
            return FALSE;
        }));
    connections.push_back(
        SignalConnection::connect<void(GtkWindow*, GParamSpec*)>(window.nativeWindow().window.get(),
            "notify::title", [widget](auto*, auto*) { gtk_widget_queue_draw(widget); }));
    // The toolkit gives the keyboard to whatever can have it, but nobody means to have it on these buttons.
    connections.push_back(SignalConnection::connect<void(GtkWidget*)>(
        window.nativeWindow().window.get(), "show", [widget](GtkWidget* shown) {
            GtkWidget* focus = gtk_window_get_focus(GTK_WINDOW(shown));
            if (focus && gtk_widget_is_ancestor(focus, widget))
                gtk_window_set_focus(GTK_WINDOW(shown), nullptr);
        }));
}

TitleBar::~TitleBar()
{
    connections.clear();
    setFocusChain(overlay, {});
    if (menuButton)
        menuButton->removeFromSuperview();
    menu.reset();
    GtkWidget* widget = nativeView().widget.get();
    if (GtkWidget* parent = gtk_widget_get_parent(widget))
        gtk_container_remove(GTK_CONTAINER(parent), widget);
}

void TitleBar::setFrame(const CGRect& frame)
{
    const CGSize whole = window.frame().size;
    fromTop = whole.height - frame.maxY();
    fromRight = whole.width - frame.maxX();
    NSView::setFrame(frame);
    gtk_widget_queue_resize(nativeView().widget.get());
}

gboolean TitleBar::place(GdkRectangle& at)
{
    keepOnTop();
    const int width = gtk_widget_get_allocated_width(GTK_WIDGET(overlay));
    const int whole = gtk_widget_get_allocated_height(GTK_WIDGET(overlay));
    const CGRect& now = frame();
    NSView::setFrame({{now.origin.x, whole - fromTop - now.height()},
        {std::max(0.0, width - fromRight - now.origin.x), now.height()}});
    at.x = static_cast<int>(std::lround(frame().origin.x));
    at.y = static_cast<int>(std::lround(fromTop));
    at.width = std::max(1, static_cast<int>(std::lround(frame().width())));
    at.height = std::max(1, static_cast<int>(std::lround(frame().height())));
    return TRUE;
}

void TitleBar::keepOnTop() const
{
    // The overlay made a surface for it; a page that was added later has made one above.
    GdkWindow* surface = gtk_widget_get_parent_window(nativeView().widget.get());
    GdkWindow* around = surface ? gdk_window_get_parent(surface) : nullptr;
    const GList* all = around ? gdk_window_peek_children(around) : nullptr;
    if (all && all->data != surface)
        gdk_window_raise(surface);
}

void TitleBar::show()
{
    const auto mask = window.styleMask();
    button(NSWindow::ButtonType::closeButton)->setEnabled(mask.closable);
    button(NSWindow::ButtonType::miniaturizeButton)->setEnabled(mask.miniaturizable);
    const auto& zoom = button(NSWindow::ButtonType::zoomButton);
    zoom->setEnabled(mask.resizable || mask.fullScreen);
    const bool restores = mask.fullScreen || window.isZoomed();
    zoom->setTitle(mask.fullScreen ? "Leave full screen" : restores ? "Restore" : "Maximise");
    showIcon(
        zoom->nativeView().widget.get(), restores ? "window-restore-symbolic" : "window-maximize-symbolic");
    gtk_widget_queue_draw(nativeView().widget.get());
}

void TitleBar::showMenu(const std::shared_ptr<NSMenu>& shown)
{
    if (menuButton)
        menuButton->removeFromSuperview();
    menuButton.reset();
    menu.reset();
    redrawnForMenu = {};
    if (!shown)
        return;
    menu = std::make_unique<DropDownMenu>(shown);
    menuButton = std::make_shared<MenuButton>(menu->widget());
    showIcon(menuButton->nativeView().widget.get(), "open-menu-symbolic");
    redrawnForMenu = redrawWindowWith(menuButton->nativeView().widget.get());
    const CGRect in = bar->bounds();
    menuButton->setFrame({{in.width() - left - size, std::round((in.height() - size) / 2)}, {size, size}});
    menuButton->setAutoresizing({.minXMargin = true, .minYMargin = true, .maxYMargin = true});
    bar->addSubview(menuButton);
}

bool TitleBar::openMenu() const
{
    if (menuButton)
        gtk_button_clicked(GTK_BUTTON(menuButton->nativeView().widget.get()));
    return menuButton != nullptr;
}

void TitleBar::paint(GtkWidget* onto, cairo_t* with) const
{
    const int width = gtk_widget_get_allocated_width(onto);
    const int tall = gtk_widget_get_allocated_height(onto);
    GtkStyleContext* context = gtk_widget_get_style_context(onto);
    if (!window.titlebarAppearsTransparent())
        gtk_render_background(context, with, 0, 0, width, tall);
    if (window.titleVisibility() == NSWindow::TitleVisibility::hidden)
        return;
    const int side = static_cast<int>(left + 3 * (size + gap)); // of the buttons, on both sides
    const auto text =
        ObjectPtr<PangoLayout>::adopt(gtk_widget_create_pango_layout(onto, window.title().c_str()));
    pango_layout_set_ellipsize(text.get(), PANGO_ELLIPSIZE_END);
    pango_layout_set_single_paragraph_mode(text.get(), TRUE);
    pango_layout_set_alignment(text.get(), PANGO_ALIGN_CENTER);
    pango_layout_set_width(text.get(), std::max(0, width - 2 * side) * PANGO_SCALE);
    int lines = 0;
    pango_layout_get_pixel_size(text.get(), nullptr, &lines);
    gtk_style_context_save(context);
    gtk_style_context_add_class(context, "title");
    gtk_render_layout(context, with, side, (tall - lines) / 2.0, text.get());
    gtk_style_context_restore(context);
}

} // namespace LumoKit::detail
