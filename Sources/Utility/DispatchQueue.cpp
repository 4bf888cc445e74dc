#include <LumoKit/Utility/DispatchQueue.h>

namespace LumoKit {

void delay(double duration, const std::shared_ptr<DispatchQueue>& on, DispatchQueue::Work callback)
{
    on->asyncAfter(dispatchTimeAfter(duration), std::move(callback));
}

} // namespace LumoKit
