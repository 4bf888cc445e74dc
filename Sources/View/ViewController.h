#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSViewController.h>
#include <LumoKit/Platform/Foundation/FatalError.h>

#include <memory>

namespace LumoKit {

/// What a host's views have in common: where they make what is in them, and where they give it its place.
class View {
public:
    virtual ~View() = default;

    virtual void addSubviews() = 0;
    virtual void layOutSubviews() = 0;
};

/// What a host's view controllers have in common: what they need of the host, and a view of a class of their own.
///
/// Thread: the main thread.
template <class DependenciesType, class RootViewType> class ViewController {
public:
    using Dependencies = DependenciesType;
    using RootView = RootViewType;

    virtual ~ViewController() = default;

    [[nodiscard]] virtual const Dependencies& dependencies() const = 0;
    virtual void setDependencies(Dependencies dependencies) = 0;

    /// The view, as what it is. It is made by the first call, as `NSViewController::view` makes it.
    /// Errors: stops the process if the view is of another class, and for what is no `NSViewController` and does not
    /// say itself what its view is.
    [[nodiscard]] virtual std::shared_ptr<RootView> rootView()
    {
        auto* const controller = dynamic_cast<NSViewController*>(this);
        auto view = controller ? std::dynamic_pointer_cast<RootView>(controller->view()) : nullptr;
        if (!view)
            fatalError("the view is not of the controller's RootView class");
        return view;
    }
};

} // namespace LumoKit
