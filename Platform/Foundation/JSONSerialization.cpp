#include <LumoKit/Platform/Foundation/JSONSerialization.h>
#include <LumoKit/Platform/Foundation/JSONWriter.h>

namespace LumoKit {

namespace {

using detail::CodingFailure;
using detail::JSONWriter;

JSONWriter::Written unsupported(std::string_view reason)
{
    return std::unexpected(CodingFailure(EncodingError::unsupportedType, reason));
}

JSONWriter::Written write(JSONWriter& writer, const Value& value)
{
    switch (value.type()) {
    case Value::Type::null:
        writer.null();
        return {};
    case Value::Type::boolean:
        writer.boolean(*value.asBoolean());
        return {};
    case Value::Type::integer:
        writer.integer(*value.asInteger());
        return {};
    case Value::Type::number:
        return writer.number(*value.asNumber());
    case Value::Type::text:
        return writer.text(*value.asText());
    case Value::Type::date:
        return unsupported("JSON has no dates");
    case Value::Type::data:
        return unsupported("JSON has no data");
    case Value::Type::url:
        return unsupported("JSON has no URLs");
    case Value::Type::array:
        return writer.array(*value.asArray(), [&](const Value& item) { return write(writer, item); });
    case Value::Type::dictionary:
        return writer.dictionary([&]() -> JSONWriter::Written {
            for (const auto& [key, item] : *value.asDictionary())
                if (auto written = writer.entry(key, [&] { return write(writer, item); }); !written)
                    return written;
            return {};
        });
    }
    return {};
}

} // namespace

std::expected<std::string, Error> JSONSerialization::text(const Value& object)
{
    if (!object.asArray() && !object.asDictionary())
        return std::unexpected(
            CodingFailure(EncodingError::invalidTopLevel, "neither an array nor a dictionary").error());
    JSONWriter writer;
    if (const auto written = write(writer, object); !written)
        return std::unexpected(written.error().error());
    return writer.finish();
}

} // namespace LumoKit
