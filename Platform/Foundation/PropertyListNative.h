#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <plist/plist.h>

#include <cstdlib>
#include <memory>
#include <span>

namespace LumoKit::detail {

struct FreePropertyList {
    void operator()(void* node) const { plist_free(node); }
};
struct FreePropertyListMemory {
    void operator()(void* memory) const { std::free(memory); } // libplist hands out malloc's memory
};

/// The root of a list as the library holds it.
using PropertyListRoot = std::unique_ptr<void, FreePropertyList>;

/// Reads a binary property list into the library's own objects.
/// Errors: nothing when it is none; whether it is sound, the caller has found out.
/// Thread: any.
[[nodiscard]] PropertyListRoot readBinaryPropertyList(std::span<const std::byte> bytes);

/// The value of an object that holds no others; null for one that does.
/// Thread: any.
[[nodiscard]] Value valueOfLeaf(plist_t node);

/// Calls `handle` with each key and item of a dictionary.
template <class Handler> void forEachEntry(plist_t dictionary, Handler handle)
{
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(dictionary, &position);
    const std::unique_ptr<void, FreePropertyListMemory> owned(position);
    while (true) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(dictionary, position, &key, &item);
        const std::unique_ptr<char, FreePropertyListMemory> name(key);
        if (!item)
            return;
        handle(std::string_view(name ? name.get() : ""), item);
    }
}

} // namespace LumoKit::detail
