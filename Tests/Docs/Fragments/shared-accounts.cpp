#include <LumoKit/Extensions/UserDefaults+LumoSuite.h>

void addToTheSharedAccounts()
{
    // the fragment
}
