// lumokit: makes new hosts.
//
//   lumokit new NAME --url URL --id IDENTIFIER --scheme SCHEME [--into FOLDER]
//
// Writes a complete project of a host for the web application at URL, into a folder that is named after it. Exits 0 if
// it is there, 1 if it could not be written, and 2 if something is wrong with what was asked for.

#include "Project.h"

#include <cstdio>
#include <map>
#include <span>

using namespace LumoKit::Generator;
namespace fs = std::filesystem;

namespace {

constexpr const char* usage =
    "usage: lumokit new NAME --url URL --id IDENTIFIER --scheme SCHEME [--into FOLDER]\n"
    "  as in: lumokit new \"My Calendar\" --url https://calendar.example.com/ --id org.example.calendar "
    "--scheme mycal\n";

/// Where this program lies, whatever the prefix was moved to.
fs::path templateFolder()
{
    return fs::read_symlink("/proc/self/exe").parent_path() / LUMOKIT_TEMPLATE_FROM_PROGRAM;
}

int complain(const std::string& what)
{
    std::fprintf(stderr, "lumokit: %s\n", what.c_str());
    return 2;
}

} // namespace

int main(int count, char** words)
{
    const std::span arguments(words, static_cast<std::size_t>(count));
    if (count == 2 && std::string_view(arguments[1]) == "--help")
        return std::fputs(usage, stdout) < 0;
    if (count < 3 || std::string_view(arguments[1]) != "new")
        return std::fputs(usage, stderr), 2;
    std::map<std::string, std::string, std::less<>> options{
        {"--url", ""}, {"--id", ""}, {"--scheme", ""}, {"--into", ""}};
    for (std::size_t index = 3; index < arguments.size(); index += 2) {
        const auto option = options.find(std::string_view(arguments[index]));
        if (option == options.end() || index + 1 == arguments.size())
            return std::fputs(usage, stderr), 2;
        option->second = arguments[index + 1];
    }
    const auto project =
        Project::create({arguments[2], options["--url"], options["--id"], options["--scheme"]});
    if (!project)
        return complain(project.error());
    const fs::path folder =
        options["--into"].empty() ? fs::path(project->folderName()) : fs::path(options["--into"]);
    if (const auto written = project->write(templateFolder(), folder); !written)
        return complain(written.error()), 1;
    std::printf("%s is in %s. To try it:\n\n    cd %s\n    cmake -B build && cmake --build build && ctest "
                "--test-dir build\n",
        arguments[2], folder.c_str(), folder.c_str());
    return 0;
}
