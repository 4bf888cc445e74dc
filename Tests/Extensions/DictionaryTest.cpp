#include "Support/Printing.h"

#include <LumoKit/Extensions/Dictionary.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <unordered_map>

using namespace LumoKit;

namespace {

template <class Map> class DictionaryUpdate : public ::testing::Test { };
using Maps = ::testing::Types<std::map<std::string, int>, std::unordered_map<std::string, int>>;
TYPED_TEST_SUITE(DictionaryUpdate, Maps);

TYPED_TEST(DictionaryUpdate, TakesNewEntriesReplacesOthersAndKeepsTheRest)
{
    TypeParam dictionary{{"kept", 1}, {"replaced", 2}};
    const TypeParam other{{"replaced", 3}, {"new", 4}};
    update(dictionary, other);
    EXPECT_EQ(dictionary, (TypeParam{{"kept", 1}, {"replaced", 3}, {"new", 4}}));
    EXPECT_EQ(other, (TypeParam{{"replaced", 3}, {"new", 4}}));
}

TYPED_TEST(DictionaryUpdate, ChangesNothingWithAnEmptyOne)
{
    TypeParam dictionary{{"a", 1}};
    update(dictionary, {});
    EXPECT_EQ(dictionary, (TypeParam{{"a", 1}}));
}

TYPED_TEST(DictionaryUpdate, CopiesIntoAnEmptyOne)
{
    TypeParam dictionary;
    update(dictionary, {{"a", 1}, {"b", 2}});
    EXPECT_EQ(dictionary, (TypeParam{{"a", 1}, {"b", 2}}));
}

TYPED_TEST(DictionaryUpdate, ChangesNothingWithItself)
{
    TypeParam dictionary{{"a", 1}, {"b", 2}};
    update(dictionary, dictionary);
    EXPECT_EQ(dictionary, (TypeParam{{"a", 1}, {"b", 2}}));
}

TEST(DictionaryUpdateOfValues, ReplacesWholeValues)
{
    Value::Dictionary dictionary{{"a", Value::Dictionary{{"x", 1}}}, {"b", 2}};
    update(dictionary, {{"a", Value::Dictionary{{"y", 2}}}, {"b", nullptr}});
    EXPECT_EQ(
        Value(dictionary), Value(Value::Dictionary{{"a", Value::Dictionary{{"y", 2}}}, {"b", nullptr}}));
}

} // namespace
