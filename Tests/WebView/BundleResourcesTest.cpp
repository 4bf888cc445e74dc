#include "Support/WebPage.h"

#include <LumoKit/WebView/BundleResources.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace LumoKit;
using LumoKit::Test::waitUntil;
using LumoKit::Test::WebPage;
namespace fs = std::filesystem;

class BundleResourcesTest : public testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() / ("bundle-" + std::to_string(::getpid()));
        const fs::path resources = folder / "Test.app" / "Contents" / "Resources";
        fs::create_directories(resources / "sub");
        write(folder / "secret.txt", "secret");
        write(resources / "index.html",
            "<!DOCTYPE html><title>bundled</title><link rel=stylesheet href=style.css>"
            "<script type=module src='sub/main.js'></script>");
        write(resources / "style.css", "body { color: rgb(1, 2, 3) }");
        write(resources / "sub" / "main.js", "import {name} from './other.mjs'; document.body.id = name");
        write(resources / "sub" / "other.mjs", "export const name = 'module'");
        write(resources / "a b%c.txt", "odd name");
        fs::create_symlink(folder / "secret.txt", resources / "link.txt");
        configuration->setURLSchemeHandler(
            std::make_shared<BundleResources>(Bundle(folder / "Test.app")), "lumo-bundle");
        page.emplace(configuration);
    }
    void TearDown() override { fs::remove_all(folder); }

    static void write(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }

    /// Status and text of an address, as a page of the bundle gets it.
    Value fetched(const std::string& address)
    {
        return page
            ->messageAfter("fetch('" + address
                + "').then(async r => webkit.messageHandlers.test.postMessage([r.status, await r.text()]))"
                  ".catch(e => webkit.messageHandlers.test.postMessage('' + e)); undefined")
            .value_or(Value("no answer"));
    }

    fs::path folder;
    std::shared_ptr<WKWebViewConfiguration> configuration = std::make_shared<WKWebViewConfiguration>();
    std::optional<WebPage> page;
};

TEST_F(BundleResourcesTest, ServesAPageWithItsStylesAndModules)
{
    page->view->load(*URL::parse("lumo-bundle://app/"));
    ASSERT_TRUE(waitUntil([&] { return page->navigation->saw("finish"); }));
    EXPECT_EQ(page->evaluate("document.title").first, Value("bundled"));
    EXPECT_EQ(page->evaluate("getComputedStyle(document.body).color").first, Value("rgb(1, 2, 3)"));
    EXPECT_TRUE(waitUntil([&] { return page->evaluate("document.body.id").first == Value("module"); }));
}

TEST_F(BundleResourcesTest, ServesNothingFromOutside)
{
    page->view->load(*URL::parse("lumo-bundle://app/index.html"));
    ASSERT_TRUE(waitUntil([&] { return page->navigation->saw("finish"); }));
    EXPECT_EQ(fetched("/a%20b%25c.txt"), Value(Value::Array{200, "odd name"}));
    for (const char* address : {"/missing.txt", "/link.txt", "/sub", "/..%2f..%2f..%2fsecret.txt",
             "/%2e%2e/%2e%2e/%2e%2e/secret.txt", "/sub/%00", "/%2fetc%2fpasswd", "/..%2f..%2fInfo.plist"})
        EXPECT_EQ(fetched(address)[0], Value(404)) << address;
}

} // namespace
