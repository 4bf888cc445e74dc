#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/Foundation/URLRequest.h>
#include <LumoKit/Platform/Foundation/URLResponse.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

namespace LumoKit {

/// An answer as the cache keeps it.
struct CachedURLResponse {
    std::shared_ptr<const HTTPURLResponse> response;
    Data data;
    /// The fields of the request that the answer is for, of those that its "Vary" names.
    HTTPHeaderFields varying = {};
    /// When it arrived, or was last found to be current.
    Date stored = std::chrono::system_clock::now();
};

/// Answers of servers in files, one a file, for the user alone. Those that were not used for longest go when the
/// capacity is reached. What is damaged, or somebody else's, counts as absent.
///
/// Thread: any.
class URLCache : public NSObject {
public:
    /// The application's cache, 20 MiB in its cache folder; empty for ever where the user has none.
    [[nodiscard]] static std::shared_ptr<URLCache> shared();

    /// A cache in a folder, which is made when something is stored.
    /// Units: bytes; one answer may take a twentieth of them.
    URLCache(std::uint64_t diskCapacity, std::filesystem::path directory);

    [[nodiscard]] std::uint64_t diskCapacity() const { return capacity; }
    /// Units: bytes, of all files together.
    [[nodiscard]] std::uint64_t currentDiskUsage() const;

    /// The answer to a request, however old; nothing where it is none that a cache may keep: see
    /// `storeCachedResponse`.
    [[nodiscard]] std::optional<CachedURLResponse> cachedResponse(const URLRequest& forRequest) const;

    /// Keeps an answer for requests like this, in place of the one that is there. A cache may keep an answer to
    /// GET with status 200 where neither side says "no-store", and it does not vary by cookies or by anything
    /// ("*"). What cannot be written is not kept.
    void storeCachedResponse(const CachedURLResponse& cachedResponse, const URLRequest& forRequest);

    void removeCachedResponse(const URLRequest& forRequest);
    /// Nothing that was stored before this call is found after it.
    void removeAllCachedResponses();

private:
    [[nodiscard]] std::filesystem::path file(const URLRequest& request) const;
    void makeRoom(std::uint64_t bytes);
    void measure() const;

    const std::uint64_t capacity;
    const std::filesystem::path directory; // empty where there is none

    mutable std::mutex mutex;
    mutable std::optional<std::uint64_t> used; // guarded by mutex; nothing until it was measured
};

} // namespace LumoKit
