#include <LumoKit/Extensions/UserDefaults+LumoSuite.h>
#include <LumoKit/Platform/Foundation/FatalError.h>

namespace LumoKit {

std::shared_ptr<UserDefaults> lumoSuite()
{
    auto suite = UserDefaults::create(lumoSuitePersistentDomainName);
    if (!suite)
        fatalError("there is no place for the preferences that the suite shares");
    return suite;
}

} // namespace LumoKit
