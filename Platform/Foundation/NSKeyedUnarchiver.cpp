#include "KeyedArchiveForm.h"
#include "PropertyListNative.h"
#include "PropertyListShape.h"

#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <boost/url/parse.hpp>
#include <boost/url/url.hpp>

#include <algorithm>
#include <map>
#include <utility>

namespace LumoKit {

namespace {

using namespace detail;

enum class Class { unknown, null, text, date, data, url, array, dictionary };

Class classNamed(std::string_view name)
{
    static constexpr std::pair<std::string_view, Class> known[]{{"NSNull", Class::null},
        {"NSString", Class::text}, {"NSDate", Class::date}, {"NSData", Class::data}, {"NSURL", Class::url},
        {"NSArray", Class::array}, {"NSDictionary", Class::dictionary}};
    const auto* found = std::ranges::find(known, name, &std::pair<std::string_view, Class>::first);
    return found == std::end(known) ? Class::unknown : found->second;
}

std::string_view textOf(plist_t node)
{
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return {};
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text ? std::string_view(text, length) : std::string_view();
}

bool is(plist_t node, plist_type type)
{
    return node && plist_get_node_type(node) == type;
}

plist_t itemOf(plist_t dictionary, const char* key)
{
    return is(dictionary, PLIST_DICT) ? plist_dict_get_item(dictionary, key) : nullptr;
}

/// The items of an array, which the library finds one by one only slowly.
std::vector<plist_t> itemsOf(plist_t array)
{
    std::vector<plist_t> items;
    if (!is(array, PLIST_ARRAY))
        return items;
    items.reserve(plist_array_get_size(array));
    plist_array_iter position = nullptr;
    plist_array_new_iter(array, &position);
    const std::unique_ptr<void, FreePropertyListMemory> owned(position);
    while (true) {
        plist_t item = nullptr;
        plist_array_next_item(array, position, &item);
        if (!item)
            return items;
        items.push_back(item);
    }
}

/// A URL in its place; null where this platform cannot express it.
Value resolved(const Value& base, const std::string& relative)
{
    if (const auto against = base.asURL()) {
        const auto first = boost::urls::parse_uri(against->absoluteString());
        const auto second = boost::urls::parse_uri_reference(relative);
        boost::urls::url whole;
        if (!first || !second || !boost::urls::resolve(*first, *second, whole))
            return {};
        const auto url = URL::parse({whole.data(), whole.size()});
        return url ? Value(*url) : Value();
    }
    const auto url = URL::parse(relative);
    return url ? Value(*url) : Value();
}

/// The objects of an archive, each of them read once.
class Archive {
public:
    /// The list `root`, for which `listMemory` was needed.
    Archive(plist_t root, std::uint64_t listMemory)
        : spent(listMemory)
    {
        const auto nodes = itemsOf(itemOf(root, objectsKey));
        if (!spend(nodes.size() * archivedObjectMemory))
            return;
        objects.reserve(nodes.size());
        for (plist_t node : nodes)
            objects.push_back({.node = node});
        top = itemOf(itemOf(root, topKey), rootKey);
        isArchive = textOf(itemOf(root, archiverKey)) == archiverName && !objects.empty()
            && textOf(objects.front().node) == nullText;
    }

    std::optional<Value> read()
    {
        if (!isArchive)
            return std::nullopt;
        const Object* root = object(top);
        return root ? std::optional(root->value) : std::nullopt;
    }

private:
    struct Object {
        plist_t node = nullptr;
        Value value;
        int levels = 0; // of containers, itself and those below it
        enum class State { waiting, started, read } state = State::waiting;
    };

    static_assert(sizeof(Object) + sizeof(plist_t) <= archivedObjectMemory);

    /// What a reference leads to; null for a broken one, and for one to an object that cannot be read or that
    /// holds itself.
    const Object* object(plist_t reference)
    {
        const auto index = indexOf(reference);
        if (!index)
            return nullptr;
        Object& found = objects[*index];
        if (found.state == Object::State::started)
            return nullptr;
        if (found.state == Object::State::waiting) {
            found.state = Object::State::started;
            if (!read(found) || !spend(memoryOf(found.value)))
                return nullptr;
            found.state = Object::State::read;
        }
        return &found;
    }

    std::optional<std::size_t> indexOf(plist_t reference) const
    {
        if (!is(reference, PLIST_UID))
            return std::nullopt;
        std::uint64_t index = 0;
        plist_get_uid_val(reference, &index);
        return index < objects.size() ? std::optional(index) : std::nullopt;
    }

    bool read(Object& into)
    {
        switch (plist_get_node_type(into.node)) {
        case PLIST_DICT:
            return readObject(into);
        case PLIST_ARRAY:
        case PLIST_UID:
        case PLIST_NONE:
            return false;
        default:
            if (&into != &objects.front())
                into.value = valueOfLeaf(into.node);
            return true;
        }
    }

    /// The class of an object: the first that is known among its own name and those of what it derives from.
    Class classOf(plist_t node)
    {
        const auto index = indexOf(itemOf(node, classKey));
        if (!index)
            return Class::unknown;
        const auto [known, isNew] = classes.try_emplace(*index, Class::unknown);
        if (!isNew)
            return known->second;
        plist_t description = objects[*index].node;
        Class found = classNamed(textOf(itemOf(description, classNameKey)));
        for (plist_t name : itemsOf(itemOf(description, classesKey))) {
            if (found != Class::unknown)
                break;
            found = classNamed(textOf(name));
        }
        return known->second = found;
    }

    bool readObject(Object& into)
    {
        switch (classOf(into.node)) {
        case Class::null:
            return true;
        case Class::text:
            return readText(into);
        case Class::date:
            return readDate(into);
        case Class::data:
            return is(itemOf(into.node, dataKey), PLIST_DATA)
                && take(into, valueOfLeaf(itemOf(into.node, dataKey)));
        case Class::url:
            return readURL(into);
        case Class::array:
        case Class::dictionary:
            return readContainer(into);
        case Class::unknown:
            break;
        }
        return false;
    }

    static bool take(Object& into, Value value)
    {
        into.value = std::move(value);
        return true;
    }

    static bool readText(Object& into)
    {
        if (is(itemOf(into.node, stringKey), PLIST_STRING))
            return take(into, valueOfLeaf(itemOf(into.node, stringKey)));
        const Value bytes =
            is(itemOf(into.node, bytesKey), PLIST_DATA) ? valueOfLeaf(itemOf(into.node, bytesKey)) : Value();
        if (!bytes.asData())
            return false;
        const auto* first = reinterpret_cast<const char*>(bytes.asData()->data());
        return take(into, std::string(first, bytes.asData()->size()));
    }

    static bool readDate(Object& into)
    {
        plist_t time = itemOf(into.node, dateTimeKey);
        if (!is(time, PLIST_REAL) && !is(time, PLIST_UINT))
            return false;
        const auto seconds = valueOfLeaf(time).asNumber();
        return seconds && take(into, Date(std::chrono::duration<double>(*seconds + archiveReferenceDate)));
    }

    bool readURL(Object& into)
    {
        const Object* base = object(itemOf(into.node, urlBaseKey));
        const Object* relative = object(itemOf(into.node, urlRelativeKey));
        return base && relative && relative->value.asText()
            && spend(memoryOf(base->value) + memoryOf(relative->value))
            && take(into, resolved(base->value, *relative->value.asText()));
    }

    bool readContainer(Object& into)
    {
        if (++depth > Value::maximumDepth)
            return false;
        const bool isRead = classOf(into.node) == Class::array ? readArray(into) : readDictionary(into);
        --depth;
        return isRead && ++into.levels <= Value::maximumDepth;
    }

    bool readArray(Object& into)
    {
        if (!is(itemOf(into.node, arrayObjectsKey), PLIST_ARRAY))
            return false;
        Value::Array array;
        for (plist_t reference : itemsOf(itemOf(into.node, arrayObjectsKey))) {
            const Object* item = object(reference);
            if (!item || !spend(memoryOf(item->value)))
                return false;
            into.levels = std::max(into.levels, item->levels);
            array.push_back(item->value);
        }
        return take(into, std::move(array));
    }

    bool readDictionary(Object& into)
    {
        const auto keys = itemsOf(itemOf(into.node, dictionaryKeysKey));
        const auto items = itemsOf(itemOf(into.node, arrayObjectsKey));
        if (keys.size() != items.size() || !is(itemOf(into.node, dictionaryKeysKey), PLIST_ARRAY)
            || !is(itemOf(into.node, arrayObjectsKey), PLIST_ARRAY))
            return false;
        Value::Dictionary dictionary;
        for (std::size_t index = 0; index < keys.size(); ++index) {
            const Object* key = object(keys[index]);
            const Object* item = object(items[index]);
            if (!key || !item || !key->value.asText() || !spend(memoryOf(*key->value.asText(), item->value)))
                return false;
            into.levels = std::max(into.levels, item->levels);
            dictionary.insert_or_assign(*key->value.asText(), item->value);
        }
        return take(into, std::move(dictionary));
    }

    bool spend(std::uint64_t memory)
    {
        spent += memory;
        return spent <= maximumArchiveMemory;
    }

    std::vector<Object> objects;
    plist_t top = nullptr;
    bool isArchive = false;
    std::map<std::size_t, Class> classes;
    std::uint64_t spent;
    int depth = 0;
};

} // namespace

std::optional<Value> NSKeyedUnarchiver::unarchiveObject(std::span<const std::byte> with)
{
    const std::string_view bytes(reinterpret_cast<const char*>(with.data()), with.size());
    const auto memory = memoryOfBinary(bytes, maximumArchiveMemory);
    if (!memory)
        return std::nullopt;
    const PropertyListRoot root = readBinaryPropertyList(with);
    if (!root)
        return std::nullopt;
    return Archive(root.get(), *memory).read();
}

} // namespace LumoKit
