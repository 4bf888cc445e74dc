#include "ScriptValue.h"

#include <LumoKit/Platform/Foundation/JSON.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <unicode/ustring.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace LumoKit::detail {

namespace {

using ScriptString = std::unique_ptr<OpaqueJSString, FreedBy<JSStringRelease>>;

/// The number of UTF-16 units that a valid UTF-8 text stands for.
std::size_t utf16Length(std::string_view text)
{
    std::size_t units = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        units += std::size_t((byte & 0xC0) != 0x80) + std::size_t(byte >= 0xF0);
    }
    return units;
}

/// A text with unpaired surrogates: the engine's own conversion stops at the first of them.
std::string textWithReplacements(JSStringRef script)
{
    const auto* units = reinterpret_cast<const UChar*>(JSStringGetCharactersPtr(script));
    const auto length = static_cast<std::int32_t>(JSStringGetLength(script));
    std::string text(std::size_t(length) * 3, '\0');
    std::int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(text.data(), static_cast<std::int32_t>(std::min<std::size_t>(text.size(), INT32_MAX)),
        &written, units, length, 0xFFFD, nullptr, &status);
    text.resize(U_SUCCESS(status) ? std::size_t(written) : 0);
    return text;
}

std::string textOf(JSStringRef script)
{
    const std::size_t units = JSStringGetLength(script);
    const std::size_t room = JSStringGetMaximumUTF8CStringSize(script);
    std::string text;
    char few[256];
    if (room <= sizeof few) {
        const std::size_t written = JSStringGetUTF8CString(script, few, sizeof few);
        text.assign(few, written ? written - 1 : 0);
    } else {
        text.resize_and_overwrite(room, [&](char* buffer, std::size_t size) {
            const std::size_t written = JSStringGetUTF8CString(script, buffer, size);
            return written ? written - 1 : 0;
        });
        text.shrink_to_fit();
    }
    return utf16Length(text) == units ? text : textWithReplacements(script);
}

/// A function of the script context that gives the JSON text of a value, or nothing where JSON would lose or
/// change something: a date, a number that is not finite or has no exact integer, a hole, bytes, a cycle, a
/// tangle. It runs where pages' code never does.
constexpr const char* encoderSource = R"((() => {
    const {getPrototypeOf, prototype} = Object, {isArray} = Array, {stringify} = JSON, exact = 2 ** 53;
    let values, units;
    function isPlain(value, depth) {
        switch (typeof value) {
        case 'string':
            return (units -= value.length) >= 0;
        case 'boolean':
            return true;
        case 'number':
            return value % 1 ? true : value <= exact && value >= -exact && (value !== 0 || 1 / value > 0);
        case 'object':
            break;
        default:
            return false;
        }
        if (value === null)
            return true;
        if (depth === 0)
            return false;
        if (isArray(value)) {
            if ((values -= value.length) < 0)
                return false;
            for (let index = 0; index < value.length; ++index)
                if (!isPlain(value[index], depth - 1))
                    return false;
            return true;
        }
        if (getPrototypeOf(value) !== prototype)
            return false;
        for (const name in value) {
            units -= name.length;
            if (--values < 0 || !isPlain(value[name], depth - 1))
                return false;
        }
        return true;
    }
    return (value, depth) => {
        values = 1e6;
        units = 1 << 26;
        return isPlain(value, depth) ? stringify(value) : undefined;
    };
})())";

/// The engine keeps one context for what comes out of pages, and makes a new one after a while: the function
/// is kept in the context itself.
JSObjectRef encoderOf(JSContextRef context)
{
    static const ScriptString name(JSStringCreateWithUTF8CString("lumokit encoder"));
    JSObjectRef global = JSContextGetGlobalObject(context);
    JSValueRef encoder = JSObjectGetProperty(context, global, name.get(), nullptr);
    if (!encoder || !JSValueIsObject(context, encoder)) {
        const ScriptString source(JSStringCreateWithUTF8CString(encoderSource));
        encoder = JSEvaluateScript(context, source.get(), nullptr, nullptr, 1, nullptr);
        if (!encoder)
            return nullptr;
        JSObjectSetProperty(context, global, name.get(), encoder, kJSPropertyAttributeDontEnum, nullptr);
    }
    return const_cast<JSObjectRef>(encoder);
}

/// The short way for what most messages are: one call into the engine for the whole value, where reading it
/// piece by piece takes a call, and the engine's lock, for every piece of it.
std::optional<Value> plainValue(JSContextRef context, JSValueRef script)
{
    JSObjectRef encoder = encoderOf(context);
    if (!encoder)
        return std::nullopt;
    const JSValueRef arguments[] = {script, JSValueMakeNumber(context, Value::maximumDepth)};
    const JSValueRef json = JSObjectCallAsFunction(context, encoder, nullptr, 2, arguments, nullptr);
    if (!json || !JSValueIsString(context, json))
        return std::nullopt;
    const ScriptString text(JSValueToStringCopy(context, json, nullptr));
    return text ? readJSON(textOf(text.get())) : std::nullopt;
}

/// Walks a value that came out of a page. The engine hands over a copy without getters or proxies, so that
/// reading it runs nobody's code; its shape is still the page's: as deep, as wide and as tangled as it likes.
class Reader {
public:
    explicit Reader(JSContextRef from)
        : context(from)
    {
    }

    Value read(JSValueRef script)
    {
        switch (JSValueGetType(context, script)) {
        case kJSTypeBoolean:
            return JSValueToBoolean(context, script);
        case kJSTypeNumber:
            return number(JSValueToNumber(context, script, nullptr));
        case kJSTypeString: {
            const ScriptString text(JSValueToStringCopy(context, script, nullptr));
            return text ? Value(textOf(text.get())) : Value();
        }
        case kJSTypeObject:
            return object(const_cast<JSObjectRef>(script));
        default:
            return {};
        }
    }

private:
    static Value number(double number)
    {
        constexpr double exact = 9007199254740992.0; // 2 to the 53rd: beyond it whole numbers have gaps
        if (std::abs(number) <= exact && number == std::trunc(number)
            && !(number == 0 && std::signbit(number)))
            return static_cast<std::int64_t>(number);
        return number;
    }

    Value object(JSObjectRef script)
    {
        if (JSValueIsDate(context, script)) {
            const double milliseconds = JSValueToNumber(context, script, nullptr);
            return std::isnan(milliseconds) ? Value()
                                            : Value(Date(std::chrono::duration<double>(milliseconds / 1000)));
        }
        if (JSObjectIsFunction(context, script))
            return {};
        if (std::ranges::find(path, script) != path.end() || path.size() >= std::size_t(Value::maximumDepth))
            return {};
        if (const auto known = shared.find(script); known != shared.end())
            return known->second;
        path.push_back(script);
        Value value = JSValueIsArray(context, script) ? array(script) : dictionary(script);
        path.pop_back();
        // An object that many others refer to is read once for each of them. Small trees are faster that way;
        // a large one might be a small tangle, so from here on everything is remembered.
        if (++objects > 4096)
            shared.emplace(script, value);
        return value;
    }

    Value array(JSObjectRef script)
    {
        static const ScriptString lengthName(JSStringCreateWithUTF8CString("length"));
        const JSValueRef property = JSObjectGetProperty(context, script, lengthName.get(), nullptr);
        const auto length =
            property ? static_cast<std::uint32_t>(JSValueToNumber(context, property, nullptr)) : 0;
        Value::Array items;
        for (std::uint32_t index = 0; index < length; ++index) {
            const JSValueRef item = JSObjectGetPropertyAtIndex(context, script, index, nullptr);
            items.push_back(item ? read(item) : Value());
        }
        return items;
    }

    Value dictionary(JSObjectRef script)
    {
        const std::unique_ptr<OpaqueJSPropertyNameArray, FreedBy<JSPropertyNameArrayRelease>> names(
            JSObjectCopyPropertyNames(context, script));
        Value::Dictionary entries;
        const std::size_t count = JSPropertyNameArrayGetCount(names.get());
        for (std::size_t index = 0; index < count; ++index) {
            JSStringRef name = JSPropertyNameArrayGetNameAtIndex(names.get(), index);
            const JSValueRef item = JSObjectGetProperty(context, script, name, nullptr);
            entries.insert_or_assign(textOf(name), item ? read(item) : Value());
        }
        return entries;
    }

    const JSContextRef context;
    std::vector<JSObjectRef> path; // what is being read, from the outermost
    std::unordered_map<JSObjectRef, Value> shared;
    std::size_t objects = 0;
};

} // namespace

Value valueFromScript(JSContextRef context, JSValueRef script)
{
    if (JSValueIsObject(context, script) && !JSValueIsDate(context, script))
        if (auto value = plainValue(context, script))
            return std::move(*value);
    return Reader(context).read(script);
}

} // namespace LumoKit::detail
