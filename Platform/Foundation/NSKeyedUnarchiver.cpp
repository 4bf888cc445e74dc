#include "BinaryPropertyListReader.h"
#include "KeyedArchiveForm.h"

#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <boost/url/parse.hpp>
#include <boost/url/url.hpp>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace LumoKit {

namespace {

using namespace detail;
using Container = BinaryPropertyListReader::Container;
using Index = BinaryPropertyListReader::Index;
using Kind = BinaryPropertyListReader::Kind;

enum class Class { unknown, null, text, date, data, url, array, dictionary };

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
    explicit Archive(const BinaryPropertyListReader& archive)
        : list(archive)
    {
        const auto found = containerOf(field(list.top(), objectsKey), Kind::array);
        const auto archiver = field(list.top(), archiverKey);
        if (!found || found->count == 0 || !archiver || !list.isText(*archiver, archiverName)
            || !list.isText(list.item(*found, 0), nullText) || !spend(found->count * archivedObjectMemory))
            return;
        nodes = *found;
        objects.resize(nodes.count);
    }

    std::optional<Value> read()
    {
        const auto top = field(list.top(), topKey);
        const Object* root = top ? object(field(*top, rootKey)) : nullptr;
        return root ? std::optional(root->value) : std::nullopt;
    }

private:
    struct Object {
        Value value;
        int levels = 0; // of containers, itself and those below it
        enum class State { waiting, started, read } state = State::waiting;
    };

    static_assert(sizeof(Object) <= archivedObjectMemory);

    /// What a dictionary of the list has for a key.
    std::optional<Index> field(Index dictionary, const char* key)
    {
        const auto entries = containerOf(dictionary, Kind::dictionary);
        for (std::uint64_t position = 0; entries && position < entries->count; ++position) {
            if (!look())
                break;
            if (list.isText(list.key(*entries, position), key))
                return list.item(*entries, position);
        }
        return std::nullopt;
    }

    std::optional<Container> containerOf(std::optional<Index> object, Kind kind) const
    {
        return object && list.kind(*object) == kind ? list.container(*object) : std::nullopt;
    }

    bool has(std::optional<Index> object, Kind kind) const { return object && list.kind(*object) == kind; }

    /// What a reference leads to; null for a broken one, and for one to an object that cannot be read, that
    /// holds itself, or that is too far below the root.
    const Object* object(std::optional<Index> reference)
    {
        const auto number = numberOf(reference);
        if (!number)
            return nullptr;
        Object& found = objects[*number];
        if (found.state == Object::State::started)
            return nullptr;
        if (found.state == Object::State::waiting) {
            constexpr int deepest = Value::maximumDepth + 2; // a URL below, and its text
            if (depth == deepest)
                return nullptr;
            ++depth;
            found.state = Object::State::started;
            const bool isRead = read(found, *number) && spend(memoryOf(found.value));
            --depth;
            if (!isRead)
                return nullptr;
            found.state = Object::State::read;
        }
        return &found;
    }

    std::optional<std::uint64_t> numberOf(std::optional<Index> reference) const
    {
        const auto number = reference ? list.reference(*reference) : std::nullopt;
        return number && *number < objects.size() ? number : std::nullopt;
    }

    bool read(Object& into, std::uint64_t number)
    {
        const Index node = list.item(nodes, number);
        switch (list.kind(node)) {
        case Kind::dictionary:
            return readObject(into, node);
        case Kind::array:
        case Kind::reference:
        case Kind::none:
            return false;
        default:
            return number == 0 || takeLeaf(into, node); // the first one is the null object
        }
    }

    /// The class of an object: the first that is known among its own name and those of what it derives from.
    Class classOf(Index node)
    {
        const auto number = numberOf(field(node, classKey));
        if (!number)
            return Class::unknown;
        const auto [known, isNew] = classes.try_emplace(*number, Class::unknown);
        if (!isNew)
            return known->second;
        const Index description = list.item(nodes, *number);
        Class found = classNamed(field(description, classNameKey));
        const auto names = containerOf(field(description, classesKey), Kind::array);
        for (std::uint64_t position = 0; names && position < names->count && look(); ++position) {
            if (found != Class::unknown)
                break;
            found = classNamed(list.item(*names, position));
        }
        return known->second = found;
    }

    Class classNamed(std::optional<Index> name) const
    {
        static constexpr std::pair<std::string_view, Class> known[]{{"NSNull", Class::null},
            {"NSString", Class::text}, {"NSDate", Class::date}, {"NSData", Class::data},
            {"NSURL", Class::url}, {"NSArray", Class::array}, {"NSDictionary", Class::dictionary}};
        const auto* found = std::ranges::find_if(
            known, [&](const auto& each) { return name && list.isText(*name, each.first); });
        return found == std::end(known) ? Class::unknown : found->second;
    }

    bool readObject(Object& into, Index node)
    {
        switch (const Class ofNode = classOf(node)) {
        case Class::null:
            return true;
        case Class::text:
            return readText(into, node);
        case Class::date:
            return readDate(into, node);
        case Class::data: {
            const auto data = field(node, dataKey);
            return has(data, Kind::data) && takeLeaf(into, *data);
        }
        case Class::url:
            return readURL(into, node);
        case Class::array:
        case Class::dictionary: {
            const bool isRead = ofNode == Class::array ? readArray(into, node) : readDictionary(into, node);
            return isRead && ++into.levels <= Value::maximumDepth;
        }
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

    /// A long text, or long data, is not even read.
    bool takeLeaf(Object& into, Index node)
    {
        return list.size(node) <= maximumArchiveMemory - spent && take(into, list.leaf(node));
    }

    bool readText(Object& into, Index node)
    {
        const auto text = field(node, stringKey);
        if (has(text, Kind::text))
            return takeLeaf(into, *text);
        const auto bytes = field(node, bytesKey);
        if (!has(bytes, Kind::data) || !takeLeaf(into, *bytes))
            return false;
        const auto data = *into.value.asData();
        const auto* first = reinterpret_cast<const char*>(data.data());
        return take(into, std::string(first, data.size()));
    }

    bool readDate(Object& into, Index node)
    {
        const auto time = field(node, dateTimeKey);
        if (!has(time, Kind::real) && !has(time, Kind::integer))
            return false;
        const auto seconds = list.leaf(*time).asNumber();
        return seconds && take(into, Date(std::chrono::duration<double>(*seconds + archiveReferenceDate)));
    }

    bool readURL(Object& into, Index node)
    {
        const Object* base = object(field(node, urlBaseKey));
        const Object* relative = object(field(node, urlRelativeKey));
        return base && relative && relative->value.asText()
            && spend(memoryOf(base->value) + memoryOf(relative->value))
            && take(into, resolved(base->value, *relative->value.asText()));
    }

    bool readArray(Object& into, Index node)
    {
        const auto items = containerOf(field(node, arrayObjectsKey), Kind::array);
        if (!items)
            return false;
        Value::Array array;
        for (std::uint64_t position = 0; position < items->count; ++position) {
            const Object* item = object(list.item(*items, position));
            if (!item || !spend(memoryOf(item->value)))
                return false;
            into.levels = std::max(into.levels, item->levels);
            array.push_back(item->value);
        }
        return take(into, std::move(array));
    }

    bool readDictionary(Object& into, Index node)
    {
        const auto keys = containerOf(field(node, dictionaryKeysKey), Kind::array);
        const auto items = containerOf(field(node, arrayObjectsKey), Kind::array);
        if (!keys || !items || keys->count != items->count)
            return false;
        Value::Dictionary dictionary;
        for (std::uint64_t position = 0; position < keys->count; ++position) {
            const Object* key = object(list.item(*keys, position));
            const Object* item = object(list.item(*items, position));
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

    /// Entries that lie over each other in the bytes of a hostile archive are looked at once for each that has them.
    bool look() { return ++looks <= mostLooks; }

    static constexpr std::uint64_t mostLooks =
        16'000'000; // far more than objects within the memory have fields

    const BinaryPropertyListReader& list;
    Container nodes; // one an object
    std::vector<Object> objects;
    std::map<std::uint64_t, Class> classes;
    std::uint64_t spent = 0;
    std::uint64_t looks = 0;
    int depth = 0;
};

} // namespace

std::optional<Value> NSKeyedUnarchiver::unarchiveObject(std::span<const std::byte> with)
{
    const BinaryPropertyListReader list({reinterpret_cast<const char*>(with.data()), with.size()});
    return Archive(list).read();
}

} // namespace LumoKit
