#include "Compare.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Utility/FramelessWindowBehaviour.h>

#include <glib.h>
#include <sys/resource.h>

namespace LumoKit::Bench {

namespace {

constexpr double seconds = 10;
constexpr double bound = 0.5; // per cent of a core

void runLoop(double forSeconds)
{
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    g_timeout_add(
        static_cast<guint>(forSeconds * 1000),
        +[](gpointer ended) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(ended));
            return G_SOURCE_REMOVE;
        },
        loop);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
}

double processorTime()
{
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const auto of = [](const timeval& time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return of(used.ru_utime) + of(used.ru_stime);
}

/// Per cent of a core that this process takes while a window is on screen and nothing happens. One that is set up is
/// given its window again, after which the behaviour tries for good.
double idle(double titlebarHeight)
{
    static_cast<void>(NSApplication::shared());
    const auto window = NSWindow::create({{100, 100}, {400, 300}});
    const auto behaviour = std::make_shared<LMFramelessWindowBehaviour>();
    behaviour->titlebarHeight = titlebarHeight;
    behaviour->setOwner(window);
    behaviour->setWindow(window);
    behaviour->setWindow(window);
    window->makeKeyAndOrderFront();
    runLoop(1); // it comes up
    const double before = processorTime();
    runLoop(seconds);
    const double used = processorTime() - before;
    window->close();
    return used / seconds * 100;
}

} // namespace

std::vector<Row> windowRows()
{
    return {{"windows/frameless-idle", "%", "half a per cent", 1.0, 1, [] { return idle(40); },
                [] { return bound; }},
        {"windows/frameless-waiting", "%", "half a per cent", 1.0, 1, [] { return idle(0); },
            [] { return bound; }}};
}

} // namespace LumoKit::Bench
