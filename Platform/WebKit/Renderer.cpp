#include "Renderer.h"

#include <unistd.h>

#include <cstdlib>

namespace LumoKit::detail {

namespace {

constexpr const char* variable = "WEBKIT_DISABLE_DMABUF_RENDERER";

} // namespace

bool shouldDisableDmabufRenderer(const RendererFacts& facts)
{
    return !facts.override && facts.nvidiaDriver;
}

void chooseRenderer()
{
    RendererFacts facts;
    if (const char* set = std::getenv(variable))
        facts.override = set;
    facts.nvidiaDriver =
        ::access("/proc/driver/nvidia/version", F_OK) == 0; // the open driver has no such file
    if (shouldDisableDmabufRenderer(facts))
        ::setenv(variable, "1", 1);
}

} // namespace LumoKit::detail
