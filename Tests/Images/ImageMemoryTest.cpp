#include "Images/ImageMemory.h"

#include "Support/TestImages.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using detail::ImageMemory;

namespace {

/// An image that keeps so many bytes.
std::shared_ptr<NSImage> imageOf(std::size_t bytes)
{
    Data file = dataOf(pngFile(4, 4, [](int, int) { return red; }));
    file.resize(bytes); // what follows the end of the picture is not looked at
    return NSImage::create(std::move(file));
}

TEST(ImageMemory, KeepsImagesByTheirKeys)
{
    ImageMemory memory(10'000);
    const auto image = imageOf(1000);
    memory.store("one", image);
    EXPECT_EQ(memory.image("one"), image);
    EXPECT_EQ(memory.image("two"), nullptr);
    EXPECT_EQ(memory.cost(), 1000U);
    memory.store("one", imageOf(3000)); // in its place
    EXPECT_EQ(memory.cost(), 3000U);
    EXPECT_NE(memory.image("one"), image);
    memory.remove("one");
    memory.remove("one");
    EXPECT_EQ(memory.image("one"), nullptr);
    EXPECT_EQ(memory.cost(), 0U);
}

TEST(ImageMemory, DropsWhatWasNotUsedForLongest)
{
    ImageMemory memory(10'000);
    memory.store("one", imageOf(4000));
    memory.store("two", imageOf(4000));
    EXPECT_NE(memory.image("one"), nullptr);
    memory.store("three", imageOf(4000));
    EXPECT_EQ(memory.image("two"), nullptr);
    EXPECT_NE(memory.image("one"), nullptr);
    EXPECT_NE(memory.image("three"), nullptr);
    memory.store("all", imageOf(10'000));
    EXPECT_EQ(memory.cost(), 10'000U);
    EXPECT_EQ(memory.image("one"), nullptr);
}

TEST(ImageMemory, DoesNotKeepWhatIsBeyondItsLimitAlone)
{
    ImageMemory memory(10'000);
    memory.store("one", imageOf(4000));
    memory.store("large", imageOf(10'001));
    EXPECT_EQ(memory.image("large"), nullptr);
    EXPECT_NE(memory.image("one"), nullptr);
    memory.removeAll();
    EXPECT_EQ(memory.image("one"), nullptr);
    EXPECT_EQ(memory.cost(), 0U);
}

TEST(ImageMemory, IsUsedFromManyThreads)
{
    ImageMemory memory(10'000);
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] {
            for (int round = 0; round < 200; ++round) {
                memory.store(std::to_string((number + round) % 7), imageOf(3000));
                static_cast<void>(memory.image(std::to_string(round % 7)));
                if (round % 50 == 0)
                    memory.removeAll();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_LE(memory.cost(), 10'000U);
}

} // namespace
