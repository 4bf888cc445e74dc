#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <map>
#include <source_location>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

// ---- fatal errors
// ---------------------------------------------------------------------------------------------------

/// Everything that is written before the process stops.
auto isReport(int line, const std::string& message)
{
    return ::testing::Eq(
        std::string(__FILE__) + ":" + std::to_string(line) + ": Fatal error: " + message + "\n");
}

TEST(FatalErrorDeathTest, WritesFileLineAndMessage)
{
    EXPECT_DEATH(fatalError("the cup is empty"), isReport(__LINE__, "the cup is empty"));
}

TEST(FatalErrorDeathTest, NamesTheFileWithoutTheFolderItWasBuiltIn)
{
    EXPECT_DEATH(fatalError("here"), ::testing::StartsWith("Tests/Foundation/FatalErrorTest.cpp:"));
}

TEST(FatalErrorDeathTest, NeedsNoMessage)
{
    EXPECT_DEATH(fatalError(), isReport(__LINE__, ""));
}

TEST(FatalErrorDeathTest, WritesTheMessageAsItIs)
{
    EXPECT_DEATH(fatalError("100 %s %n of \u00FC"), isReport(__LINE__, "100 %s %n of \u00FC"));
    const std::string_view part("part of more", 4); // not ended by a zero byte
    EXPECT_DEATH(fatalError(part), isReport(__LINE__, "part"));
}

TEST(FatalErrorDeathTest, NamesWhereItsCallerSaysThatItWas)
{
    const int line = __LINE__ + 1;
    const auto where = std::source_location::current();
    EXPECT_DEATH(fatalError("over there", where), isReport(line, "over there"));
}

TEST(FatalErrorDeathTest, Aborts)
{
    EXPECT_EXIT(fatalError("stop"), ::testing::KilledBySignal(SIGABRT), "stop");
}

TEST(FatalErrorDeathTest, NamesTheInitializerThatAClassDoesNotOffer)
{
    const std::string message = "Use of unimplemented initializer 'init(spout:)' for class 'Suite.Teapot'";
    EXPECT_DEATH(unimplementedInitializer("Suite.Teapot", "init(spout:)"), isReport(__LINE__, message));
}

// ---- printing
// -------------------------------------------------------------------------------------------------------

/// What has arrived at the other end of standard output when `action` returns; nothing is flushed for it.
template <class Action> std::string arrived(Action action)
{
    std::fflush(stdout);
    const int original = ::dup(STDOUT_FILENO);
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[1]);
    action();
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    std::string text;
    std::array<char, 4096> buffer;
    for (ssize_t size = 0; (size = ::read(ends[0], buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<std::size_t>(size));
    ::dup2(original, STDOUT_FILENO);
    ::close(original);
    ::close(ends[0]);
    return text;
}

TEST(Print, WritesOneLineAtOnce)
{
    EXPECT_EQ(arrived([] { print("the tea is ready"); }), "the tea is ready\n");
    EXPECT_EQ(arrived([] { print(""); }), "\n");
}

TEST(Print, WritesTheTextAsItIs)
{
    EXPECT_EQ(arrived([] { print("100 %s %n \u00FC"); }), "100 %s %n \u00FC\n");
    EXPECT_EQ(arrived([] { print(std::string_view("part of more", 4)); }), "part\n");
    EXPECT_EQ(arrived([] { print("a\0b"sv); }), "a\0b\n"sv);
}

TEST(Print, KeepsTheOrderWithOtherOutput)
{
    EXPECT_EQ(arrived([] {
        std::fputs("before ", stdout);
        print("after");
    }),
        "before after\n");
}

TEST(Print, DoesNotMixTheLinesOfSeveralThreads)
{
    constexpr int each = 200; // together less than a pipe holds
    const std::vector<std::string> lines{std::string(60, 'a'), std::string(40, 'b'), std::string(50, 'c')};
    std::istringstream output(arrived([&] {
        std::vector<std::jthread> threads;
        for (const auto& line : lines)
            threads.emplace_back([&] {
                for (int number = 0; number < each; ++number)
                    print(line);
            });
    }));
    std::map<std::string, int> counts;
    for (std::string line; std::getline(output, line);)
        ++counts[line];
    EXPECT_EQ(counts.size(), lines.size());
    for (const auto& line : lines)
        EXPECT_EQ(counts[line], each);
}

} // namespace
