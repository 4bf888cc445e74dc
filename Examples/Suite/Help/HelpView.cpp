#include "Help/HelpView.h"

#include <LumoKit/Extensions/CGRect.h>
#include <LumoKit/Extensions/NSButton.h>
#include <LumoKit/Extensions/NSColor.h>
#include <LumoKit/Extensions/NSView.h>
#include <LumoKit/Models/ThemeMode.h>
#include <LumoKit/Platform/ApplicationKit/CALayer.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSImage.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/View/BackgroundView.h>

#include <fstream>
#include <iterator>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr double barHeight = 52;
constexpr double headerHeight = 44;
constexpr CGSize checkSize{240, 28};

std::shared_ptr<NSImage> pattern()
{
    const auto path = Bundle::main().path("help-pattern", "png");
    std::ifstream file(path.value_or(""), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const auto* first = reinterpret_cast<const std::byte*>(bytes.data());
    return NSImage::create(Data(first, first + bytes.size()));
}

} // namespace

HelpView::HelpView(const NSCoder& coder)
    : NSView(coder)
    , tellsFacts(NSButton::checkbox("Tell version and system, too"))
{
}

void HelpView::addSubviews()
{
    const NSColor ground = isDarkMode(NSApplication::shared()) ? color("#1b1e23", 1) : color("#f1f2f5", 1);
    LumoKit::setBackgroundColor(*this, ground); // which gives a layer, and leaves its colour to us
    layer()->setBackgroundColor(ground);
    if (const auto header = std::dynamic_pointer_cast<BackgroundView>(view("header")))
        header->setBackgroundImage(pattern());
    setIsOn(*tellsFacts, true);
    addSubview(tellsFacts);
    addSubview(page);
}

void HelpView::layOutSubviews()
{
    const CGSize size = bounds().size;
    const CGPoint middle = center(bounds()); // of the window's bottom edge
    tellsFacts->setFrame({{middle.x - checkSize.width / 2, (barHeight - checkSize.height) / 2}, checkSize});
    page->setFrame({{0, barHeight}, {size.width, size.height - barHeight - headerHeight}});
    page->setAutoresizing(NSAutoresizing::sizable());
}

std::shared_ptr<NSButton> HelpView::writeButton()
{
    return std::dynamic_pointer_cast<NSButton>(view("write"));
}

} // namespace LumoSuite
