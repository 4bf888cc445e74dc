#pragma once

#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/NSCoder.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <concepts>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace LumoKit {

/// An interface file: window controllers and view controllers by their identifiers, with what is in their windows.
///
/// The file is the resource `name.storyboard`, a property list:
///
///     initial       identifier of the initial controller; may be missing
///     controllers   by identifier:
///         class     "NSWindowController" or "NSViewController", or a class of the host's that derives from one
///         window    of a window controller: "title", "frame" (the content's), "titled", "closable", "miniaturizable",
///                   "resizable" (true where they are missing), and "view" or "viewController" (with "class" and "view")
///         view      of a view controller: "class" ("NSView" where it is missing), "subviews", and what the class reads
///         objects   of a window controller: a list of what else goes with the window. Each has "class", "values" (its
///                   properties by name) and "outlets" (by name, "controller", "window" or the identifier of a view)
///
/// Objects are made last, and kept by whatever their outlets make keep them.
///
/// Known without being registered: `NSView`, `NSButton`, `NSStepper`, `NSTextField` and the two controllers. A file that does
/// not say what it must is an error of whoever wrote it: it stops the process.
///
/// Thread: the main thread.
class NSStoryboard : public NSObject {
public:
    /// Errors: stops the process if there is no such file, or if it is no property list.
    [[nodiscard]] static std::shared_ptr<NSStoryboard> create(
        std::string_view name, const Bundle& bundle = Bundle::main());

    /// Lets interface files name a class: a view, made from what a file says of it or, where the class has no such
    /// constructor, from nothing, or a controller, made from nothing. A later class takes the place of an earlier one.
    template <std::derived_from<NSObject> T> static void registerClass(std::string name)
    {
        add(std::move(name), [](const NSCoder& coder) -> std::shared_ptr<NSObject> {
            if constexpr (std::constructible_from<T, const NSCoder&>)
                return std::make_shared<T>(coder);
            else
                return std::make_shared<T>();
        });
    }

    /// A new initial controller; null if the file names none.
    [[nodiscard]] std::shared_ptr<NSObject> instantiateInitialController() const;
    /// A new controller, with its window or view.
    /// Errors: stops the process if there is none with that identifier.
    [[nodiscard]] std::shared_ptr<NSObject> instantiateController(std::string_view withIdentifier) const;

private:
    using Maker = std::function<std::shared_ptr<NSObject>(const NSCoder&)>;
    static void add(std::string name, Maker maker);

    NSStoryboard(std::string name, NSCoder contents);
    const std::string name;
    const NSCoder contents;
};

} // namespace LumoKit
