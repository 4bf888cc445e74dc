#include "WebKit/Renderer.h"

#include <gtest/gtest.h>

namespace {

using LumoKit::detail::RendererFacts;
using LumoKit::detail::shouldDisableDmabufRenderer;

TEST(Renderer, IsTheFastOneOnMostDrivers)
{
    EXPECT_FALSE(shouldDisableDmabufRenderer({}));
}

TEST(Renderer, IsTheSafeOneWhereTheFastOneShowsNothing)
{
    EXPECT_TRUE(shouldDisableDmabufRenderer({.override = {}, .nvidiaDriver = true}));
}

TEST(Renderer, IsWhatTheEnvironmentSays)
{
    for (const char* set : {"0", "1", ""})
        for (const bool driver : {false, true})
            EXPECT_FALSE(shouldDisableDmabufRenderer({.override = set, .nvidiaDriver = driver})) << set;
}

} // namespace
