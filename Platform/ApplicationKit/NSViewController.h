#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>

namespace LumoKit {

class NSView;

/// Whoever is in charge of a view.
///
/// Ownership: the controller keeps its view.
/// Thread: the main thread.
class NSViewController : public NSObject {
public:
    NSViewController();
    ~NSViewController() override;

    /// The view; the first call makes it, where there is none yet.
    [[nodiscard]] const std::shared_ptr<NSView>& view();
    void setView(std::shared_ptr<NSView> view);
    [[nodiscard]] bool isViewLoaded() const { return loaded != nullptr; }

protected:
    /// Makes the view and gives it to `setView`; an empty one unless a class makes its own.
    virtual void loadView();
    /// The first view is there.
    virtual void viewDidLoad() { }

private:
    std::shared_ptr<NSView> loaded;
    bool told = false;
};

} // namespace LumoKit
