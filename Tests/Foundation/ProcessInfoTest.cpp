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

} // namespace
