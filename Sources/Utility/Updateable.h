#pragma once

#include <concepts>
#include <memory>
#include <utility>

namespace LumoKit {

/// Copy and modify in one expression, for types that adopt it: `struct Style : Updateable<Style> { … }`.
///
/// A value type is copied, the callback changes the copy, the receiver stays as it is:
///
///     const Style wide = plain.updated([](Style& style) { style.width = 10; });
///
/// A reference type is one that is held by `std::shared_ptr` and knows it (`std::enable_shared_from_this`).
/// Its copy is another reference to the same object, so that the object itself changes.
///
/// Thread: as the type's own.
template <class Self> class Updateable {
    /// A new variable of what the adopting type is handled by: a value, or a shared reference.
    template <class Object> static auto variable(Object& self)
    {
        if constexpr (requires { self.shared_from_this(); })
            return std::static_pointer_cast<Object>(self.shared_from_this());
        else
            return Self(self);
    }

public:
    /// A copy of this value, or a reference to this object, after `callback` has changed it.
    template <class Callback> [[nodiscard]] auto updated(Callback&& callback) const
    {
        auto copy = variable(static_cast<const Self&>(*this));
        std::forward<Callback>(callback)(copy);
        return copy;
    }
    template <class Callback> [[nodiscard]] auto updated(Callback&& callback)
    {
        auto copy = variable(static_cast<Self&>(*this));
        std::forward<Callback>(callback)(copy);
        return copy;
    }

    /// Reference types only: hands a reference to this object to `callback`. Putting another object into that
    /// variable has no effect on the receiver.
    template <class Callback> void update(Callback&& callback)
    {
        auto temporary = variable(static_cast<Self&>(*this));
        static_assert(!std::same_as<decltype(temporary), Self>,
            "a value type has no `update`: assign what `updated` gives");
        std::forward<Callback>(callback)(temporary);
    }

    bool operator==(const Updateable&) const = default;
};

} // namespace LumoKit
