// Exits 0 if links ask for what they should, and else says where they do not.

#include "Links.h"

#include "Host.h"

#include <cstdio>

using Host::wishOf;

namespace {

int failures = 0;

void expect(bool holds, const char* what)
{
    if (holds)
        return;
    std::printf("failed: %s\n", what);
    ++failures;
}

} // namespace

int main()
{
    const auto home = Host::home();
    const std::string page = home.absoluteString();

    const auto account = wishOf("@{scheme}://account?email=ada@example.com", home);
    expect(account && account->account == "ada@example.com" && !account->page, "a link to an account");
    const auto open = wishOf("@{scheme}://open_url?url=" + page, home);
    expect(open && open->page && open->page->absoluteString() == page, "a link to a page");

    for (const char* link : {"", "@{scheme}:", "@{scheme}://account", "@{scheme}://account?email=",
             "@{scheme}://other?email=a", "@{scheme}://open_url?url=https://elsewhere.invalid/",
             "@{scheme}://open_url?url=file:///etc/passwd", "@{scheme}://open_url?url=javascript:alert(1)",
             "@{scheme}://open_url?url=%ff"})
        expect(!wishOf(link, home), link);
    return failures == 0 ? 0 : 1;
}
