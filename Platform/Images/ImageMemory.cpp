#include "ImageMemory.h"

#include "../ApplicationKit/NSImageNative.h"

#include <utility>

namespace LumoKit::detail {

std::shared_ptr<NSImage> ImageMemory::image(const std::string& key)
{
    const std::lock_guard lock(mutex);
    const auto found = entries.find(key);
    if (found == entries.end())
        return nullptr;
    uses.splice(uses.begin(), uses, found->second.use);
    return found->second.image;
}

void ImageMemory::store(const std::string& key, std::shared_ptr<NSImage> image)
{
    const std::size_t cost = image->nativeImage().cost();
    const std::lock_guard lock(mutex);
    if (const auto before = entries.find(key); before != entries.end())
        drop(before);
    if (cost > limit)
        return;
    while (total > limit - cost)
        drop(entries.find(*uses.back()));
    const auto added = entries.emplace(key, Entry{std::move(image), cost, {}}).first;
    added->second.use = uses.insert(uses.begin(), &added->first);
    total += cost;
}

void ImageMemory::remove(const std::string& key)
{
    const std::lock_guard lock(mutex);
    if (const auto found = entries.find(key); found != entries.end())
        drop(found);
}

void ImageMemory::removeAll()
{
    const std::lock_guard lock(mutex);
    uses.clear();
    entries.clear();
    total = 0;
}

std::size_t ImageMemory::cost() const
{
    const std::lock_guard lock(mutex);
    return total;
}

/// The mutex is held.
void ImageMemory::drop(std::map<std::string, Entry>::iterator entry)
{
    total -= entry->second.cost;
    uses.erase(entry->second.use);
    entries.erase(entry);
}

} // namespace LumoKit::detail
