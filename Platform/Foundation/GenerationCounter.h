#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace LumoKit::detail {

/// A number in a mapped file, which all processes that open the same file share. Reading it costs what reading memory
/// costs.
///
/// Thread: any.
class GenerationCounter {
public:
    /// Opens the file, and makes it (for the user alone) if there is none. What it held stands.
    /// Errors: null where it can be neither opened for writing nor made.
    [[nodiscard]] static std::unique_ptr<GenerationCounter> open(const std::filesystem::path& file);

    ~GenerationCounter();
    GenerationCounter(const GenerationCounter&) = delete;
    GenerationCounter& operator=(const GenerationCounter&) = delete;

    [[nodiscard]] std::int64_t load() const { return number->load(std::memory_order_acquire); }
    void store(std::int64_t value) { number->store(value, std::memory_order_release); }

    /// Whether the file was deleted meanwhile, so that nobody else can open it any more.
    [[nodiscard]] bool isDeleted() const;

private:
    using Number = std::atomic<std::int64_t>;
    static_assert(Number::is_always_lock_free && sizeof(Number) == sizeof(std::int64_t));

    GenerationCounter(int file, Number* mapped)
        : file(file)
        , number(mapped)
    {
    }

    const int file;
    Number* const number;
};

} // namespace LumoKit::detail
