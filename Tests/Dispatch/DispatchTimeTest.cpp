#include <LumoKit/Platform/Dispatch/DispatchTime.h>

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

using namespace LumoKit;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;
using Limits = std::numeric_limits<double>;

/// A moment counts as "in `offset`" when it lies that far from some moment during the call.
void expectAfter(double seconds, Clock::duration offset)
{
    const auto before = Clock::now();
    const DispatchTime moment = dispatchTimeAfter(seconds);
    const auto after = Clock::now();
    EXPECT_GE(moment, before + offset) << seconds;
    EXPECT_LE(moment, after + offset) << seconds;
}

TEST(DispatchTimeAfter, IsThatManySecondsFromNow)
{
    expectAfter(0, 0s);
    expectAfter(1.5, 1500ms);
    expectAfter(86400, 24h);
    expectAfter(0.000'25, 250us);
}

TEST(DispatchTimeAfter, GoesBackForNegativeSeconds)
{
    expectAfter(-2, -2s);
    expectAfter(-0.0, 0s);
}

TEST(DispatchTimeAfter, TakesWhatIsNotANumberForZero)
{
    expectAfter(Limits::quiet_NaN(), 0s);
    expectAfter(-Limits::quiet_NaN(), 0s);
}

TEST(DispatchTimeAfter, StaysInTheClocksRange)
{
    constexpr auto years = 24h * 365 * 10;
    for (const double seconds : {Limits::infinity(), Limits::max(), 1e18, 9.3e9})
        EXPECT_GT(dispatchTimeAfter(seconds), Clock::now() + years) << seconds;
    for (const double seconds : {-Limits::infinity(), Limits::lowest(), -1e18, -9.3e9})
        EXPECT_LT(dispatchTimeAfter(seconds), Clock::now() - years) << seconds;
}

} // namespace
