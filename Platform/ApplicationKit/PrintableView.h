#pragma once

#include <LumoKit/Platform/Foundation/Error.h>

#include <gtk/gtk.h>

#include <functional>
#include <optional>

namespace LumoKit::detail {

/// The native side of a view whose content can be laid out on pages.
class PrintableView {
public:
    virtual ~PrintableView() = default;

    using Printed = std::move_only_function<void(std::optional<Error>)>;

    /// Sends the content to the printer, or into the file, that the settings name. `printed` is called once, later,
    /// with an error if that failed.
    /// Ownership: what is given is copied or kept. The caller keeps the view until then.
    virtual void print(GtkPrintSettings* settings, GtkPageSetup* pageSetup, Printed printed) = 0;
};

} // namespace LumoKit::detail
