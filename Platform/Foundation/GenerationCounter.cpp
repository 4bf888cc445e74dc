#include "GenerationCounter.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace LumoKit::detail {

namespace {

/// Units: bytes.
constexpr off_t length = sizeof(std::int64_t);

} // namespace

std::unique_ptr<GenerationCounter> GenerationCounter::open(const std::filesystem::path& path)
{
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (file < 0)
        return nullptr;
    struct stat status{};
    // Its place on the disk is taken now: a mapped page that finds the disk full later would end the process.
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode)
        && (status.st_size >= length || ::posix_fallocate(file, 0, length) == 0)) {
        void* mapped = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (mapped != MAP_FAILED)
            return std::unique_ptr<GenerationCounter>(
                new GenerationCounter(file, static_cast<Number*>(mapped)));
    }
    ::close(file);
    return nullptr;
}

GenerationCounter::~GenerationCounter()
{
    ::munmap(number, length);
    ::close(file);
}

bool GenerationCounter::isDeleted() const
{
    struct stat status{};
    return ::fstat(file, &status) != 0 || status.st_nlink == 0;
}

} // namespace LumoKit::detail
