#include "NSPrintInfoNative.h"
#include "NSViewNative.h"
#include "Panel.h"
#include "PrintableView.h"

#include <LumoKit/Platform/ApplicationKit/NSAlert.h>
#include <LumoKit/Platform/ApplicationKit/NSPrintOperation.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <glib/gi18n.h>
#include <gtk/gtkunixprint.h>

#include <utility>

namespace LumoKit {

namespace {

using detail::ObjectPtr;

/// What the engine does itself, whatever the printer can. It makes PDF: asked for PostScript or SVG, its process of the
/// document ends (WebKitGTK 2.50).
constexpr auto capabilities = GtkPrintCapabilities(GTK_PRINT_CAPABILITY_PAGE_SET | GTK_PRINT_CAPABILITY_COPIES
    | GTK_PRINT_CAPABILITY_COLLATE | GTK_PRINT_CAPABILITY_REVERSE | GTK_PRINT_CAPABILITY_SCALE
    | GTK_PRINT_CAPABILITY_NUMBER_UP | GTK_PRINT_CAPABILITY_NUMBER_UP_LAYOUT
    | GTK_PRINT_CAPABILITY_GENERATE_PDF);

detail::PrintableView& printable(const NSView& view)
{
    auto* native = dynamic_cast<detail::PrintableView*>(&view.nativeView());
    if (!native)
        fatalError("nothing can be printed of this view");
    return *native;
}

/// The settings of a job: those of the print info, and the file if that is where the job goes.
ObjectPtr<GtkPrintSettings> settingsOf(const NSPrintInfo& info)
{
    auto settings =
        ObjectPtr<GtkPrintSettings>::adopt(gtk_print_settings_copy(info.nativeInfo().settings.get()));
    gtk_print_settings_set(settings.get(), GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT, "pdf");
    if (info.jobDisposition == NSPrintInfo::JobDisposition::save && info.jobSavingURL) {
        // The toolkit's printer for files is known by its name, in the user's language.
        gtk_print_settings_set_printer(settings.get(), g_dgettext("gtk30", "Print to File"));
        gtk_print_settings_set(
            settings.get(), GTK_PRINT_SETTINGS_OUTPUT_URI, info.jobSavingURL->absoluteString().c_str());
    }
    return settings;
}

} // namespace

struct NSPrintOperation::Run {
    std::shared_ptr<NSWindow> window;
    std::weak_ptr<NSObject> delegate;
    DidRun didRun;
    std::any contextInfo;
    std::shared_ptr<NSPrintOperation> self; // the operation keeps itself
    bool asked = false;
    ObjectPtr<GtkPrintSettings> settings;
    std::shared_ptr<detail::Panel> panel;
    detail::SignalConnection answered;
};

NSPrintOperation::NSPrintOperation(std::shared_ptr<NSView> printed, std::shared_ptr<NSPrintInfo> printInfo)
    : showsPrintPanel(
          printInfo->jobDisposition != NSPrintInfo::JobDisposition::save || !printInfo->jobSavingURL)
    , view(std::move(printed))
    , info(std::move(printInfo))
{
    assertMainThread();
    static_cast<void>(printable(*view));
}

NSPrintOperation::~NSPrintOperation() = default;

void NSPrintOperation::runModal(const std::shared_ptr<NSWindow>& forWindow,
    const std::weak_ptr<NSObject>& delegate, DidRun didRun, std::any contextInfo)
{
    if (run)
        fatalError("the print operation is running already");
    run = std::make_unique<Run>();
    run->window = forWindow;
    run->delegate = delegate;
    run->didRun = std::move(didRun);
    run->contextInfo = std::move(contextInfo);
    run->self = std::static_pointer_cast<NSPrintOperation>(shared_from_this());
    run->settings = settingsOf(*info);
    if (showsPrintPanel)
        showPanel();
    else
        print();
}

void NSPrintOperation::showPanel()
{
    GtkWidget* dialog = gtk_print_unix_dialog_new("Print", nullptr);
    auto* panel = GTK_PRINT_UNIX_DIALOG(dialog);
    gtk_print_unix_dialog_set_manual_capabilities(panel, capabilities);
    gtk_print_unix_dialog_set_embed_page_setup(panel, TRUE);
    gtk_print_unix_dialog_set_page_setup(panel, info->nativeInfo().pageSetup.get());
    gtk_print_unix_dialog_set_settings(panel, run->settings.get());
    run->asked = true;
    run->panel = std::make_shared<detail::Panel>(GTK_WINDOW(dialog));
    run->answered = detail::SignalConnection::connect<void(GtkDialog*, int)>(
        dialog, "response", [this](auto*, int response) {
            const auto alive = shared_from_this();
            const bool confirmed = response == GTK_RESPONSE_OK;
            if (confirmed)
                keepChoice(); // the toolkit forgets it when the panel goes
            run->panel->end(confirmed ? NSModalResponseOK : NSModalResponseCancel);
        });
    run->panel->beginSheet(*run->window, [this](NSModalResponse response) {
        const auto alive = shared_from_this();
        run->answered = {};
        run->panel = nullptr;
        if (response == NSModalResponseOK)
            print();
        else
            end(false);
    });
}

void NSPrintOperation::keepChoice()
{
    auto* panel = GTK_PRINT_UNIX_DIALOG(run->panel->dialog());
    auto& kept = info->nativeInfo();
    run->settings = ObjectPtr<GtkPrintSettings>::adopt(gtk_print_unix_dialog_get_settings(panel));
    if (GtkPrinter* printer = gtk_print_unix_dialog_get_selected_printer(panel))
        gtk_print_settings_set_printer(run->settings.get(), gtk_printer_get_name(printer));
    kept.settings = ObjectPtr<GtkPrintSettings>::adopt(gtk_print_settings_copy(run->settings.get()));
    for (const char* ofThisPrint : {GTK_PRINT_SETTINGS_N_COPIES, GTK_PRINT_SETTINGS_PRINT_PAGES,
             GTK_PRINT_SETTINGS_PAGE_RANGES, GTK_PRINT_SETTINGS_PAGE_SET})
        gtk_print_settings_unset(kept.settings.get(), ofThisPrint);

    // Another paper comes with margins of its own.
    const double top = info->topMargin();
    const double bottom = info->bottomMargin();
    const double left = info->leftMargin();
    const double right = info->rightMargin();
    kept.pageSetup =
        ObjectPtr<GtkPageSetup>::adopt(gtk_page_setup_copy(gtk_print_unix_dialog_get_page_setup(panel)));
    info->setTopMargin(top);
    info->setBottomMargin(bottom);
    info->setLeftMargin(left);
    info->setRightMargin(right);
}

void NSPrintOperation::print()
{
    const auto pageSetup =
        ObjectPtr<GtkPageSetup>::adopt(gtk_page_setup_copy(info->nativeInfo().pageSetup.get()));
    printable(*view).print(run->settings.get(), pageSetup.get(), [this](const std::optional<Error>& error) {
        const auto alive = shared_from_this();
        if (error)
            tell(*error);
        end(!error);
    });
}

void NSPrintOperation::tell(const Error& error)
{
    LumoKit::print("[NSPrintOperation] cannot print: " + error.description);
    if (!run->asked || !run->window->isVisible())
        return;
    const auto alert = std::make_shared<NSAlert>();
    alert->alertStyle = NSAlert::Style::warning;
    alert->messageText = "The document could not be printed.";
    alert->informativeText = error.description;
    alert->beginSheetModal(run->window, {});
}

void NSPrintOperation::end(bool success)
{
    const auto ended = std::exchange(run, nullptr);
    if (ended->didRun && ended->delegate.lock())
        ended->didRun(*this, success, ended->contextInfo);
}

} // namespace LumoKit
