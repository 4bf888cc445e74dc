#include "Waiting.h"

#include <glib.h>

namespace LumoKit::Test {

bool waitUntil(const std::function<bool()>& condition)
{
    bool expired = false;
    GSource* limit = g_timeout_source_new_seconds(20);
    g_source_set_callback(
        limit,
        +[](gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_CONTINUE;
        },
        &expired, nullptr);
    g_source_attach(limit, nullptr);
    bool holds = condition();
    while (!holds && !expired) {
        g_main_context_iteration(nullptr, TRUE);
        holds = condition();
    }
    g_source_destroy(limit);
    g_source_unref(limit);
    return holds;
}

bool waitForOthers(const std::function<bool()>& condition)
{
    const guint turns = g_timeout_add(10, +[](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    const bool holds = waitUntil(condition);
    g_source_remove(turns);
    return holds;
}

void runPendingTurns()
{
    while (g_main_context_iteration(nullptr, FALSE)) { }
}

} // namespace LumoKit::Test
