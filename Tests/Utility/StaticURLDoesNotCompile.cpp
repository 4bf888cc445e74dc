// What the compiler must refuse: StaticURL.DoesNotCompileWithoutAURL.

#include <LumoKit/Utility/URLConvertible.h>

const LumoKit::URL broken = LumoKit::staticURL("https://example.com/a b");
