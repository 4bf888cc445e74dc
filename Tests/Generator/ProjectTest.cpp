#include <Generator/Project.h>
#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace LumoKit::Generator;
using LumoKit::Test::TemporaryFolder;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

const Wishes calendar{"My Calendar", "https://calendar.example.com/", "org.example.calendar", "mycal"};

Wishes with(std::string Wishes::* part, std::string value)
{
    Wishes wishes = calendar;
    wishes.*part = std::move(value);
    return wishes;
}

std::string read(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(Project, IsNamedAfterItsName)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"My Calendar", "MyCalendar", "my-calendar"},
        {"mail", "Mail", "mail"},
        {"  Robin's \"Tea\" & <Milk>  ", "RobinsTeaMilk", "robins-tea-milk"},
        {"2 Lists", "Host2Lists", "host2-lists"},
        {"\u65E5\u8A18", "Host", "host"},
        {"../../etc/passwd", "EtcPasswd", "etc-passwd"},
    };
    for (const auto& [name, program, folder] : cases) {
        const auto project = Project::create(with(&Wishes::name, name));
        ASSERT_TRUE(project) << project.error();
        EXPECT_EQ(project->filled("@{program}"), program);
        EXPECT_EQ(project->folderName(), folder);
    }
}

TEST(Project, IsNotMadeOfWhatCannotStandInAHost)
{
    const auto refuses = [](std::string Wishes::* part, const std::vector<std::string>& values,
                             const char* why) {
        for (const std::string& value : values) {
            const auto project = Project::create(with(part, value));
            ASSERT_FALSE(project) << value;
            EXPECT_THAT(project.error(), HasSubstr(why)) << value;
        }
    };
    refuses(&Wishes::name, {"", "   ", "a\nb", std::string("a\0b", 3), std::string(101, 'a')},
        "the name has to be");
    refuses(&Wishes::url,
        {"", "calendar", "/a", "ftp://a.example/", "file:///etc", "https:", "https://",
            "javascript:alert(1)"},
        "--url has to be");
    refuses(&Wishes::identifier,
        {"", "calendar", ".a.b", "a..b", "a.b.", "a.1b", "a b.c", "a.b/c", "a-b.c", "\u00E9.b",
            std::string(255, 'a') + ".b"},
        "--id has to be");
    refuses(
        &Wishes::scheme, {"", "1a", "My", "a b", "a:", "a/b", std::string(65, 'a')}, "--scheme has to be");
    refuses(&Wishes::scheme, {"https", "mailto", "javascript", "file"}, "own");
    for (const auto& [part, value] :
        {std::pair(&Wishes::identifier, "a.b"), {&Wishes::identifier, "_a.b_1.C"}, {&Wishes::scheme, "a"},
            {&Wishes::scheme, "web+tea.2-x"}, {&Wishes::url, "http://a.example:8080/b?c#d"}})
        EXPECT_TRUE(Project::create(with(part, value))) << value;
}

TEST(Project, WritesAValueAsItStandsInAFileOfItsKind)
{
    const auto project = Project::create(with(&Wishes::name, R"(a"b'c<d>e&f\g?h*i)"));
    ASSERT_TRUE(project);
    EXPECT_EQ(project->filled("@{name}"), R"(a"b'c<d>e&f\g?h*i)");
    EXPECT_EQ(project->filled("@{name|xml}"), R"(a&quot;b&#39;c&lt;d&gt;e&amp;f\g?h*i)");
    EXPECT_EQ(project->filled("@{name|cpp}"), R"(a\"b'c<d>e&f\\g\?h*i)");
    EXPECT_EQ(project->filled("@{name|desktop}"), R"(a"b'c<d>e&f\\g?h*i)");
    EXPECT_EQ(project->filled("@{name|markdown}"), R"(a"b'c\<d>e&f\\g?h\*i)");
    EXPECT_EQ(project->filled("@{other} @{unfinished @{scheme"), "@{other} @{unfinished @{scheme");
    EXPECT_EQ(project->filledName("__identifier__.desktop"), "org.example.calendar.desktop");
    EXPECT_EQ(project->filledName("__dot__gitignore"), ".gitignore");
}

TEST(Project, IsNotFilledTwice)
{
    const auto project = Project::create(with(&Wishes::name, "@{scheme}"));
    EXPECT_EQ(project->filled("[@{name}]"), "[@{scheme}]");
}

TEST(Project, IsWrittenFromItsTemplate)
{
    const TemporaryFolder folder;
    fs::create_directories(folder / "template/Tests");
    std::ofstream(folder / "template/__identifier__.desktop") << "Name=@{name|desktop}\n";
    std::ofstream(folder / "template/Tests/run") << "#!/bin/sh\n";
    fs::permissions(folder / "template/Tests/run", fs::perms::owner_all);
    const auto written = Project::create(calendar)->write(folder / "template", folder / "a/b");
    ASSERT_TRUE(written) << written.error();
    EXPECT_EQ(read(folder / "a/b/org.example.calendar.desktop"), "Name=My Calendar\n");
    EXPECT_NE(fs::status(folder / "a/b/Tests/run").permissions() & fs::perms::owner_exec, fs::perms::none);
}

TEST(Project, TouchesNoFolderThatHasSomethingInIt)
{
    const TemporaryFolder folder;
    fs::create_directories(folder / "template");
    fs::create_directories(folder / "taken");
    std::ofstream(folder / "taken/mine") << "mine";
    const auto project = Project::create(calendar);
    EXPECT_THAT(project->write(folder / "template", folder / "taken").error(), HasSubstr("is there already"));
    EXPECT_THAT(
        project->write(folder / "template", folder / "taken/mine").error(), HasSubstr("is there already"));
    EXPECT_EQ(read(folder / "taken/mine"), "mine");
    EXPECT_THAT(
        project->write(folder / "none", folder / "new").error(), HasSubstr("the template is missing"));
    EXPECT_FALSE(fs::exists(folder / "new"));
}

TEST(Project, LeavesNothingBehindWhereItCannotBeWritten)
{
    const TemporaryFolder folder;
    fs::create_directories(folder / "template");
    std::ofstream(folder / "template/a") << "a";
    fs::create_symlink("/nowhere/b", folder / "template/b"); // cannot be read
    const auto project = Project::create(calendar);
    EXPECT_FALSE(project->write(folder / "template", folder / "new"));
    EXPECT_FALSE(fs::exists(folder / "new"));
    fs::create_directories(folder / "empty");
    EXPECT_FALSE(project->write(folder / "template", folder / "empty"));
    EXPECT_THAT(std::vector(fs::directory_iterator(folder / "empty"), {}), IsEmpty());
}

} // namespace
