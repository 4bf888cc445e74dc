#pragma once

#include <LumoKit/Platform/ApplicationKit/NSImage.h>

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace LumoKit::detail {

/// Images by text keys, the ones that were used last, as long as what they keep stays within a limit.
///
/// Thread: any.
class ImageMemory {
public:
    /// Units: bytes. An image that alone is beyond the limit is not kept.
    explicit ImageMemory(std::size_t limit)
        : limit(limit)
    {
    }

    /// Null if there is none.
    [[nodiscard]] std::shared_ptr<NSImage> image(const std::string& key);
    void store(const std::string& key, std::shared_ptr<NSImage> image);
    void remove(const std::string& key);
    void removeAll();
    /// Units: bytes.
    [[nodiscard]] std::size_t cost() const;

private:
    struct Entry {
        std::shared_ptr<NSImage> image;
        std::size_t cost;
        std::list<const std::string*>::iterator use;
    };

    void drop(std::map<std::string, Entry>::iterator entry);

    const std::size_t limit;
    mutable std::mutex mutex;
    // All guarded by mutex:
    std::map<std::string, Entry> entries;
    std::list<const std::string*> uses; // keys of the map, the latest first
    std::size_t total = 0;
};

} // namespace LumoKit::detail
