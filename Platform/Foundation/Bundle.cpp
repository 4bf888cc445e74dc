#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/PropertyList.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <algorithm>
#include <cctype>
#include <iterator>

namespace LumoKit {

namespace fs = std::filesystem;

namespace {

std::optional<Value::Dictionary> readInformation(const fs::path& file)
{
    const auto bytes = readFile(file);
    if (!bytes)
        return std::nullopt;
    const auto list = readPropertyList(std::as_bytes(std::span(*bytes)));
    if (!list || !list->asDictionary())
        return std::nullopt;
    return *list->asDictionary();
}

/// `…/Name.app` for `…/Name.app/Contents/Linux/program`, else the program's folder.
fs::path bundleOf(const fs::path& executable)
{
    fs::path folder = executable.parent_path();
    fs::path bundle = folder.parent_path().parent_path();
    if (folder.filename() == "Linux" && folder.parent_path().filename() == "Contents"
        && bundle.extension() == ".app")
        return bundle;
    return folder;
}

/// None where the value is no array.
Value::Array items(const Value& value)
{
    const auto* array = value.asArray();
    return array ? *array : Value::Array();
}

bool isScheme(const std::string& text)
{
    const auto url = URL::parse(text + ":");
    return url && url->scheme() == text;
}

} // namespace

const Bundle& Bundle::main()
{
    static const Bundle bundle([] {
        std::error_code unreadable;
        fs::path program = fs::read_symlink("/proc/self/exe", unreadable);
        Bundle found(bundleOf(program));
        found.running = std::move(program);
        return found;
    }());
    return bundle;
}

Bundle::Bundle(fs::path path)
    : path_(std::move(path))
{
    const fs::path contents = path_ / "Contents";
    std::error_code ignored;
    const bool isBundle = fs::is_directory(contents, ignored);
    resources = isBundle ? contents / "Resources" : path_;
    if (isBundle)
        information = readInformation(contents / "Info.plist");
}

std::optional<std::string> Bundle::bundleIdentifier() const
{
    const Value identifier = object("CFBundleIdentifier");
    if (const auto* text = identifier.asText())
        return *text;
    return std::nullopt;
}

std::optional<fs::path> Bundle::executablePath() const
{
    if (!running.empty())
        return running;
    const Value entry = object("CFBundleExecutable");
    const auto* name = entry.asText();
    if (name && (name->find('\0') != name->npos || fs::path(*name).filename() != *name))
        return std::nullopt; // it would lead out of the bundle
    const fs::path bundle = path_.has_filename() ? path_ : path_.parent_path();
    const fs::path named = name ? fs::path(*name) : bundle.stem();
    fs::path program = bundle / "Contents" / "Linux" / named;
    std::error_code missing;
    return fs::is_regular_file(program, missing) ? std::optional(std::move(program)) : std::nullopt;
}

Value Bundle::object(std::string_view forInfoDictionaryKey) const
{
    if (!information)
        return {};
    const auto found = information->find(forInfoDictionaryKey);
    return found == information->end() ? Value() : found->second;
}

std::vector<std::string> Bundle::urlSchemes() const
{
    std::vector<std::string> schemes;
    for (const Value& type : items(object("CFBundleURLTypes")))
        for (const Value& entry : items(type["CFBundleURLSchemes"]))
            if (const auto* text = entry.asText(); text && isScheme(*text))
                std::ranges::transform(*text, std::back_inserter(schemes.emplace_back()),
                    [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return schemes;
}

std::optional<fs::path> Bundle::path(std::string_view forResource, std::string_view ofType) const
{
    std::string name(forResource);
    if (!ofType.empty())
        name.append(".").append(ofType);
    if (name.find('\0') != name.npos)
        return std::nullopt;
    std::error_code missing;
    const fs::path root = fs::canonical(resources, missing);
    fs::path file = fs::canonical(resources / fs::path(name).relative_path(), missing);
    if (missing || !fs::is_regular_file(file, missing))
        return std::nullopt;
    // A link that leads out of the bundle is followed no further than a ".." would be.
    const auto [end, rest] = std::ranges::mismatch(root, file);
    if (end != root.end())
        return std::nullopt;
    return file;
}

} // namespace LumoKit
