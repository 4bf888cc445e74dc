#include "Foundation/HTTPCaching.h"

#include <gtest/gtest.h>

using namespace LumoKit;

namespace {

// Sunday, 6 November 1994, 08:49:37 GMT, the day of the examples in RFC 9110.
const Date noon{std::chrono::sys_seconds(std::chrono::seconds(784111777))};
constexpr const char* noonText = "Sun, 06 Nov 1994 08:49:37 GMT";
constexpr const char* hourLater = "Sun, 06 Nov 1994 09:49:37 GMT";
constexpr const char* tenHoursBefore = "Sat, 05 Nov 1994 22:49:37 GMT";
constexpr const char* yearBefore = "Sat, 06 Nov 1993 08:49:37 GMT";

CachedURLResponse answer(HTTPHeaderFields fields, Date stored = noon)
{
    return {std::make_shared<HTTPURLResponse>(*URL::parse("http://mail.example/"), 200, std::move(fields)),
        {}, {}, stored};
}

/// Seconds that an answer which was stored at noon is fresh, up to two days.
int freshFor(HTTPHeaderFields fields)
{
    const auto kept = answer(std::move(fields));
    int least = 0;
    int most = 2 * 86400;
    while (least < most) {
        const int middle = (least + most + 1) / 2;
        if (detail::isFresh(kept, noon + std::chrono::milliseconds(middle * 1000 - 500)))
            least = middle;
        else
            most = middle - 1;
    }
    return least;
}

TEST(HTTPCaching, AnAnswerIsFreshForAsLongAsItSays)
{
    EXPECT_EQ(freshFor({}), 0);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=60"}}), 60);
    EXPECT_EQ(freshFor({{"cache-control", "private, MAX-AGE=60"}}), 60);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=60"}, {"Expires", hourLater}, {"Date", noonText}}), 60);
    EXPECT_EQ(freshFor({{"Expires", hourLater}, {"Date", noonText}}), 3600);
    EXPECT_EQ(freshFor({{"Expires", hourLater}}), 3600);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=99999999999999999999"}}), 2 * 86400);
}

TEST(HTTPCaching, WhatCannotBeReadHasExpired)
{
    EXPECT_EQ(freshFor({{"Expires", "0"}, {"Last-Modified", yearBefore}}), 0);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=soon"}, {"Expires", hourLater}}), 0);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=-5"}}), 0);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age"}}), 0);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=60, no-cache"}}), 0);
}

TEST(HTTPCaching, ATenthOfItsAgeCountsWhereItSaysNothing)
{
    EXPECT_EQ(freshFor({{"Date", noonText}, {"Last-Modified", tenHoursBefore}}), 3600);
    EXPECT_EQ(freshFor({{"Date", noonText}, {"Last-Modified", yearBefore}}), 86400) << "a day at most";
    EXPECT_EQ(freshFor({{"Date", noonText}, {"Last-Modified", hourLater}}), 0);
}

TEST(HTTPCaching, TimeOnTheWayCounts)
{
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=60"}, {"Age", "20"}}), 40);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=60"}, {"Age", "-20"}}), 60);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=60"}, {"Age", "99999999999999999999"}}), 0);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=60"}, {"Date", tenHoursBefore}}), 0);
    EXPECT_EQ(freshFor({{"Cache-Control", "max-age=60"}, {"Date", hourLater}}), 60);
}

TEST(HTTPCaching, AClockThatWasSetBackMakesNothingFresh)
{
    EXPECT_FALSE(detail::isFresh(answer({{"Cache-Control", "max-age=60"}}), noon - std::chrono::seconds(1)));
}

TEST(HTTPCaching, AsksByWhatTheAnswerHad)
{
    EXPECT_TRUE(detail::validators(*answer({}).response).empty());
    EXPECT_EQ(detail::validators(*answer({{"ETag", "\"1\""}, {"Last-Modified", noonText}}).response),
        (HTTPHeaderFields{{"If-None-Match", "\"1\""}, {"If-Modified-Since", noonText}}));
}

TEST(HTTPCaching, ACurrentAnswerGetsTheNewFieldsButKeepsThoseOfItsBody)
{
    auto kept =
        answer({{"ETag", "\"1\""}, {"Age", "9"}, {"Content-Length", "5"}, {"Content-Type", "text/plain"}});
    kept.data = {std::byte{'a'}};
    const auto later = noon + std::chrono::hours(1);
    const auto now = detail::updated(kept,
        *answer({{"age", "0"}, {"Content-Length", "0"}, {"content-type", "text/html"}, {"X-New", "1"}})
            .response,
        later);
    EXPECT_EQ(now.data, kept.data);
    EXPECT_EQ(now.stored, later);
    EXPECT_EQ(now.response->allHeaderFields(),
        (HTTPHeaderFields{{"ETag", "\"1\""}, {"Age", "0"}, {"Content-Length", "5"},
            {"Content-Type", "text/plain"}, {"X-New", "1"}}));
}

} // namespace
