#include <LumoKit/Models/SuiteStorageKeys.h>

#include <gtest/gtest.h>

#include <optional>

using namespace LumoKit;

namespace {

TEST(SuiteStorageKeys, AreKnownByTheirRawValues)
{
    EXPECT_EQ(rawValue(SuiteStorageKeys::accounts), "accounts");
    EXPECT_EQ(fromRawValue<SuiteStorageKeys>("accounts"), SuiteStorageKeys::accounts);
}

TEST(SuiteStorageKeys, AreNothingForAnyOtherText)
{
    for (const char* text : {"Accounts", "ACCOUNTS", "accountS", "account", "accounts ", ""})
        EXPECT_EQ(fromRawValue<SuiteStorageKeys>(text), std::nullopt) << text;
}

} // namespace
