#include "NSViewNative.h"
#include "Panel.h"
#include "PanelText.h"

#include <LumoKit/Platform/ApplicationKit/NSAlert.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSTextField.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>

#include <algorithm>
#include <utility>

namespace LumoKit {

namespace {

constexpr int margin = 24;
constexpr int narrowest = 280;
constexpr int textWidth = 50; // characters of a line
constexpr int highestText = 320; // what is longer scrolls
constexpr int widestButtons = 460; // beside one another

GtkWidget* textLabel(const std::string& text)
{
    GtkWidget* label = gtk_label_new(text.c_str());
    gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_line_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
    gtk_label_set_max_width_chars(GTK_LABEL(label), textWidth);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_selectable(GTK_LABEL(label), TRUE); // an error's text wants to be sent to somebody
    gtk_widget_set_no_show_all(label, text.empty());
    return label;
}

GtkWidget* headline(const std::string& text)
{
    GtkWidget* label = textLabel(text);
    PangoAttrList* look = pango_attr_list_new();
    pango_attr_list_insert(look, pango_attr_weight_new(PANGO_WEIGHT_BOLD));
    pango_attr_list_insert(look, pango_attr_scale_new(1.1));
    gtk_label_set_attributes(GTK_LABEL(label), look);
    pango_attr_list_unref(look);
    return label;
}

/// The texts, in a frame that scrolls when they are long.
GtkWidget* texts(const std::string& message, const std::string& informative)
{
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_container_add(GTK_CONTAINER(column), headline(message));
    gtk_container_add(GTK_CONTAINER(column), textLabel(informative));
    gtk_widget_show_all(column);
    int width = 0;
    int height = 0;
    gtk_widget_get_preferred_width(column, nullptr, &width);
    gtk_widget_get_preferred_height_for_width(column, width, nullptr, &height);
    if (height <= highestText)
        return column;
    GtkWidget* scrolled = gtk_scrolled_window_new(nullptr, nullptr);
    auto* frame = GTK_SCROLLED_WINDOW(scrolled);
    gtk_scrolled_window_set_policy(frame, GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_overlay_scrolling(frame, FALSE); // there is more: that must be seen
    gtk_scrolled_window_set_propagate_natural_width(frame, TRUE);
    gtk_scrolled_window_set_min_content_height(frame, highestText);
    gtk_widget_set_margin_end(column, 12);
    gtk_container_add(GTK_CONTAINER(scrolled), column);
    return scrolled;
}

/// A place for a view of the host's, of its size.
std::shared_ptr<NSView> holder(const std::shared_ptr<NSView>& accessory)
{
    auto place = std::make_shared<NSView>(CGRect{{}, accessory->frame().size});
    const CGSize size = accessory->frame().size;
    gtk_widget_set_size_request(
        place->nativeView().widget.get(), static_cast<int>(size.width), static_cast<int>(size.height));
    gtk_widget_set_halign(place->nativeView().widget.get(), GTK_ALIGN_START);
    accessory->setFrame({{}, size});
    place->addSubview(accessory);
    return place;
}

/// The first button at the right; or at the top, where they are too wide for a row.
void addTo(GtkDialog* dialog, const std::vector<std::shared_ptr<NSButton>>& buttons)
{
    int widest = 0;
    for (const auto& button : buttons) {
        GtkWidget* widget = button->nativeView().widget.get();
        if (GtkWidget* label = gtk_bin_get_child(GTK_BIN(widget)); GTK_IS_LABEL(label)) {
            const glong characters = g_utf8_strlen(gtk_label_get_text(GTK_LABEL(label)), -1);
            gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
            gtk_label_set_width_chars(
                GTK_LABEL(label), static_cast<int>(std::min<glong>(characters, textWidth)));
            gtk_label_set_max_width_chars(GTK_LABEL(label), textWidth);
        }
        gtk_widget_set_can_default(widget, TRUE);
        if (buttons.size() > 1 && button == buttons.front())
            gtk_style_context_add_class(
                gtk_widget_get_style_context(widget), GTK_STYLE_CLASS_SUGGESTED_ACTION);
        int natural = 0;
        gtk_widget_get_preferred_width(widget, nullptr, &natural);
        widest = std::max(widest, natural);
    }
    const bool stacked = widest * std::ssize(buttons) > widestButtons;
    for (std::ptrdiff_t place = 0; place < std::ssize(buttons); ++place) {
        const std::ptrdiff_t index = stacked ? place : std::ssize(buttons) - 1 - place;
        GtkWidget* widget = buttons[static_cast<std::size_t>(index)]->nativeView().widget.get();
        gtk_dialog_add_action_widget(dialog, widget, static_cast<int>(NSAlertFirstButtonReturn + index));
        if (stacked)
            gtk_orientable_set_orientation(
                GTK_ORIENTABLE(gtk_widget_get_parent(widget)), GTK_ORIENTATION_VERTICAL);
    }
}

const char* iconOf(NSAlert::Style style)
{
    switch (style) {
    case NSAlert::Style::warning:
        return "dialog-warning";
    case NSAlert::Style::critical:
        return "dialog-error";
    case NSAlert::Style::informational:
        break;
    }
    return nullptr;
}

void takeOut(const NSView& view)
{
    GtkWidget* widget = view.nativeView().widget.get();
    if (GtkWidget* parent = gtk_widget_get_parent(widget))
        gtk_container_remove(GTK_CONTAINER(parent), widget);
}

} // namespace

std::optional<std::size_t> cancelButton(const std::vector<std::string>& titles)
{
    const auto named = std::ranges::find(titles, "Cancel");
    if (named != titles.end())
        return static_cast<std::size_t>(named - titles.begin());
    if (titles.size() == 1 || titles.size() == 2)
        return titles.size() - 1;
    return std::nullopt;
}

/// What there is of an alert while it is up.
struct NSAlert::Screen {
    std::shared_ptr<detail::Panel> panel;
    std::shared_ptr<NSView> accessoryHolder;
    detail::SignalConnection answered;
};

NSAlert::NSAlert()
    : suppression(NSButton::checkbox("Do not show this message again"))
{
    assertMainThread();
}

NSAlert::NSAlert(const Error& error)
    : NSAlert()
{
    messageText = !error.description.empty() ? error.description
                                             : "The operation couldn’t be completed. (" + error.domain
            + " error " + std::to_string(error.code) + ".)";
    addButton("OK");
}

NSAlert::~NSAlert()
{
    takeDown();
}

std::shared_ptr<NSButton> NSAlert::addButton(const std::string& withTitle)
{
    buttons_.push_back(std::make_shared<NSButton>(detail::panelText(withTitle, detail::longestPanelTitle)));
    return buttons_.back();
}

void NSAlert::build()
{
    if (screen)
        fatalError("the alert is up already");
    if (buttons_.empty())
        addButton("OK");
    // A message dialog for what the theme makes of it; its own texts know neither bounds nor scrolling.
    GtkWidget* dialog = gtk_message_dialog_new(
        nullptr, static_cast<GtkDialogFlags>(0), GTK_MESSAGE_OTHER, GTK_BUTTONS_NONE, nullptr);
    GtkWidget* content = gtk_dialog_get_content_area(GTK_DIALOG(dialog));
    gtk_widget_hide(gtk_widget_get_parent(gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(dialog))));
    screen = std::make_unique<Screen>();
    screen->panel = std::make_shared<detail::Panel>(GTK_WINDOW(dialog));

    const std::string message = detail::panelText(messageText);
    const std::string informative = detail::panelText(informativeText);
    AtkObject* accessible = gtk_widget_get_accessible(dialog);
    atk_object_set_role(accessible, ATK_ROLE_ALERT);
    atk_object_set_name(accessible, message.empty() ? informative.c_str() : message.c_str());
    atk_object_set_description(accessible, informative.c_str());
    const char* name = g_get_application_name();
    gtk_window_set_title(GTK_WINDOW(dialog), name ? name : "");
    gtk_window_set_deletable(GTK_WINDOW(dialog), FALSE);
    gtk_window_set_resizable(GTK_WINDOW(dialog), FALSE);

    GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 18);
    gtk_widget_set_margin_start(row, margin);
    gtk_widget_set_margin_end(row, margin);
    gtk_widget_set_margin_top(row, margin - 6);
    gtk_widget_set_margin_bottom(row, margin - 6);
    if (const char* icon = iconOf(alertStyle)) {
        GtkWidget* image = gtk_image_new_from_icon_name(icon, GTK_ICON_SIZE_DIALOG);
        gtk_widget_set_valign(image, GTK_ALIGN_START);
        gtk_container_add(GTK_CONTAINER(row), image);
    }
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 14);
    gtk_widget_set_size_request(column, narrowest, -1);
    gtk_box_pack_start(GTK_BOX(row), column, TRUE, TRUE, 0);
    gtk_container_add(GTK_CONTAINER(column), texts(message, informative));
    if (accessoryView) {
        screen->accessoryHolder = holder(accessoryView);
        gtk_container_add(GTK_CONTAINER(column), screen->accessoryHolder->nativeView().widget.get());
    }
    if (showsSuppressionButton) {
        suppression->setTitle(detail::panelText(suppression->title(), detail::longestPanelTitle));
        GtkWidget* box = suppression->nativeView().widget.get();
        if (GtkWidget* label = gtk_bin_get_child(GTK_BIN(box)); GTK_IS_LABEL(label)) {
            gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
            gtk_label_set_max_width_chars(GTK_LABEL(label), textWidth);
        }
        gtk_container_add(GTK_CONTAINER(column), box);
    }
    gtk_container_add(GTK_CONTAINER(content), row);
    gtk_widget_show_all(row);

    addTo(GTK_DIALOG(dialog), buttons_);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog), static_cast<int>(NSAlertFirstButtonReturn));
    GtkWidget* first = accessoryView ? accessoryView->nativeView().widget.get() : nullptr;
    gtk_widget_grab_focus(
        first && gtk_widget_get_can_focus(first) ? first : buttons_.front()->nativeView().widget.get());

    screen->answered = detail::SignalConnection::connect<void(GtkDialog*, int)>(
        dialog, "response", [this](auto*, int response) {
            const auto alive = shared_from_this();
            if (response < 0) { // Escape, or closing
                std::vector<std::string> titles;
                for (const auto& button : buttons_)
                    titles.push_back(button->title());
                const auto cancel = cancelButton(titles);
                if (!cancel)
                    return;
                response = static_cast<int>(NSAlertFirstButtonReturn) + static_cast<int>(*cancel);
            }
            screen->panel->end(response);
        });
}

void NSAlert::takeDown()
{
    if (!screen)
        return;
    // The dialog goes; what the host knows of it stays.
    for (const auto& button : buttons_)
        takeOut(*button);
    takeOut(*suppression);
    if (accessoryView)
        accessoryView->removeFromSuperview();
    screen.reset();
}

void NSAlert::beginSheetModal(const std::shared_ptr<NSWindow>& forWindow, CompletionHandler completionHandler)
{
    build();
    const auto self = std::static_pointer_cast<NSAlert>(shared_from_this());
    screen->panel->beginSheet(
        *forWindow, [self, handler = std::move(completionHandler)](NSModalResponse response) mutable {
            self->takeDown();
            if (handler)
                handler(response);
        });
}

NSModalResponse NSAlert::runModal()
{
    const auto alive = shared_from_this();
    build();
    const NSModalResponse response = screen->panel->runModal();
    takeDown();
    return response;
}

} // namespace LumoKit
