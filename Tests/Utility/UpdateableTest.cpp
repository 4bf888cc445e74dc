#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Utility/Updateable.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

using namespace LumoKit;

namespace {

struct Style : Updateable<Style> {
    int width = 1;
    std::string name = "plain";

    bool operator==(const Style&) const = default;
};

class Cup : public std::enable_shared_from_this<Cup>, public Updateable<Cup> {
public:
    int level = 0;
};

/// A platform object, whose base knows its shared owners.
class Kettle : public NSObject, public Updateable<Kettle> {
public:
    int level = 0;
};

TEST(UpdateableValue, GivesAChangedCopyAndStaysAsItIs)
{
    const Style plain;
    const Style wide = plain.updated([](Style& style) { style.width = 10; });
    EXPECT_EQ(wide.width, 10);
    EXPECT_EQ(wide.name, "plain");
    EXPECT_EQ(plain, Style());
}

TEST(UpdateableValue, StaysAsItIsAlsoWhenItCouldChange)
{
    Style plain;
    static_cast<void>(plain.updated([](Style& style) { style.name = "wide"; }));
    EXPECT_EQ(plain, Style());
}

TEST(UpdateableValue, IsChangedStepByStep)
{
    const Style style = Style()
                            .updated([](Style& copy) { copy.width = 2; })
                            .updated([](Style& copy) { copy.name = "wide"; })
                            .updated([](Style& copy) { copy.width *= 3; });
    EXPECT_EQ(style.width, 6);
    EXPECT_EQ(style.name, "wide");
}

TEST(UpdateableValue, MayBeReplacedByTheCallback)
{
    Style other;
    other.name = "other";
    EXPECT_EQ(Style().updated([&](Style& style) { style = other; }), other);
}

TEST(UpdateableValue, IsGivenByItsOwnType)
{
    static_assert(std::is_same_v<decltype(Style().updated([](Style&) { })), Style>);
    static_assert(std::is_same_v<decltype(std::declval<const Style&>().updated([](Style&) { })), Style>);
}

TEST(UpdateableValue, CallsTheCallbackOnce)
{
    int calls = 0;
    static_cast<void>(Style().updated([&, kept = std::make_unique<int>(1)](Style&) { calls += *kept; }));
    EXPECT_EQ(calls, 1);
}

TEST(UpdateableValue, LetsTheCallbackThrow)
{
    const Style plain;
    EXPECT_THROW(static_cast<void>(plain.updated([](Style& style) {
        style.width = 5;
        throw 1;
    })),
        int);
    EXPECT_EQ(plain, Style());
}

template <class Object> class UpdateableReference : public ::testing::Test { };
using References = ::testing::Types<Cup, Kettle>;
TYPED_TEST_SUITE(UpdateableReference, References);

TYPED_TEST(UpdateableReference, IsChangedThroughUpdated)
{
    const auto object = std::make_shared<TypeParam>();
    const std::shared_ptr<TypeParam> same = object->updated([](auto& variable) { variable->level = 3; });
    EXPECT_EQ(same, object);
    EXPECT_EQ(object->level, 3);
}

TYPED_TEST(UpdateableReference, IsChangedThroughUpdate)
{
    const auto object = std::make_shared<TypeParam>();
    object->update([](std::shared_ptr<TypeParam>& variable) { variable->level = 3; });
    EXPECT_EQ(object->level, 3);
}

TYPED_TEST(UpdateableReference, IsNotReplacedByUpdate)
{
    const auto object = std::make_shared<TypeParam>();
    const auto other = std::make_shared<TypeParam>();
    object->update([&](std::shared_ptr<TypeParam>& variable) {
        variable->level = 1;
        variable = other;
        variable->level = 2;
    });
    EXPECT_EQ(object->level, 1);
    EXPECT_EQ(other->level, 2);
}

TYPED_TEST(UpdateableReference, GivesWhatTheCallbackPutIntoTheVariable)
{
    const auto object = std::make_shared<TypeParam>();
    const auto other = std::make_shared<TypeParam>();
    EXPECT_EQ(object->updated([&](std::shared_ptr<TypeParam>& variable) { variable = other; }), other);
    EXPECT_EQ(object->level, 0);
}

TYPED_TEST(UpdateableReference, LivesUntilTheCallbackHasReturned)
{
    auto object = std::make_shared<TypeParam>();
    const std::weak_ptr<TypeParam> watched(object);
    TypeParam& borrowed = *object;
    borrowed.update([&](std::shared_ptr<TypeParam>& variable) {
        object.reset();
        EXPECT_FALSE(watched.expired());
        variable->level = 4;
    });
    EXPECT_TRUE(watched.expired());
}

TYPED_TEST(UpdateableReference, HandsOutAConstantReferenceOfAConstantObject)
{
    const std::shared_ptr<const TypeParam> object = std::make_shared<TypeParam>();
    const auto same = object->updated([](auto& variable) { EXPECT_EQ(variable->level, 0); });
    static_assert(std::is_same_v<decltype(same), const std::shared_ptr<const TypeParam>>);
    EXPECT_EQ(same, object);
}

} // namespace
