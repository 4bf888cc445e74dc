#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <cstdint>
#include <string_view>

namespace LumoKit::detail {

// The words of a keyed archive.
inline constexpr const char* archiverKey = "$archiver";
inline constexpr const char* archiverName = "NSKeyedArchiver";
inline constexpr const char* versionKey = "$version";
inline constexpr std::int64_t archiveVersion = 100'000;
inline constexpr const char* topKey = "$top";
inline constexpr const char* rootKey = "root";
inline constexpr const char* objectsKey = "$objects";
inline constexpr const char* classKey = "$class";
inline constexpr const char* classNameKey = "$classname";
inline constexpr const char* classesKey = "$classes";
inline constexpr std::string_view nullText = "$null"; // object 0, to which nothing refers

inline constexpr const char* arrayObjectsKey = "NS.objects"; // of dictionaries, too
inline constexpr const char* dictionaryKeysKey = "NS.keys";
inline constexpr const char* dateTimeKey = "NS.time";
inline constexpr const char* urlBaseKey = "NS.base";
inline constexpr const char* urlRelativeKey = "NS.relative";
inline constexpr const char* stringKey = "NS.string"; // of texts that may change
inline constexpr const char* bytesKey = "NS.bytes"; // of texts that no property list can hold
inline constexpr const char* dataKey = "NS.data"; // of data that may change

/// Archives count seconds from the first of January 2001.
inline constexpr double archiveReferenceDate = 978307200;

/// What reading an archive may need: for the list that it is, for each of its objects, and for the values. This is
/// counted when it is written, too, so that what was written can be read.
/// Units: bytes.
inline constexpr std::uint64_t maximumArchiveMemory = std::uint64_t(56) << 20;
inline constexpr std::uint64_t archivedObjectMemory = 96;

/// What a copy of a value needs. Arrays and dictionaries are shared.
[[nodiscard]] inline std::uint64_t memoryOf(const Value& value)
{
    std::uint64_t memory = sizeof(Value);
    if (const auto* text = value.asText())
        memory += text->size();
    else if (const auto* data = value.asData())
        memory += data->size();
    else if (const auto url = value.asURL())
        memory += url->absoluteString().size();
    return memory;
}

/// What an entry of a dictionary needs.
[[nodiscard]] inline std::uint64_t memoryOf(std::string_view key, const Value& value)
{
    constexpr std::uint64_t node = 96; // of the map, with its key
    return node + key.size() + memoryOf(value);
}

} // namespace LumoKit::detail
