#include "Support/SuiteWindow.h"

#include "Support/SuiteSettings.h"

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Utility/FramelessWindowBehaviour.h>
#include <LumoKit/Utility/WindowControllers.h>

#include <algorithm>
#include <cmath>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr CGSize smallest{700, 480};
constexpr double barHeight = 46;
constexpr double controlHeight = 32;
constexpr double gap = 12;
constexpr double heightOfTitle = 22;
constexpr double menuWidth = 36; // of what opens the menus, right of the controls

std::string describe(const CGSize& size)
{
    return std::to_string(std::lround(size.width)) + " × " + std::to_string(std::lround(size.height));
}

} // namespace

std::shared_ptr<SuiteWindow> SuiteWindow::create(
    std::string name, std::shared_ptr<Settings> settings, Report report)
{
    const std::shared_ptr<SuiteWindow> made(
        new SuiteWindow(std::move(name), std::move(settings), std::move(report)));
    made->open();
    return made;
}

SuiteWindow::SuiteWindow(std::string name, std::shared_ptr<Settings> settings, Report report)
    : name(std::move(name))
    , settings(std::move(settings))
    , report(std::move(report))
{
}

void SuiteWindow::open()
{
    const CGSize kept = settings->get(SuiteSettings::windowSize);
    const CGSize size{std::max(kept.width, smallest.width), std::max(kept.height, smallest.height)};
    report("opened as it was left: " + std::string(rawValue(settings->get(SuiteSettings::themeMode))) + ", "
        + describe(size));
    window = NSWindow::create({{}, size});
    window->setMinSize(smallest);
    setTitle("");
}

void SuiteWindow::addControl(const std::shared_ptr<NSView>& control, double width)
{
    const CGSize size = window->frame().size;
    rightmost = (rightmost == 0 ? size.width - menuWidth : rightmost) - gap - width;
    control->setFrame(
        {{rightmost, size.height - barHeight + (barHeight - controlHeight) / 2}, {width, controlHeight}});
    control->setAutoresizing({.minXMargin = true, .minYMargin = true});
    window->contentView()->addSubview(control);
}

void SuiteWindow::show(const std::shared_ptr<NSView>& page)
{
    const CGSize size = window->frame().size;
    page->setFrame({{}, {size.width, size.height - (rightmost == 0 ? 0 : barHeight)}});
    page->setAutoresizing(NSAutoresizing::sizable());
    window->contentView()->addSubview(page);
    if (rightmost != 0) {
        // The bar is all the title that the window has. It gets the height of the title that it loses, which is not to make it
        // higher at every start.
        CGRect frame = window->frame();
        frame.size.height -= heightOfTitle;
        window->setFrame(frame);
        const auto behaviour = std::make_shared<LMFramelessWindowBehaviour>();
        behaviour->titlebarHeight = barHeight;
        behaviour->setOwner(window);
        behaviour->setWindow(window);
    }
    window->setDelegate(weak_from_this());
    window->center();
    window->makeKeyAndOrderFront();
}

void SuiteWindow::setTitle(const std::string& shown)
{
    window->setTitle(shown.empty() ? name : shown + " – " + name);
}

void SuiteWindow::windowWillClose(NSWindow&)
{
    closeWindowControllers<NSWindowController>(); // which the other windows have
    report("window closed");
}

void SuiteWindow::windowDidResize(NSWindow& resized)
{
    const CGSize size = resized.frame().size;
    if (size == settings->get(SuiteSettings::windowSize))
        return;
    settings->set(SuiteSettings::windowSize, size);
    report("window size kept: " + describe(size));
}

} // namespace LumoSuite
