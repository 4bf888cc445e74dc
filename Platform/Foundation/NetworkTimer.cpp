#include "NetworkTimer.h"

#include <LumoKit/Platform/Native/Source.h>

#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <utility>

namespace LumoKit::detail {

namespace {

using Microseconds = gint64; // of the clock that never goes back

constexpr Microseconds never = std::numeric_limits<Microseconds>::max();

Microseconds timeAfter(double seconds)
{
    const double microseconds = std::ceil(std::fmax(seconds, 0) * 1e6); // not a number counts as zero
    constexpr double longest = 1e18;
    return microseconds < longest ? g_get_monotonic_time() + static_cast<Microseconds>(microseconds) : never;
}

} // namespace

struct NetworkTimer::Entry {
    explicit Entry(std::function<void()> work)
        : work(std::move(work))
    {
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    ~Entry() { clear(); }

    void set(Microseconds time);
    void clear();

    const std::function<void()> work;

private:
    using Times = std::multimap<Microseconds, Entry*>;

    static Times& times();
    static GSource* source();
    static gboolean callThoseThatAreDue(GSource*, GSourceFunc, gpointer) noexcept;

    std::optional<Times::iterator> place; // while it is set
};

NetworkTimer::Entry::Times& NetworkTimer::Entry::times()
{
    static auto& all = *new Times; // transfers may be under way while the process ends
    return all;
}

/// It is ready when the first of the times has come.
GSource* NetworkTimer::Entry::source()
{
    static GSource* const made = [] {
        static GSourceFuncs functions = {nullptr, nullptr, &callThoseThatAreDue, nullptr, nullptr, nullptr};
        GSource* source = g_source_new(&functions, sizeof(GSource));
        g_source_set_static_name(source, "LumoKit network timers");
        g_source_attach(source, g_main_context_get_thread_default());
        return source;
    }();
    return made;
}

gboolean NetworkTimer::Entry::callThoseThatAreDue(GSource*, GSourceFunc, gpointer) noexcept
{
    const Microseconds now = g_get_monotonic_time();
    while (!times().empty() && times().begin()->first <= now) {
        Entry& due = *times().begin()->second;
        due.clear();
        const auto work = due.work; // it may destroy its own timer
        work();
    }
    return G_SOURCE_CONTINUE;
}

void NetworkTimer::Entry::set(Microseconds time)
{
    clear();
    if (time == never)
        return;
    place = times().emplace(time, this);
    if (*place == times().begin())
        g_source_set_ready_time(source(), time);
}

void NetworkTimer::Entry::clear()
{
    if (!place)
        return;
    const bool wasFirst = *place == times().begin();
    times().erase(*std::exchange(place, std::nullopt));
    if (wasFirst)
        g_source_set_ready_time(source(), times().empty() ? -1 : times().begin()->first);
}

NetworkTimer::NetworkTimer() = default;

NetworkTimer::NetworkTimer(std::function<void()> work)
    : entry(std::make_unique<Entry>(std::move(work)))
{
}

NetworkTimer::NetworkTimer(NetworkTimer&&) noexcept = default;
NetworkTimer& NetworkTimer::operator=(NetworkTimer&&) noexcept = default;
NetworkTimer::~NetworkTimer() = default;

void NetworkTimer::set(double seconds)
{
    if (entry)
        entry->set(timeAfter(seconds));
}

} // namespace LumoKit::detail
