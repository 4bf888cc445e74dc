#include <LumoKit/Platform/Foundation/Bundle.h>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

using namespace LumoKit;
using namespace std::string_view_literals;
namespace fs = std::filesystem;

namespace {

void write(const fs::path& file, std::string_view content)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

std::string information(std::string_view entries)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + std::string(entries)
        + "</dict></plist>";
}

/// A folder of this test's own, with a bundle that has resources.
class BundleTest : public ::testing::Test {
protected:
    BundleTest()
    {
        std::string pattern = (fs::temp_directory_path() / "bundle-XXXXXX").string();
        folder = fs::canonical(::mkdtemp(pattern.data()));
        app = folder / "Tea.app";
        write(resources() / "inject.js", "brew()");
        write(resources() / "README", "");
        write(resources() / "en" / "menu.txt", "Tea");
        write(folder / "secret.txt", "");
        write(app / "Contents" / "secret.txt", "");
        write(app / "Contents" / "Resources2" / "near.txt", "");
    }
    ~BundleTest() override { fs::remove_all(folder); }

    [[nodiscard]] fs::path resources() const { return app / "Contents" / "Resources"; }
    [[nodiscard]] fs::path list() const { return app / "Contents" / "Info.plist"; }

    fs::path folder;
    fs::path app;
};

// ---- the program
// ----------------------------------------------------------------------------------------------------

TEST_F(BundleTest, HasTheProgramThatItsInformationNames)
{
    EXPECT_EQ(Bundle(app).executablePath(), std::nullopt);
    write(app / "Contents" / "Linux" / "Tea", "");
    EXPECT_EQ(Bundle(app).executablePath(), app / "Contents" / "Linux" / "Tea");
    EXPECT_EQ(Bundle(app / "").executablePath(), app / "Contents" / "Linux" / "Tea");
    write(app / "Contents" / "Linux" / "brew", "");
    write(list(), information("<key>CFBundleExecutable</key><string>brew</string>"));
    EXPECT_EQ(Bundle(app).executablePath(), app / "Contents" / "Linux" / "brew");
    for (const char* name : {"../secret.txt", "missing", "", ".", ".."}) {
        write(list(), information("<key>CFBundleExecutable</key><string>" + std::string(name) + "</string>"));
        EXPECT_EQ(Bundle(app).executablePath(), std::nullopt) << name;
    }
}

TEST_F(BundleTest, RunsTheProgramOfTheMainBundle)
{
    EXPECT_EQ(Bundle::main().executablePath(), fs::read_symlink("/proc/self/exe"));
}

// ---- information
// ----------------------------------------------------------------------------------------------------

TEST_F(BundleTest, ReadsItsInformation)
{
    write(list(), information(R"(
        <key>CFBundleIdentifier</key><string>com.example.tea</string>
        <key>CFBundleVersion</key><integer>42</integer>
        <key>Ratio</key><real>1.5</real>
        <key>Offline</key><true/>
        <key>Built</key><date>2001-01-01T00:01:00Z</date>
        <key>Seal</key><data>AQI=</data>
        <key>Schemes</key><array><string>tea</string><string>pot</string></array>
        <key>Cup</key><dict><key>size</key><integer>3</integer></dict>)"));
    const Bundle bundle(app);
    EXPECT_EQ(bundle.bundlePath(), app);
    EXPECT_EQ(bundle.resourcePath(), resources());
    EXPECT_EQ(bundle.bundleIdentifier(), "com.example.tea");
    ASSERT_TRUE(bundle.infoDictionary().has_value());
    EXPECT_EQ(bundle.infoDictionary()->size(), 8u);
    EXPECT_EQ(bundle.object("CFBundleVersion"), Value(42));
    EXPECT_EQ(bundle.object("Ratio"), Value(1.5));
    EXPECT_EQ(bundle.object("Offline"), Value(true));
    EXPECT_EQ(bundle.object("Built").asDate()->time_since_epoch().count(), 978307260);
    EXPECT_EQ(*bundle.object("Seal").asData(), (Data{std::byte(1), std::byte(2)}));
    EXPECT_EQ(bundle.object("Schemes"), Value(Value::Array{"tea", "pot"}));
    EXPECT_EQ(bundle.object("Cup"), Value(Value::Dictionary{{"size", 3}}));
    EXPECT_TRUE(bundle.object("missing").isNull());
    EXPECT_TRUE(bundle.object("").isNull());
}

TEST_F(BundleTest, KnowsTheSchemesThatItsProgramOpens)
{
    EXPECT_EQ(Bundle(app).urlSchemes(), std::vector<std::string>());
    write(list(), information(R"(<key>CFBundleURLTypes</key><array>
        <dict><key>CFBundleURLSchemes</key><array><string>mailto</string><string>LumoForTea</string></array></dict>
        <string>no type</string><dict/>
        <dict><key>CFBundleURLSchemes</key><string>no array</string></dict>
        <dict><key>CFBundleURLSchemes</key><array>
            <string/><string>a;b</string><string>a:b</string><string>1a</string><string>a b</string><integer>1</integer>
            <string>web+tea.v1-x</string></array></dict></array>)"));
    EXPECT_EQ(Bundle(app).urlSchemes(), (std::vector<std::string>{"mailto", "lumofortea", "web+tea.v1-x"}));
    write(list(), information("<key>CFBundleURLTypes</key><string>mailto</string>"));
    EXPECT_EQ(Bundle(app).urlSchemes(), std::vector<std::string>());
}

TEST_F(BundleTest, ReadsBinaryInformation)
{
    // One dictionary with the entry CFBundleIdentifier; the offsets of the three objects; the trailer.
    write(list(),
        "bplist00\xD1\x01\x02\x5F\x10\x12"
        "CFBundleIdentifier\x5F\x10\x0F"
        "com.example.tea"
        "\x08\x0B\x20\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x32"sv);
    const Bundle bundle(app);
    EXPECT_EQ(bundle.bundleIdentifier(), "com.example.tea");
    EXPECT_EQ(bundle.infoDictionary()->size(), 1u);
}

TEST_F(BundleTest, HasNoInformationWithoutAReadableList)
{
    struct Case {
        const char* what;
        std::string content;
    };
    for (const auto& [what, content] : {
             Case{"empty", ""},
             Case{"text", "not a property list"},
             Case{"cut off", information("<key>CFBundleIdentifier</key><string>com.exa").substr(0, 100)},
             Case{"cut off binary", "bplist00\xD1"},
             Case{"a list", "<plist version=\"1.0\"><array><string>a</string></array></plist>"},
             Case{"a text", "<plist version=\"1.0\"><string>a</string></plist>"},
         }) {
        write(list(), content);
        const Bundle bundle(app);
        EXPECT_EQ(bundle.infoDictionary(), std::nullopt) << what;
        EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt) << what;
        EXPECT_TRUE(bundle.object("CFBundleIdentifier").isNull()) << what;
        EXPECT_TRUE(bundle.path("inject", "js").has_value()) << what; // the resources are there all the same
    }
}

TEST_F(BundleTest, HasNoInformationWithoutAList)
{
    const Bundle bundle(app);
    EXPECT_EQ(bundle.infoDictionary(), std::nullopt);
    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
    EXPECT_TRUE(bundle.object("CFBundleIdentifier").isNull());
}

TEST_F(BundleTest, HasNoInformationWhereTheListIsAFolder)
{
    fs::create_directories(list());
    const Bundle bundle(app);
    EXPECT_EQ(bundle.infoDictionary(), std::nullopt);
}

TEST_F(BundleTest, HasEmptyInformationFromAnEmptyDictionary)
{
    write(list(), information(""));
    const Bundle bundle(app);
    ASSERT_TRUE(bundle.infoDictionary().has_value());
    EXPECT_TRUE(bundle.infoDictionary()->empty());
    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
}

TEST_F(BundleTest, HasNoIdentifierThatIsNoText)
{
    write(list(), information("<key>CFBundleIdentifier</key><integer>5</integer>"));
    const Bundle bundle(app);
    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
    EXPECT_EQ(bundle.object("CFBundleIdentifier"), Value(5));
}

TEST_F(BundleTest, ReadsAHugeList)
{
    const std::string text(8'000'000, 'x');
    write(list(), information("<key>Long</key><string>" + text + "</string>"));
    const Bundle bundle(app);
    EXPECT_EQ(bundle.object("Long").asText()->size(), text.size());
}

TEST_F(BundleTest, DoesNotChangeOnceItWasRead)
{
    write(list(), information("<key>CFBundleIdentifier</key><string>com.example.tea</string>"));
    const Bundle bundle(app);
    write(list(), information("<key>CFBundleIdentifier</key><string>com.example.coffee</string>"));
    EXPECT_EQ(bundle.bundleIdentifier(), "com.example.tea");
}

TEST_F(BundleTest, IsAPlainFolderWithoutContents)
{
    write(folder / "plain" / "inject.js", "");
    write(folder / "plain" / "Info.plist", information("<key>CFBundleIdentifier</key><string>a</string>"));
    const Bundle bundle(folder / "plain");
    EXPECT_EQ(bundle.resourcePath(), folder / "plain");
    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
    EXPECT_EQ(bundle.path("inject", "js"), folder / "plain" / "inject.js");
}

TEST_F(BundleTest, MayBeMissing)
{
    const Bundle bundle(folder / "Missing.app");
    EXPECT_EQ(bundle.bundlePath(), folder / "Missing.app");
    EXPECT_EQ(bundle.infoDictionary(), std::nullopt);
    EXPECT_EQ(bundle.path("inject", "js"), std::nullopt);
}

// ---- resources
// ------------------------------------------------------------------------------------------------------

TEST_F(BundleTest, FindsResources)
{
    const Bundle bundle(app);
    EXPECT_EQ(bundle.path("inject", "js"), resources() / "inject.js");
    EXPECT_EQ(bundle.path("inject.js", ""), resources() / "inject.js");
    EXPECT_EQ(bundle.path("README", ""), resources() / "README");
    EXPECT_EQ(bundle.path("en/menu", "txt"), resources() / "en" / "menu.txt");
    EXPECT_EQ(bundle.path("en/../inject", "js"), resources() / "inject.js");
    EXPECT_EQ(bundle.path("../Resources/inject", "js"), resources() / "inject.js");
}

TEST_F(BundleTest, FindsNothingThatIsNoFileInTheResources)
{
    const Bundle bundle(app);
    struct Case {
        std::string_view name;
        std::string_view type;
    };
    for (const auto& [name, type] : {
             Case{"missing", "js"},
             {"inject", ""},
             {"inject", ".js"},
             {"inject", "js "},
             {"INJECT", "js"},
             {"inject", "js\0"sv},
             {"inject.js\0"sv, ""},
             {"inject\0x"sv, "js"},
             {"", ""},
             {"", "js"},
             {".", ""},
             {"..", ""},
             {"en", ""},
             {"en/", ""},
             {"../secret", "txt"},
             {"../../../secret", "txt"},
             {"en/../../secret", "txt"},
             {"../Resources2/near", "txt"},
             {"inject.js/../inject", "js"},
             {"/etc/passwd", ""},
             {"//etc/passwd", ""},
             {"../../../../../../../../../../etc/passwd", ""},
         })
        EXPECT_EQ(bundle.path(name, type), std::nullopt) << name << ' ' << type;
    EXPECT_EQ(bundle.path((folder / "secret").string(), "txt"), std::nullopt);
    EXPECT_EQ(bundle.path(std::string(5000, 'x'), "js"), std::nullopt);
    EXPECT_EQ(bundle.path("in\u00FCject", "js"), std::nullopt);
}

TEST_F(BundleTest, FollowsLinksWithinTheResourcesOnly)
{
    fs::create_symlink("inject.js", resources() / "inside.js");
    fs::create_symlink(folder / "secret.txt", resources() / "outside.txt");
    fs::create_symlink("../secret.txt", resources() / "above.txt");
    fs::create_directory_symlink(folder, resources() / "elsewhere");
    fs::create_symlink("missing.js", resources() / "dangling.js");
    fs::create_symlink("loop.js", resources() / "loop.js");
    const Bundle bundle(app);
    EXPECT_EQ(bundle.path("inside", "js"), resources() / "inject.js");
    EXPECT_EQ(bundle.path("outside", "txt"), std::nullopt);
    EXPECT_EQ(bundle.path("above", "txt"), std::nullopt);
    EXPECT_EQ(bundle.path("elsewhere/secret", "txt"), std::nullopt);
    EXPECT_EQ(bundle.path("dangling", "js"), std::nullopt);
    EXPECT_EQ(bundle.path("loop", "js"), std::nullopt);
}

TEST_F(BundleTest, FindsResourcesThroughALinkToTheBundle)
{
    fs::create_directory_symlink(app, folder / "Link.app");
    const Bundle bundle(folder / "Link.app");
    const auto found = bundle.path("inject", "js");
    ASSERT_TRUE(found.has_value());
    EXPECT_TRUE(fs::equivalent(*found, resources() / "inject.js"));
}

// ---- the program's own
// ----------------------------------------------------------------------------------------------

TEST(MainBundle, IsTheFolderOfAProgramOutsideOfABundle)
{
    const fs::path program = fs::read_symlink("/proc/self/exe");
    const Bundle& bundle = Bundle::main();
    EXPECT_EQ(bundle.bundlePath(), program.parent_path());
    EXPECT_EQ(bundle.resourcePath(), program.parent_path());
    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
    EXPECT_EQ(bundle.infoDictionary(), std::nullopt);
    EXPECT_EQ(&bundle, &Bundle::main());
}

TEST(MainBundle, FindsFilesBesideAProgramOutsideOfABundle)
{
    const fs::path program = fs::read_symlink("/proc/self/exe");
    EXPECT_EQ(Bundle::main().path(program.filename().string(), ""), program);
}

/// Also runs in copies of this program that lie elsewhere, and what it prints is read; see below.
TEST(MainBundle, HasAnIdentifierOnlyWithinABundle)
{
    const bool within = Bundle::main().bundlePath().extension() == ".app";
    EXPECT_EQ(Bundle::main().bundleIdentifier().has_value(), within);
    std::printf("bundle <%s> <%s> <%s>\n", Bundle::main().bundlePath().c_str(),
        Bundle::main().bundleIdentifier().value_or("none").c_str(),
        Bundle::main().path("inject", "js").value_or("none").c_str());
}

/// What a copy of this program at `program` says of its bundle.
std::string told(const fs::path& program)
{
    fs::create_directories(program.parent_path());
    fs::copy_file("/proc/self/exe", program);
    const std::string command =
        "'" + program.string() + "' --gtest_filter=MainBundle.HasAnIdentifierOnlyWithinABundle";
    std::FILE* output = ::popen(command.c_str(), "r");
    std::string text;
    for (int character = 0; (character = std::fgetc(output)) != EOF;)
        text += static_cast<char>(character);
    EXPECT_EQ(::pclose(output), 0) << text;
    const auto begin = text.find("bundle <");
    return begin == text.npos ? text : text.substr(begin, text.find('\n', begin) - begin);
}

TEST_F(BundleTest, IsFoundFromTheProgramInIt)
{
    write(list(), information("<key>CFBundleIdentifier</key><string>com.example.tea</string>"));
    EXPECT_EQ(told(app / "Contents" / "Linux" / "Tea"),
        "bundle <" + app.string() + "> <com.example.tea> <" + (resources() / "inject.js").string() + ">");
}

TEST_F(BundleTest, IsNotFoundFromAFolderThatOnlyResemblesOne)
{
    for (const auto* place : {"Tea/Contents/Linux", "Tea.app/Contents/Other", "Tea.app/Other/Linux"}) {
        const fs::path home = folder / "like" / place;
        EXPECT_EQ(told(home / "Tea"), "bundle <" + home.string() + "> <none> <none>");
    }
}

} // namespace
