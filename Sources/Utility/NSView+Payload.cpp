#include <LumoKit/Utility/NSView+Payload.h>

#include <utility>

namespace LumoKit {

namespace {

constexpr const char* payloadKey = "payload";

/// A value of any type in one of a known type: an object carries values of types that its reader knows.
struct Payload {
    std::any value;
};

} // namespace

std::any payload(const NSMenuItem& item)
{
    const auto kept = item.associatedObject<Payload>(payloadKey);
    return kept ? kept->value : std::any();
}

void setPayload(NSMenuItem& item, std::any payload)
{
    item.setAssociatedObject(
        payloadKey, payload.has_value() ? std::any(Payload{std::move(payload)}) : std::any());
}

} // namespace LumoKit
