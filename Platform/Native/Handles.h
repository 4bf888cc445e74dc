#pragma once

#include <glib.h>

#include <memory>

namespace LumoKit::detail {

/// Frees a C handle with the function that belongs to it: `std::unique_ptr<char, FreedBy<g_free>>`.
template <auto function> struct FreedBy {
    template <class T> void operator()(T* handle) const { function(handle); }
};

/// A text that GLib allocated.
using GText = std::unique_ptr<char, FreedBy<g_free>>;

/// An error that GLib reports; `out` gives a C function the place to write it.
class GErrorPtr {
public:
    GErrorPtr() = default;
    GErrorPtr(const GErrorPtr&) = delete;
    GErrorPtr& operator=(const GErrorPtr&) = delete;
    ~GErrorPtr() { g_clear_error(&error); }

    [[nodiscard]] GError** out() { return &error; }
    [[nodiscard]] const GError* get() const { return error; }
    GError* operator->() const { return error; }
    explicit operator bool() const { return error != nullptr; }

private:
    GError* error = nullptr;
};

} // namespace LumoKit::detail
