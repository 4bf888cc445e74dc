#include <LumoKit/Platform/Foundation/JSON.h>

#include <simdjson.h>

namespace LumoKit {

namespace {

namespace dom = simdjson::dom;

/// Takes over `element`, which is nested `depth` levels deep, the outermost array or dictionary being the
/// first.
Value valueOf(const dom::element& element, int depth, bool& isTooDeep)
{
    // The library counts an array or dictionary only once there is something in it.
    const bool nests = element.is_array() || element.is_object();
    isTooDeep = isTooDeep || (nests && depth > Value::maximumDepth);
    switch (element.type()) {
    case dom::element_type::ARRAY: {
        const dom::array items = element.get_array().value_unsafe();
        Value::Array array;
        array.reserve(items.size());
        for (const dom::element item : items)
            array.push_back(valueOf(item, depth + 1, isTooDeep));
        return array;
    }
    case dom::element_type::OBJECT: {
        Value::Dictionary dictionary;
        const dom::object entries = element.get_object().value_unsafe();
        for (const auto [name, item] : entries)
            dictionary.insert_or_assign(std::string(name), valueOf(item, depth + 1, isTooDeep));
        return dictionary;
    }
    case dom::element_type::INT64:
        return element.get_int64().value_unsafe();
    case dom::element_type::UINT64:
        return element.get_uint64().value_unsafe();
    case dom::element_type::DOUBLE:
        return element.get_double().value_unsafe();
    case dom::element_type::STRING:
        return element.get_string().value_unsafe();
    case dom::element_type::BOOL:
        return element.get_bool().value_unsafe();
    case dom::element_type::NULL_VALUE:
        break;
    }
    return {};
}

/// A parser keeps the room that its largest text needed; beyond this much it is made anew.
constexpr std::size_t keptRoom = 1 << 20;

} // namespace

std::optional<Value> readJSON(std::string_view text)
{
    if (text.empty())
        return std::nullopt; // the library copies texts from where they are, and an empty one may be nowhere
    thread_local std::unique_ptr<dom::parser> parser;
    if (!parser) {
        parser = std::make_unique<dom::parser>();
        // One level more than is read, so that the deepest is seen to be too deep.
        if (parser->allocate(256, Value::maximumDepth + 1))
            return std::nullopt;
    }
    dom::element root;
    std::optional<Value> value;
    if (!parser->parse(text.data(), text.size())
            .get(root)) { // copies what the library reads beyond the text's end
        bool isTooDeep = false;
        value = valueOf(root, 1, isTooDeep);
        if (isTooDeep)
            value.reset();
    }
    if (parser->capacity() > keptRoom)
        parser.reset();
    return value;
}

} // namespace LumoKit
