#include <LumoKit/Platform/Native/Source.h>

#include <gtest/gtest.h>

#include <functional>
#include <utility>

using LumoKit::detail::Source;

namespace {

/// A main loop of its own, and sources in it that count their calls.
class SourceTest : public ::testing::Test {
protected:
    struct Counter {
        int calls = 0;
        bool released = false;
        std::function<void()> called;
    };

    SourceTest()
        : context(g_main_context_new())
    {
    }
    ~SourceTest() override { g_main_context_unref(context); }

    GSource* create(Counter& counter)
    {
        GSource* source = g_idle_source_new();
        g_source_set_callback(
            source,
            +[](gpointer data) -> gboolean {
                auto* counted = static_cast<Counter*>(data);
                ++counted->calls;
                if (counted->called)
                    counted->called();
                return G_SOURCE_CONTINUE;
            },
            &counter, +[](gpointer data) { static_cast<Counter*>(data)->released = true; });
        g_source_attach(source, context);
        return source;
    }
    void turn() { g_main_context_iteration(context, FALSE); }

    GMainContext* context;
};

TEST_F(SourceTest, RunsWhileItIsHeld)
{
    Counter counter;
    const Source source = Source::adopt(create(counter));
    EXPECT_TRUE(source);
    turn();
    turn();
    EXPECT_EQ(counter.calls, 2);
    EXPECT_FALSE(counter.released);
}

TEST_F(SourceTest, LeavesItsLoopOnDestruction)
{
    Counter counter;
    {
        const Source source = Source::adopt(create(counter));
    }
    EXPECT_TRUE(counter.released);
    turn();
    EXPECT_EQ(counter.calls, 0);
}

TEST_F(SourceTest, TakesOverTheCallersReference)
{
    Counter counter;
    GSource* native = g_source_ref(create(counter));
    {
        const Source source = Source::adopt(native);
        EXPECT_EQ(source.get(), native);
    }
    EXPECT_TRUE(g_source_is_destroyed(native));
    g_source_unref(native); // the last one: a leak or a double release shows under the sanitizers
}

TEST_F(SourceTest, MayBeDestroyedByItsOwnCallback)
{
    Counter counter;
    Source source = Source::adopt(create(counter));
    counter.called = [&] { source = {}; };
    turn();
    turn();
    EXPECT_EQ(counter.calls, 1);
    EXPECT_TRUE(counter.released);
    EXPECT_FALSE(source);
}

TEST_F(SourceTest, DestroysTheOldSourceOnMoveAssignment)
{
    Counter first;
    Counter second;
    Source source = Source::adopt(create(first));
    Source other = Source::adopt(create(second));
    source = std::move(other);
    EXPECT_FALSE(other); // NOLINT(bugprone-use-after-move): empty by contract
    turn();
    EXPECT_TRUE(first.released);
    EXPECT_EQ(first.calls, 0);
    EXPECT_EQ(second.calls, 1);
}

TEST_F(SourceTest, MovesWithoutLeavingItsLoop)
{
    Counter counter;
    Source source = Source::adopt(create(counter));
    const Source moved(std::move(source));
    EXPECT_FALSE(source); // NOLINT(bugprone-use-after-move): empty by contract
    turn();
    EXPECT_EQ(counter.calls, 1);
}

TEST_F(SourceTest, StaysWhenAssignedToItself)
{
    Counter counter;
    Source source = Source::adopt(create(counter));
    auto& same = source;
    source = std::move(same);
    turn();
    EXPECT_EQ(counter.calls, 1);
}

TEST_F(SourceTest, IsEmptyAtFirst)
{
    const Source source;
    EXPECT_FALSE(source);
    EXPECT_EQ(source.get(), nullptr);
}

} // namespace
