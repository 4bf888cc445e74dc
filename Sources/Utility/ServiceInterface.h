#pragma once

namespace LumoKit {

/// Root of the small interfaces through which a component asks the host for a service (`Has` + service). A
/// host's container of dependencies that implements such interfaces can be handed to message handlers that
/// know only one of them. Interfaces derive from it virtually, so that a container has one root.
class ServiceInterface {
public:
    virtual ~ServiceInterface() = default;
};

} // namespace LumoKit
