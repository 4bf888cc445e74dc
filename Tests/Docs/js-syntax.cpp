// js-syntax: exits 0 if the script on its standard input is one to the engine that pages run in.

#include <jsc/jsc.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

int main()
{
    const std::string script(std::istreambuf_iterator<char>(std::cin), {});
    const std::unique_ptr<JSCContext, decltype(&g_object_unref)> context(jsc_context_new(), g_object_unref);
    JSCException* found = nullptr;
    jsc_context_check_syntax(context.get(), script.data(), static_cast<gssize>(script.size()),
        JSC_CHECK_SYNTAX_MODE_SCRIPT, "snippet.js", 1, &found);
    if (!found)
        return 0;
    const std::unique_ptr<JSCException, decltype(&g_object_unref)> exception(found, g_object_unref);
    std::fprintf(
        stderr, "line %u: %s\n", jsc_exception_get_line_number(found), jsc_exception_get_message(found));
    return 1;
}
