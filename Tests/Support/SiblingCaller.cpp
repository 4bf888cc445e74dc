// sibling-caller open APP
// sibling-caller launch APP COMMAND [KEY VALUE]...
//
// Calls another application of the suite, as one of them does, and says "true" or "false".

#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Utility/CrossApp.h>

#include <string>
#include <string_view>
#include <vector>

using namespace LumoKit;

int main(int count, char** words)
{
    const std::vector<std::string> arguments(words + 1, words + count);
    if (arguments.size() < 2)
        return 2;
    using enum CrossApp::App;
    const std::string& named = arguments[1];
    const auto app = named == "gmail" ? gmail
        : named == "calendar"         ? calendar
        : named == "inbox"            ? inbox
                                      : dashboard;
    if (arguments[0] == "open") {
        print(CrossApp::open(app) ? "true" : "false");
        return 0;
    }
    Value::Dictionary values;
    for (std::size_t next = 3; next + 1 < arguments.size(); next += 2)
        values[arguments[next]] = arguments[next + 1];
    print(CrossApp::launch(app, arguments.at(2), values, false) ? "true" : "false");
}
