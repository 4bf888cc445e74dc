#pragma once

#include <LumoKit/Platform/Foundation/Error.h>

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace LumoKit {

/// How an operation ended: with a value, or with a failure whose cause may or may not be known.
///
/// Thread: as the value's own.
template <class T> class Result {
public:
    [[nodiscard]] static Result success(T value)
    {
        return Result(Content(std::in_place_index<0>, std::move(value)));
    }
    [[nodiscard]] static Result failure(std::optional<Error> error = std::nullopt)
    {
        return Result(Content(std::in_place_index<1>, std::move(error)));
    }

    [[nodiscard]] bool isSuccess() const { return content.index() == 0; }

    /// The value; null for a failure.
    /// Lifetime: as long as this result is not assigned to.
    [[nodiscard]] const T* value() const { return std::get_if<0>(&content); }
    [[nodiscard]] T* value() { return std::get_if<0>(&content); }

    /// What caused the failure, where that is known; nothing for a success.
    [[nodiscard]] std::optional<Error> error() const
    {
        const auto* error = std::get_if<1>(&content);
        return error ? *error : std::nullopt;
    }

    /// The same outcome with the value given by `transform`; a failure stays the failure that it is, and
    /// `transform` is not called.
    /// Errors: what `transform` throws passes to the caller.
    template <class Transform> [[nodiscard]] auto mapSuccess(Transform&& transform) const
    {
        using U = std::remove_cvref_t<std::invoke_result_t<Transform, const T&>>;
        if (const T* present = value())
            return Result<U>::success(std::invoke(std::forward<Transform>(transform), *present));
        return Result<U>::failure(error());
    }

    bool operator==(const Result&) const = default;

private:
    using Content = std::variant<T, std::optional<Error>>;
    explicit Result(Content outcome)
        : content(std::move(outcome))
    {
    }

    Content content;
};

} // namespace LumoKit
