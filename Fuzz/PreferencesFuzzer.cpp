// Any file in the place of a preferences database is opened or moved aside; after that there is one that works.

#include "Foundation/PreferencesFolder.h"

#include <stdlib.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using namespace LumoKit::detail;

/// In memory, where that can be had: nothing waits for a disk.
fs::path configuration()
{
    std::string pattern =
        fs::exists("/dev/shm") ? "/dev/shm/fuzz-XXXXXX" : fs::temp_directory_path() / "fuzz-XXXXXX";
    static const fs::path made = ::mkdtemp(pattern.data());
    std::atexit([] { fs::remove_all(made); });
    ::setenv("XDG_CONFIG_HOME", made.c_str(), 1);
    return made;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    static const fs::path root = configuration();
    const auto folder = PreferencesFolder::of("com.example.fuzz");
    fs::remove_all(folder->location());
    fs::create_directories(folder->location());
    std::ofstream(folder->databaseFile(), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    auto opened = folder->open(deadline, {});
    if (!opened)
        return 0; // what cannot be read for another reason than its content
    const auto last = opened->rows.empty() ? 0 : opened->rows.back().generation;
    for (const auto& row : opened->rows)
        static_cast<void>(row.value.description());
    if (!opened->database->begin())
        return 0;
    if (auto put = opened->database->put(last + 1, "key", "value", 0); !put) {
        if (put.error().kind == PreferencesFault::Kind::damaged) // seen only when it is written to
            opened->database.reset(), opened = folder->open(deadline, {put.error().description, {}, last});
        if (!opened)
            std::fprintf(stderr, "%s\n", opened.error().description.c_str()), std::abort();
        return 0;
    }
    if (!opened->database->commit())
        return 0;
    const auto changes = opened->database->changes(last);
    if (!changes || changes->size() != 1 || changes->front().value != LumoKit::Value("value"))
        std::abort();
    return 0;
}
