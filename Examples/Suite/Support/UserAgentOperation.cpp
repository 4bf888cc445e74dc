#include "Support/UserAgentOperation.h"

namespace LumoSuite {

UserAgentOperation::UserAgentOperation(std::shared_ptr<LumoKit::UserAgentFetcher> fetcher)
    : fetcher(std::move(fetcher))
{
}

void UserAgentOperation::main()
{
    AsyncOperation::main();
    if (!isExecuting())
        return;
    fetcher->fetch([self = std::static_pointer_cast<UserAgentOperation>(shared_from_this())] {
        self->setState(State::finished);
    });
}

} // namespace LumoSuite
