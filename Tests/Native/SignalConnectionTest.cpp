#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

using LumoKit::detail::SignalConnection;

// An object with one signal, "asked", that takes a number and wants one back.

struct AskingObject {
    GObject base;
};
struct AskingObjectClass {
    GObjectClass base;
};

namespace {

G_DEFINE_TYPE(AskingObject, asking_object, G_TYPE_OBJECT)

void asking_object_init(AskingObject*)
{
}

void asking_object_class_init(AskingObjectClass* type)
{
    g_signal_new("asked", G_TYPE_FROM_CLASS(type), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr,
        G_TYPE_INT, 1, G_TYPE_INT);
}

class Emitter {
public:
    Emitter()
        : object(G_OBJECT(g_object_new(asking_object_get_type(), nullptr)))
    {
    }
    Emitter(const Emitter&) = delete;
    Emitter& operator=(const Emitter&) = delete;
    ~Emitter() { release(); }

    int ask(int number)
    {
        int answer = -1;
        g_signal_emit_by_name(object, "asked", number, &answer);
        return answer;
    }
    void release()
    {
        if (object)
            g_object_unref(std::exchange(object, nullptr));
    }
    template <class Handler> SignalConnection connect(Handler handler)
    {
        return SignalConnection::connect<int(GObject*, int)>(object, "asked", std::move(handler));
    }

    GObject* object;
};

TEST(SignalConnection, HandsTheHandlersValueToTheSignal)
{
    Emitter emitter;
    GObject* seen = nullptr;
    const auto connection = emitter.connect([&](GObject* object, int number) {
        seen = object;
        return number * 2;
    });
    EXPECT_EQ(emitter.ask(21), 42);
    EXPECT_EQ(seen, emitter.object);
    EXPECT_EQ(emitter.ask(-4), -8);
}

TEST(SignalConnection, KeepsAHandlerThatCanOnlyBeMoved)
{
    Emitter emitter;
    const auto connection =
        emitter.connect([number = std::make_unique<int>(3)](auto*, int) { return *number; });
    EXPECT_EQ(emitter.ask(0), 3);
}

TEST(SignalConnection, DisconnectsOnDestruction)
{
    Emitter emitter;
    int calls = 0;
    {
        const auto connection = emitter.connect([&](auto*, int) { return ++calls; });
        emitter.ask(0);
    }
    emitter.ask(0);
    EXPECT_EQ(calls, 1);
}

TEST(SignalConnection, ReleasesItsHandlerOnDestruction)
{
    Emitter emitter;
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> watched(captured);
    {
        const auto connection =
            emitter.connect([captured = std::move(captured)](auto*, int) { return *captured; });
        EXPECT_FALSE(watched.expired());
    }
    EXPECT_TRUE(watched.expired());
}

TEST(SignalConnection, OutlivesItsEmitter)
{
    Emitter emitter;
    auto captured = std::make_shared<int>(1);
    const std::weak_ptr<int> watched(captured);
    const auto connection =
        emitter.connect([captured = std::move(captured)](auto*, int) { return *captured; });
    EXPECT_TRUE(connection.isConnected());
    emitter.release();
    EXPECT_FALSE(connection.isConnected());
    EXPECT_TRUE(watched.expired());
}

TEST(SignalConnection, DoesNotKeepItsEmitter)
{
    Emitter emitter;
    bool gone = false;
    g_object_weak_ref(
        emitter.object, +[](gpointer flag, GObject*) { *static_cast<bool*>(flag) = true; }, &gone);
    const auto connection = emitter.connect([](auto*, int) { return 0; });
    emitter.release();
    EXPECT_TRUE(gone);
}

TEST(SignalConnection, LetsItsHandlerDestroyIt)
{
    Emitter emitter;
    std::optional<SignalConnection> connection;
    int calls = 0;
    connection.emplace(emitter.connect([&, kept = std::make_shared<int>(7)](auto*, int) {
        ++calls;
        connection.reset();
        return *kept; // what the handler captured is there until it returns
    }));
    EXPECT_EQ(emitter.ask(0), 7);
    emitter.ask(0);
    EXPECT_EQ(calls, 1);
}

TEST(SignalConnection, LetsItsHandlerReleaseTheEmitter)
{
    Emitter emitter;
    const auto connection = emitter.connect([&, kept = std::make_shared<int>(7)](auto*, int) {
        emitter.release();
        return *kept;
    });
    EXPECT_EQ(emitter.ask(0), 7);
    EXPECT_FALSE(connection.isConnected());
}

TEST(SignalConnection, LetsItsHandlerDisposeOfTheEmitter)
{
    int complaints = 0;
    const auto previous = g_log_set_default_handler(
        +[](const gchar*, GLogLevelFlags, const gchar*, gpointer count) { ++*static_cast<int*>(count); },
        &complaints);
    Emitter emitter;
    std::optional<SignalConnection> connection;
    connection.emplace(emitter.connect([&](auto*, int) {
        g_object_run_dispose(emitter.object); // as a widget is that is destroyed by a click on it
        connection.reset();
        return 0;
    }));
    emitter.ask(0);
    g_log_set_default_handler(previous, nullptr);
    EXPECT_EQ(complaints, 0);
}

TEST(SignalConnection, LetsItsHandlerReplaceIt)
{
    Emitter emitter;
    std::vector<int> called;
    SignalConnection connection;
    connection = emitter.connect([&](auto*, int) {
        called.push_back(1);
        connection = emitter.connect([&](auto*, int) {
            called.push_back(2);
            return 0;
        });
        return 0;
    });
    emitter.ask(0); // a handler that is connected during an emission is not called in it
    emitter.ask(0);
    EXPECT_EQ(called, (std::vector{1, 2}));
}

TEST(SignalConnection, DisconnectsTheOldHandlerOnMoveAssignment)
{
    Emitter emitter;
    std::vector<int> called;
    auto first = emitter.connect([&](auto*, int) {
        called.push_back(1);
        return 0;
    });
    auto second = emitter.connect([&](auto*, int) {
        called.push_back(2);
        return 0;
    });
    first = std::move(second);
    EXPECT_TRUE(first.isConnected());
    EXPECT_FALSE(second.isConnected()); // NOLINT(bugprone-use-after-move): empty by contract
    emitter.ask(0);
    EXPECT_EQ(called, std::vector{2});
    first = {};
    EXPECT_FALSE(first.isConnected());
    emitter.ask(0);
    EXPECT_EQ(called, std::vector{2});
}

TEST(SignalConnection, MovesWithoutDisconnecting)
{
    Emitter emitter;
    auto connection = emitter.connect([](auto*, int) { return 5; });
    const SignalConnection moved(std::move(connection));
    EXPECT_FALSE(connection.isConnected()); // NOLINT(bugprone-use-after-move): empty by contract
    EXPECT_TRUE(moved.isConnected());
    EXPECT_EQ(emitter.ask(0), 5);
}

TEST(SignalConnection, StaysConnectedWhenAssignedToItself)
{
    Emitter emitter;
    auto connection = emitter.connect([](auto*, int) { return 5; });
    auto& same = connection;
    connection = std::move(same);
    EXPECT_TRUE(connection.isConnected());
    EXPECT_EQ(emitter.ask(0), 5);
}

TEST(SignalConnection, IsConnectedToNothingAtFirst)
{
    SignalConnection connection;
    EXPECT_FALSE(connection.isConnected());
}

TEST(SignalConnectionDeathTest, EndsTheProcessWhenItsHandlerThrows)
{
    Emitter emitter;
    const auto connection =
        emitter.connect([](auto*, int) -> int { throw std::runtime_error("from a handler"); });
    EXPECT_DEATH(emitter.ask(0), "from a handler");
}

} // namespace
