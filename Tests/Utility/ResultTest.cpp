#include <LumoKit/Utility/Result.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

using namespace LumoKit;

namespace {

const Error spilt{"Tea", 7, "it was spilt"};

TEST(Result, HoldsTheValueOfASuccess)
{
    const auto result = Result<std::string>::success("tea");
    EXPECT_TRUE(result.isSuccess());
    ASSERT_NE(result.value(), nullptr);
    EXPECT_EQ(*result.value(), "tea");
    EXPECT_EQ(result.error(), std::nullopt);
}

TEST(Result, HoldsTheErrorOfAFailure)
{
    const auto result = Result<std::string>::failure(spilt);
    EXPECT_FALSE(result.isSuccess());
    EXPECT_EQ(result.value(), nullptr);
    EXPECT_EQ(result.error(), spilt);
}

TEST(Result, MayFailWithoutAnError)
{
    const auto result = Result<int>::failure();
    EXPECT_FALSE(result.isSuccess());
    EXPECT_EQ(result.value(), nullptr);
    EXPECT_EQ(result.error(), std::nullopt);
}

TEST(Result, KeepsItsOutcomeInCopies)
{
    auto result = Result<int>::failure(spilt);
    const auto copy = result;
    result = Result<int>::success(1);
    EXPECT_EQ(copy.error(), spilt);
    EXPECT_EQ(*result.value(), 1);
}

TEST(Result, LetsItsValueChange)
{
    auto result = Result<std::string>::success("tea");
    *result.value() += "pot";
    EXPECT_EQ(*std::as_const(result).value(), "teapot");
    auto failure = Result<std::string>::failure();
    EXPECT_EQ(failure.value(), nullptr);
}

TEST(Result, ComparesOutcomeAndContent)
{
    using R = Result<int>;
    EXPECT_EQ(R::success(1), R::success(1));
    EXPECT_NE(R::success(1), R::success(2));
    EXPECT_NE(R::success(0), R::failure());
    EXPECT_EQ(R::failure(), R::failure());
    EXPECT_EQ(R::failure(spilt), R::failure(spilt));
    EXPECT_NE(R::failure(spilt), R::failure());
    EXPECT_NE(R::failure(spilt), R::failure(Error{"Tea", 8, "it was spilt"}));
}

TEST(Result, TellsAValueThatIsAnErrorFromAFailure)
{
    const auto success = Result<Error>::success(spilt);
    EXPECT_TRUE(success.isSuccess());
    EXPECT_EQ(*success.value(), spilt);
    EXPECT_EQ(success.error(), std::nullopt);
    const auto empty = Result<std::optional<Error>>::success(std::nullopt);
    EXPECT_TRUE(empty.isSuccess());
    EXPECT_FALSE(Result<std::optional<Error>>::failure().isSuccess());
}

TEST(Result, HoldsAValueThatCanOnlyBeMoved)
{
    auto result = Result<std::unique_ptr<int>>::success(std::make_unique<int>(3));
    const auto moved = std::move(result);
    EXPECT_EQ(**moved.value(), 3);
    EXPECT_EQ(*moved.mapSuccess([](const auto& number) { return *number + 1; }).value(), 4);
}

TEST(ResultMapSuccess, MapsTheValueOfASuccess)
{
    const auto result =
        Result<int>::success(20).mapSuccess([](int number) { return std::to_string(number + 1); });
    static_assert(std::is_same_v<decltype(result), const Result<std::string>>);
    EXPECT_EQ(result, Result<std::string>::success("21"));
}

TEST(ResultMapSuccess, LeavesTheReceiverAsItWas)
{
    const auto result = Result<std::string>::success("tea");
    static_cast<void>(result.mapSuccess([](std::string text) { return text += "pot"; }));
    EXPECT_EQ(*result.value(), "tea");
}

TEST(ResultMapSuccess, KeepsAFailureAndDoesNotCallTheTransform)
{
    int calls = 0;
    const auto transform = [&](int) { return std::to_string(++calls); };
    EXPECT_EQ(Result<int>::failure(spilt).mapSuccess(transform), Result<std::string>::failure(spilt));
    EXPECT_EQ(calls, 0);
}

TEST(ResultMapSuccess, KeepsAFailureWithoutAnError)
{
    int calls = 0;
    const auto result = Result<int>::failure().mapSuccess([&](int) { return ++calls; });
    EXPECT_FALSE(result.isSuccess());
    EXPECT_EQ(result.error(), std::nullopt);
    EXPECT_EQ(calls, 0);
}

TEST(ResultMapSuccess, ThrowsWhatTheTransformThrows)
{
    struct Spill : std::runtime_error {
        using std::runtime_error::runtime_error;
    };
    const auto result = Result<int>::success(1);
    try {
        static_cast<void>(result.mapSuccess([](int) -> int { throw Spill("on the table"); }));
        FAIL() << "nothing was thrown";
    } catch (const Spill& spill) {
        EXPECT_STREQ(spill.what(), "on the table");
    }
    EXPECT_EQ(*result.value(), 1);
    EXPECT_NO_THROW(
        static_cast<void>(Result<int>::failure().mapSuccess([](int) -> int { throw Spill("never"); })));
}

TEST(ResultMapSuccess, TakesATransformByName)
{
    EXPECT_EQ(*Result<std::string>::success("tea").mapSuccess(&std::string::size).value(), 3u);
}

TEST(ResultMapSuccess, KeepsAResultThatTheTransformGivesWithinTheResult)
{
    const auto result = Result<int>::success(1).mapSuccess([](int) { return Result<int>::failure(spilt); });
    EXPECT_TRUE(result.isSuccess());
    EXPECT_EQ(result.value()->error(), spilt);
}

} // namespace
