#pragma once

#include <LumoKit/Platform/ApplicationKit/NSPrintInfo.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gtk/gtk.h>

namespace LumoKit {

/// The toolkit's side of print info.
struct NSPrintInfo::Native {
    detail::ObjectPtr<GtkPageSetup> pageSetup;
    detail::ObjectPtr<GtkPrintSettings> settings;
};

} // namespace LumoKit
