#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gtest/gtest.h>

#include <utility>

using LumoKit::detail::ObjectPtr;

namespace {

/// An object of GObject's that tells whether it still exists.
class Watched {
public:
    explicit Watched(GType type = G_TYPE_OBJECT)
        : object(G_OBJECT(g_object_new(type, nullptr)))
    {
        g_object_weak_ref(object, +[](gpointer flag, GObject*) { *static_cast<bool*>(flag) = true; }, &gone);
    }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

    [[nodiscard]] guint references() const { return object->ref_count; }

    GObject* const object;
    bool gone = false;
};

TEST(ObjectPtr, AdoptsTheReferenceThatTheCallerOwned)
{
    Watched watched;
    {
        const auto pointer = ObjectPtr<GObject>::adopt(watched.object);
        EXPECT_EQ(pointer.get(), watched.object);
        EXPECT_EQ(watched.references(), 1u);
    }
    EXPECT_TRUE(watched.gone);
}

TEST(ObjectPtr, SinksTheFloatingReferenceThatItAdopts)
{
    Watched watched(G_TYPE_INITIALLY_UNOWNED);
    ASSERT_TRUE(g_object_is_floating(watched.object));
    {
        const auto pointer = ObjectPtr<GObject>::adopt(watched.object);
        EXPECT_FALSE(g_object_is_floating(watched.object));
        EXPECT_EQ(watched.references(), 1u);
    }
    EXPECT_TRUE(watched.gone);
}

TEST(ObjectPtr, AdoptsAnObjectThatSomebodySankBefore)
{
    Watched watched(G_TYPE_INITIALLY_UNOWNED);
    g_object_ref_sink(watched.object);
    {
        const auto pointer = ObjectPtr<GObject>::adopt(watched.object);
        EXPECT_EQ(watched.references(), 1u);
    }
    EXPECT_TRUE(watched.gone);
}

TEST(ObjectPtr, RetainsBesideTheOwner)
{
    Watched watched;
    {
        const auto pointer = ObjectPtr<GObject>::retain(watched.object);
        EXPECT_EQ(watched.references(), 2u);
    }
    EXPECT_FALSE(watched.gone);
    EXPECT_EQ(watched.references(), 1u);
    g_object_unref(watched.object);
    EXPECT_TRUE(watched.gone);
}

TEST(ObjectPtr, KeepsTheObjectAfterItsOwnerLetGo)
{
    Watched watched;
    const auto pointer = ObjectPtr<GObject>::retain(watched.object);
    g_object_unref(watched.object);
    EXPECT_FALSE(watched.gone);
}

TEST(ObjectPtr, CopiesHoldOneReferenceEach)
{
    Watched watched;
    {
        const auto pointer = ObjectPtr<GObject>::adopt(watched.object);
        {
            const ObjectPtr<GObject> copy(pointer);
            EXPECT_EQ(copy.get(), pointer.get());
            EXPECT_EQ(watched.references(), 2u);
        }
        EXPECT_EQ(watched.references(), 1u);
        EXPECT_FALSE(watched.gone);
    }
    EXPECT_TRUE(watched.gone);
}

TEST(ObjectPtr, MovesWithoutTouchingTheCount)
{
    Watched watched;
    auto pointer = ObjectPtr<GObject>::adopt(watched.object);
    const ObjectPtr<GObject> moved(std::move(pointer));
    EXPECT_EQ(moved.get(), watched.object);
    EXPECT_EQ(pointer.get(), nullptr); // NOLINT(bugprone-use-after-move): empty by contract
    EXPECT_EQ(watched.references(), 1u);
}

TEST(ObjectPtr, ReleasesWhatItHeldWhenItIsAssigned)
{
    Watched first;
    Watched second;
    Watched third;
    auto pointer = ObjectPtr<GObject>::adopt(first.object);
    const auto other = ObjectPtr<GObject>::adopt(second.object);
    pointer = other;
    EXPECT_TRUE(first.gone);
    EXPECT_EQ(second.references(), 2u);
    pointer = ObjectPtr<GObject>::adopt(third.object);
    EXPECT_EQ(second.references(), 1u);
    EXPECT_EQ(third.references(), 1u);
    pointer = {};
    EXPECT_TRUE(third.gone);
    EXPECT_FALSE(second.gone);
}

TEST(ObjectPtr, SurvivesAssignmentToItself)
{
    Watched watched;
    auto pointer = ObjectPtr<GObject>::adopt(watched.object);
    auto& same = pointer;
    pointer = same;
    EXPECT_EQ(pointer.get(), watched.object);
    EXPECT_EQ(watched.references(), 1u);
    pointer = std::move(same);
    EXPECT_EQ(pointer.get(), watched.object);
    EXPECT_EQ(watched.references(), 1u);
    EXPECT_FALSE(watched.gone);
}

TEST(ObjectPtr, HoldsNullThroughEveryDoor)
{
    const ObjectPtr<GObject> none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_FALSE(ObjectPtr<GObject>::adopt(nullptr));
    EXPECT_FALSE(ObjectPtr<GObject>::retain(nullptr));
    ObjectPtr<GObject> copy(none);
    copy = none;
    const ObjectPtr<GObject> moved(std::move(copy));
    EXPECT_FALSE(moved);
}

TEST(ObjectPtr, IsTrueForAnObject)
{
    Watched watched;
    EXPECT_TRUE(ObjectPtr<GObject>::adopt(watched.object));
}

} // namespace
