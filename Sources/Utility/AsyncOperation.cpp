#include <LumoKit/Utility/AsyncOperation.h>

#include <string>

namespace LumoKit {

void AsyncOperation::start()
{
    if (isCancelled())
        return setState(State::finished);
    setState(State::ready); // not executing: `main` decides that, once it runs
    main();
}

void AsyncOperation::main()
{
    setState(isCancelled() ? State::finished : State::executing);
}

void AsyncOperation::setState(State next)
{
    const auto alive = weak_from_this().lock(); // its queue lets it go when it is told that it has finished
    const auto key = [](State state) { return "is" + std::string(rawValue(state)); };
    const std::string before = key(state());
    const std::string after = key(next);
    willChangeValue(before);
    willChangeValue(after);
    current = next;
    didChangeValue(after);
    didChangeValue(before);
}

} // namespace LumoKit
