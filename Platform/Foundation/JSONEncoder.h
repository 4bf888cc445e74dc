#pragma once

#include <LumoKit/Platform/Foundation/Codable.h>
#include <LumoKit/Platform/Foundation/JSONWriter.h>

#include <concepts>
#include <expected>
#include <string>
#include <tuple>

namespace LumoKit {

namespace detail {

JSONWriter::Written encodeData(JSONWriter& writer, const Data& data);

template <class T> JSONWriter::Written encode(JSONWriter& writer, const T& value);

template <class T> JSONWriter::Written encodeField(JSONWriter& writer, std::string_view key, const T& field)
{
    static_assert(Codable<T>, "a field of a record is of a type that cannot be encoded");
    if constexpr (isOptional<T>)
        if (!field)
            return {};
    return writer.entry(key, [&] { return encode(writer, field); });
}

template <class T> JSONWriter::Written encode(JSONWriter& writer, const T& value)
{
    if constexpr (isOptional<T>) {
        if (value)
            return encode(writer, *value);
        writer.null();
        return {};
    } else if constexpr (std::same_as<T, bool>) {
        writer.boolean(value);
        return {};
    } else if constexpr (CodedAsInteger<T>) {
        writer.integer(value);
        return {};
    } else if constexpr (std::same_as<T, double>) {
        return writer.number(value);
    } else if constexpr (std::same_as<T, std::string>) {
        return writer.text(value);
    } else if constexpr (std::same_as<T, URL>) {
        return writer.text(value.absoluteString());
    } else if constexpr (std::same_as<T, Date>) {
        return writer.number((value - referenceDate).count());
    } else if constexpr (std::same_as<T, Data>) {
        return encodeData(writer, value);
    } else if constexpr (isArray<T>) {
        return writer.array(value, [&](const typename T::value_type& item) { return encode(writer, item); });
    } else if constexpr (CodedByKeys<T>) {
        return writer.dictionary([&] {
            return std::apply(
                [&](const auto&... keys) {
                    JSONWriter::Written written;
                    static_cast<void>((... && (written = encodeField(writer, keys.key, value.*keys.field))));
                    return written;
                },
                CodingAccess::codingKeys<T>());
        });
    } else {
        return writer.dictionary([&] {
            JSONWriter::Written written;
            for (const auto& [key, item] : value)
                if (written = writer.entry(key, [&] { return encode(writer, item); }); !written)
                    break;
            return written;
        });
    }
}

} // namespace detail

/// Makes JSON texts of values: `JSONEncoder().encode(contact)`.
class JSONEncoder {
public:
    /// The compact JSON text of `value`: a record's keys in the order in which it names them, an optional
    /// field that is absent not at all, numbers as `JSONSerialization` writes them.
    /// Errors: of the domain `encodingErrorDomain`, the place before the reason: "contacts[1].email: …".
    /// Thread: any.
    /// Source: RFC 8259.
    template <Codable T> [[nodiscard]] std::expected<std::string, Error> encode(const T& value) const
    {
        detail::JSONWriter writer;
        if (const auto written = detail::encode(writer, value); !written)
            return std::unexpected(written.error().error());
        return writer.finish();
    }
};

} // namespace LumoKit
