// screen-reader PID COMMAND: another process that reads and answers what the process PID shows, through the desktop's
// accessibility bus, as assistive software does.
//
//   tree            the roles, names and descriptions of the alerts and dialogs, and of everything in them
//   press NAME      does the action of the push button or check box of that name, in an alert or dialog
//   enter TEXT      replaces the text of the first field for one in an alert or dialog
//   follow TEXT     does the action of the first link or item of a list whose name has that text, in any window and its page
//
// It ends with 1 if there is no such thing.

#include <atspi/atspi.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

namespace {

std::string take(char* text)
{
    std::string copy = text ? text : "";
    g_free(text);
    return copy;
}

/// Calls `visit` for an object and those in it, until it returns true.
bool visitAll(AtspiAccessible* object, int depth, const std::function<bool(AtspiAccessible*, int)>& visit)
{
    if (visit(object, depth))
        return true;
    const int count = atspi_accessible_get_child_count(object, nullptr);
    for (int index = 0; index < count; ++index)
        if (AtspiAccessible* child = atspi_accessible_get_child_at_index(object, index, nullptr)) {
            const bool found = visitAll(child, depth + 1, visit);
            g_object_unref(child);
            if (found)
                return true;
        }
    return false;
}

/// The windows of a process, and all that is in them.
bool visitWindows(unsigned process, const std::function<bool(AtspiAccessible*)>& visitWindow)
{
    AtspiAccessible* desktop = atspi_get_desktop(0);
    bool found = false;
    const int count = atspi_accessible_get_child_count(desktop, nullptr);
    for (int index = 0; index < count && !found; ++index) {
        AtspiAccessible* application = atspi_accessible_get_child_at_index(desktop, index, nullptr);
        if (!application)
            continue;
        if (atspi_accessible_get_process_id(application, nullptr) == process)
            found = visitAll(application, 0,
                [&](AtspiAccessible* object, int depth) { return depth == 1 && visitWindow(object); });
        g_object_unref(application);
    }
    g_object_unref(desktop);
    return found;
}

bool visitPanels(unsigned process, const std::function<bool(AtspiAccessible*, int)>& visit)
{
    return visitWindows(process, [&](AtspiAccessible* window) {
        const AtspiRole role = atspi_accessible_get_role(window, nullptr);
        return (role == ATSPI_ROLE_ALERT || role == ATSPI_ROLE_DIALOG || role == ATSPI_ROLE_FILE_CHOOSER)
            && visitAll(window, 0, visit);
    });
}

bool act(AtspiAccessible* object)
{
    AtspiAction* action = atspi_accessible_get_action_iface(object);
    const bool done = action && atspi_action_do_action(action, 0, nullptr);
    g_clear_object(&action);
    return done;
}

bool follow(unsigned process, const std::string& text)
{
    return visitWindows(process, [&](AtspiAccessible* window) {
        return visitAll(window, 0, [&](AtspiAccessible* object, int) {
            const AtspiRole role = atspi_accessible_get_role(object, nullptr);
            return (role == ATSPI_ROLE_LINK || role == ATSPI_ROLE_LIST_ITEM)
                && take(atspi_accessible_get_name(object, nullptr)).find(text) != std::string::npos
                && act(object);
        });
    });
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 3)
        return 2;
    const auto process = static_cast<unsigned>(std::stoul(arguments[1]));
    const std::string command = arguments[2];
    const std::string argument = count > 3 ? arguments[3] : "";
    atspi_init();
    if (command == "tree") {
        visitPanels(process, [](AtspiAccessible* object, int depth) {
            std::printf("%*s%s|%s|%s\n", depth, "",
                take(atspi_accessible_get_role_name(object, nullptr)).c_str(),
                take(atspi_accessible_get_name(object, nullptr)).c_str(),
                take(atspi_accessible_get_description(object, nullptr)).c_str());
            return false;
        });
        return 0;
    }
    if (command == "follow")
        return follow(process, argument) ? 0 : 1;
    const bool done = visitPanels(process, [&](AtspiAccessible* object, int) {
        const AtspiRole role = atspi_accessible_get_role(object, nullptr);
        if (command == "enter") {
            AtspiEditableText* field =
                role == ATSPI_ROLE_TEXT ? atspi_accessible_get_editable_text_iface(object) : nullptr;
            if (!field)
                return false;
            const bool entered = atspi_editable_text_set_text_contents(field, argument.c_str(), nullptr);
            g_object_unref(field);
            return entered;
        }
        return (role == ATSPI_ROLE_PUSH_BUTTON || role == ATSPI_ROLE_CHECK_BOX)
            && take(atspi_accessible_get_name(object, nullptr)) == argument && act(object);
    });
    return done ? 0 : 1;
}
