#include "NSPrintInfoNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/Handles.h>

namespace LumoKit {

namespace {

using PaperSize = std::unique_ptr<GtkPaperSize, detail::FreedBy<gtk_paper_size_free>>;

} // namespace

std::shared_ptr<NSPrintInfo> NSPrintInfo::shared()
{
    static const auto info = std::make_shared<NSPrintInfo>();
    return info;
}

NSPrintInfo::NSPrintInfo()
    : native(std::make_unique<Native>())
{
    assertMainThread();
    static_cast<void>(NSApplication::shared()); // the user's country is known from then on
    native->pageSetup = detail::ObjectPtr<GtkPageSetup>::adopt(gtk_page_setup_new());
    native->settings = detail::ObjectPtr<GtkPrintSettings>::adopt(gtk_print_settings_new());
}

NSPrintInfo::~NSPrintInfo() = default;

CGSize NSPrintInfo::paperSize() const
{
    return {gtk_page_setup_get_paper_width(native->pageSetup.get(), GTK_UNIT_POINTS),
        gtk_page_setup_get_paper_height(native->pageSetup.get(), GTK_UNIT_POINTS)};
}

void NSPrintInfo::setPaperSize(const CGSize& size)
{
    const bool turned = orientation() == Orientation::landscape;
    const double width = turned ? size.height : size.width;
    const double height = turned ? size.width : size.height;
    // The toolkit knows the usual papers by their sizes; another one needs a name of its own.
    const PaperSize paper(gtk_paper_size_new_from_ppd("Custom", "Custom", width, height));
    gtk_page_setup_set_paper_size(native->pageSetup.get(), paper.get());
}

NSPrintInfo::Orientation NSPrintInfo::orientation() const
{
    const GtkPageOrientation given = gtk_page_setup_get_orientation(native->pageSetup.get());
    return given == GTK_PAGE_ORIENTATION_LANDSCAPE || given == GTK_PAGE_ORIENTATION_REVERSE_LANDSCAPE
        ? Orientation::landscape
        : Orientation::portrait;
}

void NSPrintInfo::setOrientation(Orientation orientation)
{
    gtk_page_setup_set_orientation(native->pageSetup.get(),
        orientation == Orientation::landscape ? GTK_PAGE_ORIENTATION_LANDSCAPE
                                              : GTK_PAGE_ORIENTATION_PORTRAIT);
}

double NSPrintInfo::topMargin() const
{
    return gtk_page_setup_get_top_margin(native->pageSetup.get(), GTK_UNIT_POINTS);
}

void NSPrintInfo::setTopMargin(double margin)
{
    gtk_page_setup_set_top_margin(native->pageSetup.get(), margin, GTK_UNIT_POINTS);
}

double NSPrintInfo::bottomMargin() const
{
    return gtk_page_setup_get_bottom_margin(native->pageSetup.get(), GTK_UNIT_POINTS);
}

void NSPrintInfo::setBottomMargin(double margin)
{
    gtk_page_setup_set_bottom_margin(native->pageSetup.get(), margin, GTK_UNIT_POINTS);
}

double NSPrintInfo::leftMargin() const
{
    return gtk_page_setup_get_left_margin(native->pageSetup.get(), GTK_UNIT_POINTS);
}

void NSPrintInfo::setLeftMargin(double margin)
{
    gtk_page_setup_set_left_margin(native->pageSetup.get(), margin, GTK_UNIT_POINTS);
}

double NSPrintInfo::rightMargin() const
{
    return gtk_page_setup_get_right_margin(native->pageSetup.get(), GTK_UNIT_POINTS);
}

void NSPrintInfo::setRightMargin(double margin)
{
    gtk_page_setup_set_right_margin(native->pageSetup.get(), margin, GTK_UNIT_POINTS);
}

} // namespace LumoKit
