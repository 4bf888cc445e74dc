#include "BinaryPropertyListWriter.h"
#include "KeyedArchiveForm.h"

#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace LumoKit {

namespace {

using namespace detail;
using Index = BinaryPropertyListWriter::Index;

constexpr const char* baseClass = "NSObject";

class Archive {
public:
    Archive() { objects.push_back(list.text(nullText)); }

    std::optional<Data> write(const Value& value)
    {
        const Place place = add(value);
        spend(objects.size() * archivedObjectMemory);
        if (!isPossible)
            return std::nullopt;
        const Index top = map({{rootKey, list.reference(place.object)}});
        return list.list(map({{versionKey, list.integer(archiveVersion)},
            {archiverKey, list.text(archiverName)}, {topKey, top}, {objectsKey, list.array(objects)}}));
    }

private:
    /// Where an object stands, and how many levels it and those below it have.
    struct Place {
        std::uint64_t object = 0;
        int levels = 0;
    };

    /// Makes an object of the list one of the archive, and gives its number there.
    std::uint64_t append(Index object)
    {
        objects.push_back(object);
        return objects.size() - 1;
    }

    Index map(std::initializer_list<std::pair<const char*, Index>> entries)
    {
        std::vector<Index> keys;
        std::vector<Index> items;
        for (const auto& [key, item] : entries) {
            keys.push_back(list.text(key));
            items.push_back(item);
        }
        return list.dictionary(keys, items);
    }

    /// A reference to a class, which is written with those that it derives from, itself first.
    Index classOf(const char* name)
    {
        const auto [known, isNew] = classes.try_emplace(name, 0);
        if (isNew) {
            const Index hierarchy[]{list.text(name), list.text(baseClass)};
            known->second = list.reference(
                append(map({{classesKey, list.array(hierarchy)}, {classNameKey, list.text(name)}})));
        }
        return known->second;
    }

    std::uint64_t addText(const std::string& text)
    {
        const auto [known, isNew] = texts.try_emplace(text, 0);
        if (!isNew)
            return known->second;
        spend(sizeof(Value) + text.size());
        // A property list has no place for such texts, nor the archive for one that means the null object.
        if (text.find('\0') == text.npos && isUTF8(text) && text != nullText)
            return known->second = append(list.text(text));
        return known->second = append(map({{classKey, classOf("NSString")}, {bytesKey, list.data(text)}}));
    }

    /// Null stands in the archive as an object of its own, because nothing can be in an array or a dictionary.
    std::uint64_t addNull()
    {
        if (!null)
            null = append(map({{classKey, classOf("NSNull")}}));
        return *null;
    }

    std::uint64_t addURL(const URL& url)
    {
        return append(map({{classKey, classOf("NSURL")}, {urlBaseKey, list.reference(0)},
            {urlRelativeKey, list.reference(addText(url.absoluteString()))}}));
    }

    std::uint64_t addDate(Date date)
    {
        const double seconds = date.time_since_epoch().count() - archiveReferenceDate;
        return append(map({{classKey, classOf("NSDate")}, {dateTimeKey, list.real(seconds)}}));
    }

    Place add(const Value& value)
    {
        if (value.type() != Value::Type::text) // those are counted where they are found to be new
            spend(memoryOf(value));
        switch (value.type()) {
        case Value::Type::null:
            return {addNull()};
        case Value::Type::boolean:
            return {append(list.boolean(*value.asBoolean()))};
        case Value::Type::integer:
            return {append(list.integer(*value.asInteger()))};
        case Value::Type::number:
            return {append(list.real(*value.asNumber()))};
        case Value::Type::text:
            return {addText(*value.asText())};
        case Value::Type::date:
            return {addDate(*value.asDate())};
        case Value::Type::data: {
            const auto* first = reinterpret_cast<const char*>(value.asData()->data());
            return {append(list.data({first, value.asData()->size()}))};
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
        const Index object = make(below);
        --depth;
        const Place place{append(object), below + 1};
        if (place.levels > Value::maximumDepth)
            isPossible = false;
        containers.emplace(identity, place);
        return place;
    }

    /// A reference to an item of a container.
    Index refer(const Value& item, int& levels)
    {
        const Place place = add(item);
        levels = std::max(levels, place.levels);
        return list.reference(place.object);
    }

    void spend(std::uint64_t memory)
    {
        spent += memory;
        if (spent > maximumArchiveMemory)
            isPossible = false;
    }

    Index arrayOf(const Value::Array& array, int& levels)
    {
        std::vector<Index> items;
        for (const Value& item : array) {
            spend(memoryOf(item));
            if (!isPossible)
                break;
            items.push_back(refer(item, levels));
        }
        return map({{classKey, classOf("NSArray")}, {arrayObjectsKey, list.array(items)}});
    }

    Index dictionaryOf(const Value::Dictionary& dictionary, int& levels)
    {
        std::vector<Index> keys;
        std::vector<Index> items;
        for (const auto& [key, item] : dictionary) {
            spend(memoryOf(key, item));
            if (!isPossible)
                break;
            keys.push_back(list.reference(addText(key)));
            items.push_back(refer(item, levels));
        }
        return map({{classKey, classOf("NSDictionary")}, {dictionaryKeysKey, list.array(keys)},
            {arrayObjectsKey, list.array(items)}});
    }

    BinaryPropertyListWriter list;
    std::vector<Index> objects; // of the archive
    std::unordered_map<std::string_view, Index> classes;
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
