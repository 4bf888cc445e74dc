#pragma once

#include <LumoKit/Utility/AsyncOperation.h>
#include <LumoKit/WebView/UserAgentFetcher.h>

#include <memory>

namespace LumoSuite {

/// Asks a service for a user agent, and has finished when it has answered, or will not.
class UserAgentOperation : public LumoKit::AsyncOperation {
public:
    explicit UserAgentOperation(std::shared_ptr<LumoKit::UserAgentFetcher> fetcher);

    void main() override;

private:
    const std::shared_ptr<LumoKit::UserAgentFetcher> fetcher;
};

} // namespace LumoSuite
