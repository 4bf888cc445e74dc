#pragma once

#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/View/ViewController.h>
#include <LumoKit/WebView/ProxyWebView.h>

#include <memory>

namespace LumoSuite {

/// What is in the help window: a header and a button, which its interface file describes, a page, and a check box.
///
/// Thread: the main thread.
class HelpView : public LumoKit::NSView, public LumoKit::View {
public:
    explicit HelpView(const LumoKit::NSCoder& coder);

    void addSubviews() override;
    void layOutSubviews() override;

    /// Set before `addSubviews`.
    std::shared_ptr<LumoKit::ProxyWebView> page;
    /// Whether a request tells the application's version and the system, too.
    const std::shared_ptr<LumoKit::NSButton> tellsFacts;
    [[nodiscard]] std::shared_ptr<LumoKit::NSButton> writeButton();
};

} // namespace LumoSuite
