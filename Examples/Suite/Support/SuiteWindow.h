#pragma once

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Utility/Settings.h>

#include <functional>
#include <memory>
#include <string>

namespace LumoSuite {

/// The window of an application: one page, with a bar of native controls above it where there are any, which then is all
/// the frame that the window has. It is as large as it was left.
///
/// Thread: the main thread.
class SuiteWindow : public LumoKit::NSWindowDelegate, public std::enable_shared_from_this<SuiteWindow> {
public:
    using Report = std::function<void(const std::string&)>;

    /// Makes the window, which is on the screen after `show`. This is the one place where the suite's windows are made.
    [[nodiscard]] static std::shared_ptr<SuiteWindow> create(
        std::string name, std::shared_ptr<LumoKit::Settings> settings, Report report);

    /// Puts a control into the bar, left of those that are there. To be called before `show`.
    void addControl(const std::shared_ptr<LumoKit::NSView>& control, double width);

    /// Fills the window with a page, below the bar if there is one, and puts it on the screen.
    void show(const std::shared_ptr<LumoKit::NSView>& page);

    /// Titles the window after what is shown, and after the application; empty for that alone.
    void setTitle(const std::string& shown);

    [[nodiscard]] const std::shared_ptr<LumoKit::NSWindow>& native() const { return window; }

private:
    SuiteWindow(std::string name, std::shared_ptr<LumoKit::Settings> settings, Report report);
    void open();
    void windowWillClose(LumoKit::NSWindow&) override;
    void windowDidResize(LumoKit::NSWindow& window) override;

    const std::string name;
    const std::shared_ptr<LumoKit::Settings> settings;
    const Report report;
    std::shared_ptr<LumoKit::NSWindow> window;
    double rightmost = 0; // the left edge of the controls so far; 0 without any
};

} // namespace LumoSuite
