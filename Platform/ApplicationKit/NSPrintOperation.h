#pragma once

#include <LumoKit/Platform/ApplicationKit/NSPrintInfo.h>
#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <any>
#include <functional>
#include <memory>

namespace LumoKit {

class NSView;
class NSWindow;

/// Prints a view's content, after asking the user how.
///
/// Ownership: made by `std::make_shared`; it keeps itself and the view while it runs.
/// Thread: the main thread.
class NSPrintOperation : public NSObject {
public:
    /// Errors: stops the process for a view that nothing can be printed of: those of which something can are
    /// `WebFrameView::documentView`.
    NSPrintOperation(std::shared_ptr<NSView> view, std::shared_ptr<NSPrintInfo> printInfo);
    ~NSPrintOperation() override;

    /// Whether the user is asked. At first that is so, unless nothing is left to ask: the print info says to save
    /// the job, and where.
    bool showsPrintPanel;

    /// Told once, when all is done: whether the content was printed, or the user took it back or it failed.
    using DidRun =
        std::move_only_function<void(NSPrintOperation&, bool success, const std::any& contextInfo)>;

    /// Puts the print panel up as a sheet and returns. What the user chooses there is kept in the print info, whose
    /// margins stay; then the content is printed. `didRun`, if there is one, is called if the delegate is still there
    /// by then. Failures are printed as a line, and told in another sheet if the user was asked before.
    /// Errors: stops the process if the operation is running already.
    void runModal(const std::shared_ptr<NSWindow>& forWindow, const std::weak_ptr<NSObject>& delegate,
        DidRun didRun = {}, std::any contextInfo = {});

private:
    struct Run;
    void showPanel();
    void keepChoice();
    void print();
    void end(bool success);
    void tell(const Error& error);

    const std::shared_ptr<NSView> view;
    const std::shared_ptr<NSPrintInfo> info;
    std::unique_ptr<Run> run; // while it runs
};

} // namespace LumoKit
