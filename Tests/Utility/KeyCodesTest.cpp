#include <LumoKit/Utility/KeyCodes.h>

#include <gtest/gtest.h>

#include <map>
#include <string>

using namespace LumoKit;

namespace {

using Flags = NSEvent::ModifierFlags;

TEST(ModifierFlags, HaveThePlatformsBits)
{
    EXPECT_EQ(Flags::capsLock.rawValue, 0x10000U);
    EXPECT_EQ(Flags::shift.rawValue, 0x20000U);
    EXPECT_EQ(Flags::control.rawValue, 0x40000U);
    EXPECT_EQ(Flags::option.rawValue, 0x80000U);
    EXPECT_EQ(Flags::command.rawValue, 0x100000U);
    EXPECT_EQ(Flags::numericPad.rawValue, 0x200000U);
    EXPECT_EQ(Flags::help.rawValue, 0x400000U);
    EXPECT_EQ(Flags::function.rawValue, 0x800000U);
}

TEST(ModifierFlags, AreASet)
{
    const Flags both = Flags::shift | Flags::command;
    EXPECT_TRUE(both.contains(Flags::shift));
    EXPECT_FALSE(both.contains(Flags::shift | Flags::option));
    EXPECT_TRUE(both.isDisjoint(Flags::option));
    EXPECT_FALSE(both.isDisjoint(Flags::option | Flags::shift));
    EXPECT_EQ(both & Flags::shift, Flags::shift);
    EXPECT_TRUE(Flags().isEmpty());
}

// They are there before any code runs, and so for every thread at once.
static_assert(KeyCode::a == KeyCode{0, {0x1E0000}} && KeyCode::Z == KeyCode{6, {0x1C0000}});
static_assert(KeyCode::enter == KeyCode{36, {0x1E0000}} && KeyCode::upArrow.matches(126, {}));

TEST(KeyCode, HasThePlaceOfEachNamedKey)
{
    const std::map<std::string, std::pair<KeyCode, int>> plain{{"a", {KeyCode::a, 0}},
        {"b", {KeyCode::b, 11}}, {"c", {KeyCode::c, 8}}, {"d", {KeyCode::d, 2}}, {"e", {KeyCode::e, 14}},
        {"f", {KeyCode::f, 3}}, {"g", {KeyCode::g, 5}}, {"h", {KeyCode::h, 4}}, {"i", {KeyCode::i, 34}},
        {"j", {KeyCode::j, 38}}, {"k", {KeyCode::k, 40}}, {"l", {KeyCode::l, 37}}, {"m", {KeyCode::m, 46}},
        {"n", {KeyCode::n, 45}}, {"o", {KeyCode::o, 31}}, {"p", {KeyCode::p, 35}}, {"q", {KeyCode::q, 12}},
        {"r", {KeyCode::r, 15}}, {"s", {KeyCode::s, 1}}, {"t", {KeyCode::t, 17}}, {"u", {KeyCode::u, 32}},
        {"v", {KeyCode::v, 9}}, {"w", {KeyCode::w, 13}}, {"x", {KeyCode::x, 7}}, {"y", {KeyCode::y, 16}},
        {"z", {KeyCode::z, 6}}, {"one", {KeyCode::one, 18}}, {"two", {KeyCode::two, 19}},
        {"three", {KeyCode::three, 20}}, {"four", {KeyCode::four, 21}}, {"five", {KeyCode::five, 23}},
        {"six", {KeyCode::six, 22}}, {"seven", {KeyCode::seven, 26}}, {"eight", {KeyCode::eight, 28}},
        {"nine", {KeyCode::nine, 25}}, {"zero", {KeyCode::zero, 29}}, {"comma", {KeyCode::comma, 43}},
        {"esc", {KeyCode::esc, 53}}, {"leftArrow", {KeyCode::leftArrow, 123}},
        {"rightArrow", {KeyCode::rightArrow, 124}}, {"downArrow", {KeyCode::downArrow, 125}},
        {"upArrow", {KeyCode::upArrow, 126}}, {"enter", {KeyCode::enter, 36}}};
    EXPECT_EQ(plain.size(), 43U);
    for (const auto& [name, key] : plain) {
        EXPECT_EQ(key.first.rawValue, key.second) << name;
        EXPECT_EQ(key.first.negativeModifiers.rawValue, 0x1E0000U) << name;
    }
    const std::map<std::string, std::pair<KeyCode, KeyCode>> shifted{{"A", {KeyCode::A, KeyCode::a}},
        {"B", {KeyCode::B, KeyCode::b}}, {"C", {KeyCode::C, KeyCode::c}}, {"D", {KeyCode::D, KeyCode::d}},
        {"E", {KeyCode::E, KeyCode::e}}, {"F", {KeyCode::F, KeyCode::f}}, {"G", {KeyCode::G, KeyCode::g}},
        {"H", {KeyCode::H, KeyCode::h}}, {"I", {KeyCode::I, KeyCode::i}}, {"J", {KeyCode::J, KeyCode::j}},
        {"K", {KeyCode::K, KeyCode::k}}, {"L", {KeyCode::L, KeyCode::l}}, {"M", {KeyCode::M, KeyCode::m}},
        {"N", {KeyCode::N, KeyCode::n}}, {"O", {KeyCode::O, KeyCode::o}}, {"P", {KeyCode::P, KeyCode::p}},
        {"Q", {KeyCode::Q, KeyCode::q}}, {"R", {KeyCode::R, KeyCode::r}}, {"S", {KeyCode::S, KeyCode::s}},
        {"T", {KeyCode::T, KeyCode::t}}, {"U", {KeyCode::U, KeyCode::u}}, {"V", {KeyCode::V, KeyCode::v}},
        {"W", {KeyCode::W, KeyCode::w}}, {"X", {KeyCode::X, KeyCode::x}}, {"Y", {KeyCode::Y, KeyCode::y}},
        {"Z", {KeyCode::Z, KeyCode::z}}};
    EXPECT_EQ(shifted.size(), 26U);
    for (const auto& [name, keys] : shifted) {
        EXPECT_EQ(keys.first.rawValue, keys.second.rawValue) << name;
        EXPECT_EQ(keys.first.negativeModifiers.rawValue, 0x1C0000U) << name;
    }
}

TEST(KeyCode, OfALowerCaseLetterIsTheKeyWithoutModifiers)
{
    EXPECT_TRUE(KeyCode::a.matches(0, {}));
    EXPECT_TRUE(KeyCode::a.matches(0, Flags::capsLock | Flags::function | Flags::numericPad));
    EXPECT_FALSE(KeyCode::a.matches(0, Flags::shift));
    EXPECT_FALSE(KeyCode::a.matches(0, Flags::control));
    EXPECT_FALSE(KeyCode::a.matches(0, Flags::option | Flags::capsLock));
    EXPECT_FALSE(KeyCode::a.matches(1, {}));
}

TEST(KeyCode, OfAnUpperCaseLetterIsTheKeyWithShiftAndWithout)
{
    EXPECT_TRUE(KeyCode::A.matches(0, Flags::shift));
    EXPECT_TRUE(KeyCode::A.matches(0, {}));
    EXPECT_FALSE(KeyCode::A.matches(0, Flags::command));
    EXPECT_FALSE(KeyCode::A.matches(0, Flags::shift | Flags::command));
    EXPECT_FALSE(KeyCode::comma.matches(43, Flags::command));
}

TEST(KeyCode, WithoutForbiddenModifiersIsTheKeyWithAny)
{
    const KeyCode key{3};
    EXPECT_TRUE(key.negativeModifiers.isEmpty());
    EXPECT_TRUE(key.matches(3, {}));
    EXPECT_TRUE(key.matches(3, Flags::shift | Flags::control | Flags::option | Flags::command));
    EXPECT_FALSE(key.matches(4, {}));
}

TEST(KeyCode, OfEnterIsNotThatOfTheNumericPad)
{
    EXPECT_FALSE(KeyCode::enter.matches(76, Flags::numericPad));
    EXPECT_TRUE(KeyCode::enter.matches(36, {}));
}

TEST(KeyCode, CanBeChanged)
{
    KeyCode key = KeyCode::f;
    key.rawValue = 5;
    key.negativeModifiers = Flags::command;
    EXPECT_EQ(key, (KeyCode{5, Flags::command}));
}

} // namespace
