#pragma once

#include <glib.h>

#include <utility>

namespace LumoKit::detail {

/// An event source of a main loop, removed from its loop when this object is destroyed.
///
/// Thread: GLib allows destruction from any thread; a source's callback may destroy its own source.
class [[nodiscard]] Source {
public:
    Source() = default;

    /// Takes over a source that the caller created.
    static Source adopt(GSource* source) { return Source(source); }

    Source(Source&& other) noexcept
        : source(std::exchange(other.source, nullptr))
    {
    }
    Source& operator=(Source&& other) noexcept
    {
        Source moved(std::move(other));
        std::swap(source, moved.source);
        return *this;
    }
    ~Source()
    {
        if (!source)
            return;
        g_source_destroy(source);
        g_source_unref(source);
    }

    [[nodiscard]] GSource* get() const { return source; }
    explicit operator bool() const { return source != nullptr; }

private:
    explicit Source(GSource* owned)
        : source(owned)
    {
    }

    GSource* source = nullptr;
};

} // namespace LumoKit::detail
