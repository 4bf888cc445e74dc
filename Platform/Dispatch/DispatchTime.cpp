#include <LumoKit/Platform/Dispatch/DispatchTime.h>

#include <algorithm>
#include <cmath>

namespace LumoKit {

DispatchTime dispatchTimeAfter(double seconds)
{
    if (std::isnan(seconds))
        seconds = 0;
    constexpr double century =
        100.0 * 365.25 * 24 * 3600; // far beyond any deadline, far below the clock's overflow
    const std::chrono::duration<double> offset(std::clamp(seconds, -century, century));
    return std::chrono::steady_clock::now()
        + std::chrono::duration_cast<std::chrono::steady_clock::duration>(offset);
}

} // namespace LumoKit
