#include "ApplicationKit/CommandLineLinks.h"
#include "ApplicationKit/DesktopEntry.h"

#include <LumoKit/Platform/ApplicationKit/LaunchServices.h>
#include <LumoKit/Platform/Foundation/Files.h>

#include <Support/LinkSession.h>
#include <gmock/gmock.h>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::HasSubstr;

namespace {

using Texts = std::vector<std::string>;
namespace fs = std::filesystem;

class LaunchServicesTest : public LinkSession {
protected:
    [[nodiscard]] fs::path entry() const
    {
        return folder / "data" / "applications" / "com.example.LinkHost.desktop";
    }
    [[nodiscard]] std::string entryText() const { return readFile(entry()).value_or("no entry"); }
};

TEST_F(LaunchServicesTest, SaysByReadingBackWhetherTheApplicationIsTheOne)
{
    EXPECT_EQ(run(host(), {"--default", "mailto"}).output, "none\n");
    const auto made = run(host(), {"--register", "mailto"});
    EXPECT_EQ(made.output, "it is\n");
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(run(host(), {"--default", "mailto"}).output, "com.example.LinkHost\n");
    EXPECT_EQ(run(host(), {"--default", "lumotest"}).output, "none\n"); // it was asked for one scheme
}

TEST_F(LaunchServicesTest, TakesASchemeInAnyLetterCase)
{
    EXPECT_EQ(run(host(), {"--register", "MailTo"}).output, "it is\n");
    EXPECT_EQ(run(host(), {"--default", "MAILTO"}).output, "com.example.LinkHost\n");
}

TEST_F(LaunchServicesTest, WritesAnEntryForAllSchemesOfTheBundle)
{
    ASSERT_TRUE(registerHost("mailto"));
    EXPECT_EQ(entryText(),
        "[Desktop Entry]\nType=Application\nName=Link Host\nExec=\"" + host().string()
            + "\" %U\nStartupNotify=true\nMimeType=x-scheme-handler/lumotest;x-scheme-handler/mailto;\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(entry().parent_path()), {}), 1); // nothing half written
}

TEST_F(LaunchServicesTest, TakesThePlaceOfAnotherApplication)
{
    fs::create_directories(entry().parent_path());
    std::ofstream(entry().parent_path() / "com.example.other.desktop")
        << "[Desktop Entry]\nType=Application\nName=Other\nExec=/bin/true "
           "%u\nMimeType=x-scheme-handler/mailto;\n";
    std::ofstream(folder / "config" / "mimeapps.list")
        << "[Default "
           "Applications]\nx-scheme-handler/mailto=com.example.other.desktop\ntext/plain=mine.desktop\n";
    ASSERT_EQ(run(host(), {"--default", "mailto"}).output, "com.example.other\n");
    EXPECT_TRUE(registerHost("mailto"));
    EXPECT_EQ(run(host(), {"--default", "mailto"}).output, "com.example.LinkHost\n");
    EXPECT_THAT(readFile(folder / "config" / "mimeapps.list").value(), HasSubstr("text/plain=mine.desktop"));
}

TEST_F(LaunchServicesTest, SaysWhenTheDesktopKeepsAnother)
{
    fs::create_directories(entry().parent_path());
    std::ofstream(entry().parent_path() / "com.example.other.desktop")
        << "[Desktop Entry]\nType=Application\nName=Other\nExec=/bin/true "
           "%u\nMimeType=x-scheme-handler/mailto;\n";
    // What a desktop of this name prefers counts more than what the user has in all desktops.
    ::setenv("XDG_CURRENT_DESKTOP", "Stubborn", 1);
    std::ofstream(folder / "config" / "stubborn-mimeapps.list")
        << "[Default Applications]\nx-scheme-handler/mailto=com.example.other.desktop\n";
    const auto outcome = run(host(), {"--register", "mailto"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, HasSubstr("com.example.other"));
}

TEST_F(LaunchServicesTest, LeavesAnEntryThatStartsTheProgramAsItIs)
{
    ASSERT_TRUE(registerHost("mailto"));
    const std::string text = entryText() + "Icon=of-the-package\n";
    writeInPlace(entry(), text);
    EXPECT_TRUE(registerHost("lumotest"));
    EXPECT_EQ(entryText(), text);
}

TEST_F(LaunchServicesTest, WritesTheEntryAnewWhenItStartsAnotherProgramOrKnowsTooLittle)
{
    ASSERT_TRUE(registerHost("mailto"));
    const std::string right = entryText();
    for (const char* wrong :
        {"Exec=/bin/true %u\nMimeType=x-scheme-handler/lumotest;x-scheme-handler/mailto;\n",
            "Exec=", "\xff\xfe"}) {
        writeInPlace(entry(), std::string("[Desktop Entry]\nType=Application\nName=Old\n") + wrong);
        EXPECT_TRUE(registerHost("lumotest"));
        EXPECT_EQ(entryText(), right) << wrong;
    }
    writeInPlace(entry(),
        "[Desktop Entry]\nType=Application\nName=Old\nExec=\"" + host().string()
            + "\" %u\nMimeType=x-scheme-handler/mailto;\n");
    EXPECT_TRUE(registerHost("lumotest"));
    EXPECT_EQ(entryText(), right);
}

TEST_F(LaunchServicesTest, RefusesASchemeThatTheBundleDoesNotName)
{
    for (const char* scheme : {"https", "", "lumotest:", "x/y", "mailto;text/html"}) {
        const auto outcome = run(host(), {"--register", scheme});
        EXPECT_EQ(outcome.status, 1) << scheme;
        EXPECT_THAT(outcome.output, HasSubstr("CFBundleURLTypes"));
    }
    EXPECT_FALSE(fs::exists(entry()));
}

TEST_F(LaunchServicesTest, RefusesAProgramOutsideOfABundle)
{
    const auto made = LaunchServices::setDefaultHandler("mailto");
    ASSERT_FALSE(made);
    EXPECT_THAT(made.error().description, HasSubstr("no bundle"));
}

TEST_F(LaunchServicesTest, SaysWhenNothingCanBeWritten)
{
    writeInPlace(folder / "data" / "applications", "a file where the folder should be");
    const auto outcome = run(host(), {"--register", "mailto"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output, "");
}

class OddPath : public LaunchServicesTest, public testing::WithParamInterface<const char*> { };

TEST_P(OddPath, IsStartedByTheDesktop)
{
    const fs::path moved = folder / GetParam() / "LinkHost.app";
    fs::create_directory(moved.parent_path());
    fs::copy(bundle(), moved, fs::copy_options::recursive);
    const auto made = run(executable(moved), {"--register", "lumotest"});
    ASSERT_EQ(made.output, "it is\n");
    EXPECT_EQ(run("gio", {"open", "lumotest:it's \"odd\" $HOME %u \\"}).status, 0);
    EXPECT_EQ(reported("link ").size(), 1U);
    const auto started = reported("started ");
    ASSERT_EQ(started.size(), 1U);
    EXPECT_EQ(fs::read_symlink("/proc/" + started.front() + "/exe"), executable(moved));
}

INSTANTIATE_TEST_SUITE_P(LaunchServicesTest, OddPath,
    testing::Values("with a space", "quotes ' and \"", "back\\slash", "$HOME `id` $(id)",
        "a;b&c|d<e>f*g?h#i~j(k)", "percent %u %% %", "equal=sign", "line\nfeed\tand tab", "Füße ✓",
        "ends with \\"));

TEST(DesktopEntry, QuotesAsItsSpecificationSays)
{
    // A backslash is escaped twice: within the quotes, and within the value.
    EXPECT_THAT(detail::desktopEntry("N", R"(/a "b" $c `d` \e)", {}),
        HasSubstr(R"(Exec="/a \\"b\\" \\$c \\`d\\` \\\\e" %U)"
                  "\n"));
    EXPECT_THAT(detail::desktopEntry("N", "/a\nb\tc\rd", {}), HasSubstr("Exec=\"/a\\nb\\tc\\rd\" %U\n"));
    EXPECT_THAT(detail::desktopEntry("N", "/a=%b", {}),
        HasSubstr(R"(Exec=/bin/sh -c "exec \\"\\$@\\"" sh "/a=%%b" %U)"
                  "\n"));
}

TEST(DesktopEntry, HoldsNameAndSchemes)
{
    EXPECT_EQ(detail::desktopEntry(" A\\B\nExec=/bin/false", "/p", {"a", "b-c"}),
        "[Desktop Entry]\nType=Application\nName=\\sA\\\\B\\nExec=/bin/false\nExec=\"/p\" "
        "%U\nStartupNotify=true\n"
        "MimeType=x-scheme-handler/a;x-scheme-handler/b-c;\n");
}

TEST(CommandLineLinks, AreArgumentsThatBeginWithAScheme)
{
    using namespace std::string_view_literals;
    const Texts schemes{"mailto", "lumo+1"};
    EXPECT_EQ(
        detail::linksOn(
            "mailto:program\0mailto:a\0--page\0https://b\0MAILTO:c\0lumo+1://d\0lumo:e\0mailto\0\0f\0"sv,
            schemes),
        (Texts{"mailto:a", "MAILTO:c", "lumo+1://d"}));
    EXPECT_EQ(detail::linksOn("program\0mailto:no end"sv, schemes), Texts{"mailto:no end"});
    EXPECT_EQ(detail::linksOn("program\0mailto:\xff\0 mailto:a\0:\0"sv, schemes), Texts{});
    EXPECT_EQ(detail::linksOn("program\0mailto:a\0"sv, {}), Texts{});
    EXPECT_EQ(detail::linksOn(""sv, schemes), Texts{});
    EXPECT_EQ(detail::linksOn("mailto:program"sv, schemes), Texts{});
}

} // namespace
