#include "KeyedArchiveForm.h"
#include "PropertyListNative.h"
#include "PropertyListShape.h"

#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>

#include <bit>
#include <initializer_list>
#include <string>
#include <unordered_map>

namespace LumoKit {

namespace {

using namespace detail;

/// A whole number. Not every version of the library can make a negative one, but all read it.
plist_t newInteger(std::int64_t number)
{
    const auto bits = static_cast<std::uint64_t>(number);
    if (number >= 0)
        return plist_new_uint(bits);
    std::string list = "bplist00\x13";
    for (int shift = 56; shift >= 0; shift -= 8)
        list += static_cast<char>(bits >> shift & 0xFF);
    list += '\x08'; // the table of offsets: one object, which begins at 8
    list += std::string(6, '\0') + "\x01\x01"; // the sizes of an offset and of a reference
    for (const char last : {'\x01', '\x00', '\x11'}) // objects, the top one, and where the table begins
        list += std::string(7, '\0') + last;
    plist_t node = nullptr;
    plist_from_bin(list.data(), static_cast<std::uint32_t>(list.size()), &node);
    return node;
}

plist_t newData(std::string_view bytes)
{
    return plist_new_data(bytes.data(), bytes.size());
}

class Archive {
public:
    Archive()
    {
        objects = plist_new_array();
        plist_dict_set_item(root.get(), versionKey, newInteger(archiveVersion));
        plist_dict_set_item(root.get(), archiverKey, plist_new_string(archiverName));
        plist_dict_set_item(root.get(), objectsKey, objects);
        static_cast<void>(append(plist_new_string(std::string(nullText).c_str())));
    }

    std::optional<Data> write(const Value& value)
    {
        const Place place = add(value);
        if (!isPossible)
            return std::nullopt;
        plist_t top = plist_new_dict();
        plist_dict_set_item(top, rootKey, plist_new_uid(place.object));
        plist_dict_set_item(root.get(), topKey, top);
        char* bytes = nullptr;
        std::uint32_t length = 0;
        plist_to_bin(root.get(), &bytes, &length);
        const std::unique_ptr<char, FreePropertyListMemory> owned(bytes);
        spent += count * archivedObjectMemory;
        if (!bytes || spent > maximumArchiveMemory
            || !memoryOfBinary({bytes, length}, maximumArchiveMemory - spent))
            return std::nullopt;
        const auto* first = reinterpret_cast<const std::byte*>(bytes);
        return Data(first, first + length);
    }

private:
    /// Where an object stands, and how many levels it and those below it have.
    struct Place {
        std::uint64_t object = 0;
        int levels = 0;
    };

    std::uint64_t append(plist_t node)
    {
        plist_array_append_item(objects, node);
        return count++;
    }

    /// The number of a class, which is written with those that it derives from, itself first.
    std::uint64_t classOf(std::initializer_list<const char*> names)
    {
        const auto [known, isNew] = classes.try_emplace(*names.begin(), count);
        if (!isNew)
            return known->second;
        plist_t list = plist_new_array();
        for (const char* name : names)
            plist_array_append_item(list, plist_new_string(name));
        plist_t description = plist_new_dict();
        plist_dict_set_item(description, classesKey, list);
        plist_dict_set_item(description, classNameKey, plist_new_string(*names.begin()));
        return append(description);
    }

    plist_t newObject(std::initializer_list<const char*> classNames)
    {
        plist_t object = plist_new_dict();
        plist_dict_set_item(object, classKey, plist_new_uid(classOf(classNames)));
        return object;
    }

    std::uint64_t addText(const std::string& text)
    {
        const auto [known, isNew] = texts.try_emplace(text, 0);
        if (!isNew)
            return known->second;
        spend(sizeof(Value) + text.size());
        // A property list has no place for such texts, nor the archive for one that means the null object.
        if (text.find('\0') == text.npos && isUTF8(text) && text != nullText)
            return known->second = append(plist_new_string(text.c_str()));
        plist_t object = newObject({"NSString", "NSObject"});
        plist_dict_set_item(object, bytesKey, newData(text));
        return known->second = append(object);
    }

    /// Null stands in the archive as an object of its own, because nothing can be in an array or a dictionary.
    std::uint64_t addNull()
    {
        if (!null)
            null = append(newObject({"NSNull", "NSObject"}));
        return *null;
    }

    std::uint64_t addURL(const URL& url)
    {
        plist_t object = newObject({"NSURL", "NSObject"});
        plist_dict_set_item(object, urlBaseKey, plist_new_uid(0));
        plist_dict_set_item(object, urlRelativeKey, plist_new_uid(addText(url.absoluteString())));
        return append(object);
    }

    std::uint64_t addDate(Date date)
    {
        plist_t object = newObject({"NSDate", "NSObject"});
        plist_dict_set_item(
            object, dateTimeKey, plist_new_real(date.time_since_epoch().count() - archiveReferenceDate));
        return append(object);
    }

    Place add(const Value& value)
    {
        if (value.type() != Value::Type::text) // those are counted where they are found to be new
            spend(memoryOf(value));
        switch (value.type()) {
        case Value::Type::null:
            return {addNull()};
        case Value::Type::boolean:
            return {append(plist_new_bool(*value.asBoolean()))};
        case Value::Type::integer:
            return {append(newInteger(*value.asInteger()))};
        case Value::Type::number:
            return {append(plist_new_real(*value.asNumber()))};
        case Value::Type::text:
            return {addText(*value.asText())};
        case Value::Type::date:
            return {addDate(*value.asDate())};
        case Value::Type::data: {
            const auto* first = reinterpret_cast<const char*>(value.asData()->data());
            return {append(newData({first, value.asData()->size()}))};
        }
        case Value::Type::url:
            return {addURL(*value.asURL())};
        case Value::Type::array:
            return addContainer(
                value.asArray(), [&](int& levels) { return arrayOf(*value.asArray(), levels); });
        case Value::Type::dictionary:
            return addContainer(value.asDictionary(),
                [&](int& levels) { return dictionaryOf(*value.asDictionary(), levels); });
        }
        return {};
    }

    template <class Make> Place addContainer(const void* identity, Make make)
    {
        if (const auto known = containers.find(identity); known != containers.end())
            return known->second;
        if (++depth > Value::maximumDepth)
            isPossible = false;
        int below = 0;
        if (!isPossible)
            return {};
        plist_t object = make(below);
        --depth;
        const Place place{append(object), below + 1};
        if (place.levels > Value::maximumDepth)
            isPossible = false;
        containers.emplace(identity, place);
        return place;
    }

    /// A reference to an item of a container.
    plist_t refer(const Value& item, int& levels)
    {
        const Place place = add(item);
        levels = std::max(levels, place.levels);
        return plist_new_uid(place.object);
    }

    void spend(std::uint64_t memory)
    {
        spent += memory;
        if (spent > maximumArchiveMemory)
            isPossible = false;
    }

    plist_t arrayOf(const Value::Array& array, int& levels)
    {
        plist_t items = plist_new_array();
        for (const Value& item : array) {
            spend(memoryOf(item));
            if (!isPossible)
                break;
            plist_array_append_item(items, refer(item, levels));
        }
        plist_t object = newObject({"NSArray", "NSObject"});
        plist_dict_set_item(object, arrayObjectsKey, items);
        return object;
    }

    plist_t dictionaryOf(const Value::Dictionary& dictionary, int& levels)
    {
        plist_t keys = plist_new_array();
        plist_t items = plist_new_array();
        for (const auto& [key, item] : dictionary) {
            spend(memoryOf(key, item));
            if (!isPossible)
                break;
            plist_array_append_item(keys, plist_new_uid(addText(key)));
            plist_array_append_item(items, refer(item, levels));
        }
        plist_t object = newObject({"NSDictionary", "NSObject"});
        plist_dict_set_item(object, dictionaryKeysKey, keys);
        plist_dict_set_item(object, arrayObjectsKey, items);
        return object;
    }

    PropertyListRoot root{plist_new_dict()};
    plist_t objects = nullptr; // of the root
    std::uint64_t count = 0;
    std::unordered_map<std::string_view, std::uint64_t> classes;
    std::unordered_map<std::string, std::uint64_t> texts;
    std::unordered_map<const void*, Place> containers;
    std::optional<std::uint64_t> null;
    std::uint64_t spent = 0;
    int depth = 0;
    bool isPossible = true;
};

} // namespace

std::optional<Data> NSKeyedArchiver::archivedData(const Value& withRootObject)
{
    return Archive().write(withRootObject);
}

} // namespace LumoKit
