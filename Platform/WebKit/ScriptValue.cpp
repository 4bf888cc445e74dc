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

/// The text, with U+FFFD for every surrogate without its partner. The engine's own conversion is slower, and
/// ends at the first of those.
std::string textOf(JSStringRef script)
{
    const JSChar* units = JSStringGetCharactersPtr(script);
    const std::size_t length = JSStringGetLength(script);
    JSChar bits = 0;
    for (std::size_t index = 0; index < length; ++index)
        bits |= units[index];
    std::string text;
    if (bits < 0x80) { // a byte a unit
        // Not the size that is handed over: libstdc++ 12 hands over the capacity.
        text.resize_and_overwrite(length, [&](char* buffer, std::size_t) {
            for (std::size_t index = 0; index < length; ++index)
                buffer[index] = static_cast<char>(units[index]);
            return length;
        });
        return text;
    }
    if (length > INT32_MAX / 3)
        return text; // more than the library counts; the engine's own limit is in reach of no page
    text.resize_and_overwrite(length * 3, [&](char* buffer, std::size_t size) -> std::size_t {
        std::int32_t written = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strToUTF8WithSub(buffer, static_cast<std::int32_t>(size), &written,
            reinterpret_cast<const UChar*>(units), static_cast<std::int32_t>(length), 0xFFFD, nullptr,
            &status);
        return U_SUCCESS(status) ? static_cast<std::size_t>(written) : 0;
    });
    text.shrink_to_fit();
    return text;
}

/// A function of the script context that gives the JSON text of a value, or an empty text where JSON would
/// lose or change something: a date, a number that is not finite or has no exact integer, a hole, bytes, a
/// cycle, a tangle. It runs where pages' code never does.
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
    return value => {
        values = 1e6;
        units = 1 << 26;
        return isPlain(value, 512) ? stringify(value) : '';
    };
})())";

static_assert(Value::maximumDepth == 512, "the encoder's bound");

/// The encoder of the context that was used last, which is kept with it: the engine has one for what comes
/// out of pages, and may make another after a while.
JSObjectRef encoderOf(JSContextRef context)
{
    struct Kept {
        JSGlobalContextRef context = nullptr;
        JSObjectRef encoder = nullptr;
    };
    static Kept kept; // script values are read on the main thread alone
    JSGlobalContextRef wanted = JSContextGetGlobalContext(context);
    if (wanted == kept.context)
        return kept.encoder;
    if (kept.context) {
        JSValueUnprotect(kept.context, kept.encoder);
        JSGlobalContextRelease(kept.context);
        kept = {};
    }
    const ScriptString source(JSStringCreateWithUTF8CString(encoderSource));
    const JSValueRef encoder = JSEvaluateScript(context, source.get(), nullptr, nullptr, 1, nullptr);
    if (!encoder || !JSValueIsObject(context, encoder))
        return nullptr;
    kept = {JSGlobalContextRetain(wanted), const_cast<JSObjectRef>(encoder)};
    JSValueProtect(kept.context, kept.encoder);
    return kept.encoder;
}

/// The short way for what most messages are. Every call into the engine takes its lock, which costs more than
/// what most of them do: here there are three for the whole value, where reading it piece by piece takes
/// several for every piece.
std::optional<Value> plainValue(JSContextRef context, JSValueRef script)
{
    JSObjectRef encoder = encoderOf(context);
    if (!encoder)
        return std::nullopt;
    const JSValueRef json = JSObjectCallAsFunction(context, encoder, nullptr, 1, &script, nullptr);
    if (!json)
        return std::nullopt;
    const ScriptString text(JSValueToStringCopy(context, json, nullptr));
    if (!text || JSStringGetLength(text.get()) == 0)
        return std::nullopt;
    return readJSON(textOf(text.get()));
}

/// Walks a value that came out of a page. The engine hands over a copy without getters or proxies, so that
/// reading it runs nobody's code; its shape is still the page's: as deep, as wide and as tangled as it likes.
class Reader {
public:
    explicit Reader(JSContextRef from)
        : context(from)
    {
    }

    Value read(JSValueRef script) { return read(script, JSValueGetType(context, script)); }

    Value read(JSValueRef script, JSType type)
    {
        switch (type) {
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
    const JSType type = JSValueGetType(context, script);
    if (type == kJSTypeObject)
        if (auto value = plainValue(context, script))
            return std::move(*value);
    return Reader(context).read(script, type);
}

} // namespace LumoKit::detail
