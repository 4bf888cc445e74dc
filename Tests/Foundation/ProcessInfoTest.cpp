#include "Foundation/OperatingSystemVersion.h"

#include <LumoKit/Platform/Foundation/ProcessInfo.h>

#include <gmock/gmock.h>
#include <sys/utsname.h>

#include <fstream>
#include <string>

using namespace LumoKit;

namespace {

TEST(ProcessInfo, NamesTheSystemAndItsKernel)
{
    const std::string version = ProcessInfo::operatingSystemVersionString();
    utsname kernel{};
    ASSERT_EQ(::uname(&kernel), 0);
    const std::string end = std::string(kernel.sysname) + " " + kernel.release;
    EXPECT_TRUE(version.ends_with(end)) << version;

    std::ifstream release("/etc/os-release");
    for (std::string line; std::getline(release, line);)
        if (line.starts_with("PRETTY_NAME=\"") && line.ends_with('"')) {
            EXPECT_EQ(version, line.substr(13, line.size() - 14) + ", " + end);
        }
}

TEST(ProcessInfo, ReadsAVersionsNumbers)
{
    const auto version = [](int major, int minor, int patch) {
        return OperatingSystemVersion{major, minor, patch};
    };
    EXPECT_EQ(detail::versionIn("12"), version(12, 0, 0));
    EXPECT_EQ(detail::versionIn("22.04"), version(22, 4, 0));
    EXPECT_EQ(detail::versionIn("15.1.3"), version(15, 1, 3));
    EXPECT_EQ(detail::versionIn("1.2.3.4"), version(1, 2, 3));
    EXPECT_EQ(detail::versionIn("6.1.0-13-amd64"), version(6, 1, 0));
    EXPECT_EQ(detail::versionIn("40rawhide"), version(40, 0, 0));
    for (const char* text : {"", "rolling", ".1", "-1.2", "99999999999"})
        EXPECT_EQ(detail::versionIn(text), version(0, 0, 0)) << text;
    EXPECT_EQ(detail::versionIn("7.99999999999.3"), version(7, 0, 0));
}

TEST(ProcessInfo, HasTheVersionOfTheDistributionOrOfTheKernel)
{
    utsname kernel{};
    ASSERT_EQ(::uname(&kernel), 0);
    std::string expected = kernel.release;
    std::ifstream release("/etc/os-release");
    for (std::string line; std::getline(release, line);)
        if (line.starts_with("VERSION_ID="))
            expected = line.substr(line.find_first_of("0123456789"));
    EXPECT_EQ(ProcessInfo::operatingSystemVersion(), detail::versionIn(expected));
}

} // namespace
