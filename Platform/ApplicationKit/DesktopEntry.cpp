#include "DesktopEntry.h"

namespace LumoKit::detail {

namespace {

/// "The escape sequences \s, \n, \t, \r, and \\ are supported for values of type string."
std::string escaped(std::string_view value)
{
    std::string text;
    for (const char character : value) {
        switch (character) {
        case '\n':
            text += "\\n";
            break;
        case '\t':
            text += "\\t";
            break;
        case '\r':
            text += "\\r";
            break;
        case '\\':
            text += "\\\\";
            break;
        default:
            text += character;
        }
    }
    if (text.starts_with(' ')) // it would be taken for part of the "="
        text.replace(0, 1, "\\s");
    return text;
}

/// "Quoting must be done by enclosing the argument between double quotes and escaping the double quote character,
/// backtick character ("`"), dollar sign ("$") and backslash character ("\") by preceding it with an additional
/// backslash character." A literal percent sign is "%%".
std::string quoted(std::string_view argument)
{
    std::string text = "\"";
    for (const char character : argument) {
        if (std::string_view("\"`$\\").contains(character))
            text += '\\';
        text += character;
        if (character == '%')
            text += '%';
    }
    return text + '"';
}

/// "The name or path of the executable program may not contain the equal sign", and desktops look for the program
/// before they read "%%" as "%". A shell finds such a program, and becomes it.
std::string commandLine(std::string_view program)
{
    if (program.find_first_of("=%") == program.npos)
        return quoted(program);
    return "/bin/sh -c " + quoted("exec \"$@\"") + " sh " + quoted(program);
}

} // namespace

std::string desktopEntry(
    std::string_view name, std::string_view program, const std::vector<std::string>& schemes)
{
    std::string text = "[Desktop Entry]\nType=Application\nName=" + escaped(name)
        + "\nExec=" + escaped(commandLine(program) + " %U") + "\nStartupNotify=true\nMimeType=";
    for (const std::string& scheme : schemes)
        text += "x-scheme-handler/" + scheme + ";";
    return text + "\n";
}

} // namespace LumoKit::detail
