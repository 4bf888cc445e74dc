// Calls something of one component, for those who look which are called.

#include <LumoKit/Utility/Pluralize.h>

int main()
{
    return LumoKit::pluralize("thread", 2) == "threads" ? 0 : 1;
}
