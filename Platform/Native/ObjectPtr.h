#pragma once

#include <glib-object.h>

#include <utility>

namespace LumoKit::detail {

/// Owns one reference to a GObject.
///
/// There are two doors, so that every place says what the C function promised: `adopt` for "transfer full"
/// and for floating references, `retain` for "transfer none".
///
/// Thread: as the object's own; the pointer itself is not synchronised.
template <class T> class ObjectPtr {
public:
    ObjectPtr() = default;

    /// Takes over a reference that the caller owns, or sinks a floating one.
    [[nodiscard]] static ObjectPtr adopt(T* object)
    {
        if (object && g_object_is_floating(object))
            g_object_ref_sink(object);
        return ObjectPtr(object);
    }

    /// Adds a reference of its own to an object that somebody else owns.
    [[nodiscard]] static ObjectPtr retain(T* object)
    {
        if (object)
            g_object_ref_sink(object);
        return ObjectPtr(object);
    }

    ObjectPtr(const ObjectPtr& other)
        : ObjectPtr(retain(other.object))
    {
    }
    ObjectPtr(ObjectPtr&& other) noexcept
        : object(std::exchange(other.object, nullptr))
    {
    }
    ObjectPtr& operator=(ObjectPtr other) noexcept
    {
        std::swap(object, other.object);
        return *this;
    }
    ~ObjectPtr()
    {
        if (object)
            g_object_unref(object);
    }

    /// The object, borrowed: it lives at least as long as this pointer keeps it.
    [[nodiscard]] T* get() const { return object; }
    explicit operator bool() const { return object != nullptr; }

private:
    explicit ObjectPtr(T* owned)
        : object(owned)
    {
    }

    T* object = nullptr;
};

} // namespace LumoKit::detail
