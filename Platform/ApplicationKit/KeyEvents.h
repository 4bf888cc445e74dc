#pragma once

#include <LumoKit/Platform/ApplicationKit/NSEvent.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <gdk/gdk.h>

#include <memory>

namespace LumoKit {

namespace detail {

using GdkEventPtr = std::unique_ptr<GdkEvent, FreedBy<gdk_event_free>>;

/// Who a key is for: text controls of the toolkit know Control only, a page knows Command as its meta key.
enum class KeyReader { control, page };

/// The event of a key from the desktop. `isARepeat` is known to whoever has seen the key go down.
[[nodiscard]] NSEvent eventOf(const GdkEventKey& key, int windowNumber, bool isARepeat);

/// The event for a widget, marked as delivered: an event that a page does not handle comes back from it, and must
/// not be offered a second time.
[[nodiscard]] GdkEventPtr delivered(const NSEvent& event, KeyReader reader, GdkWindow* to);
[[nodiscard]] bool wasDelivered(const GdkEventKey& key);

/// Whether the text of an event is more than the one code point that the toolkit's events carry.
[[nodiscard]] bool hasSeveralCodePoints(const std::string& text);

} // namespace detail

struct NSEvent::Native {
    detail::GdkEventPtr event;
};

} // namespace LumoKit
