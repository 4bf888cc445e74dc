#include "URLNative.h"

#include <boost/url/parse.hpp>

#include <charconv>
#include <filesystem>

namespace LumoKit {

namespace {

std::string decoded(boost::urls::pct_string_view encoded)
{
    std::string text;
    return encoded.decode({}, boost::urls::string_token::assign_to(text));
}

std::string_view plain(boost::core::string_view text)
{
    return {text.data(), text.size()};
}

bool isPathMistaken(const boost::urls::url_view& view)
{
    const std::string_view path = plain(view.encoded_path());
    return view.has_authority() && !path.empty() && !path.starts_with('/');
}

} // namespace

std::optional<URL> URL::parse(std::string_view text)
{
    if (text.empty())
        return std::nullopt; // a same-document reference to the grammar, but to nobody who asks for an
            // address
    auto parsed = std::make_shared<Parsed>(text);
    auto result = boost::urls::parse_uri_reference(parsed->text);
    if (!result)
        return std::nullopt;
    // RFC 3986, section 3.3: "If a URI contains an authority component, then the path component must either
    // be empty or begin with a slash". Boost.URL 1.81 takes the longest part of an authority that it knows
    // and calls the rest the path, so that "http://127.0.0.1.evil.example" has the host 127.0.0.1. A host
    // that only begins like an address is a name; with its first digit percent-encoded it is read as one.
    // This may go with Boost 1.81.
    if (isPathMistaken(*result) && result->host_type() == boost::urls::host_type::ipv4) {
        const auto host = static_cast<std::size_t>(result->encoded_host().data() - parsed->text.data());
        parsed->withEncodedHost = parsed->text;
        parsed->withEncodedHost.replace(host, 1, std::string("%3") + parsed->text[host]);
        result = boost::urls::parse_uri_reference(parsed->withEncodedHost);
        if (!result)
            return std::nullopt;
    }
    if (isPathMistaken(*result))
        return std::nullopt;
    parsed->view = *result;
    return URL(std::move(parsed));
}

URL URL::fileURL(std::string_view path)
{
    // RFC 3986, section 3.3: pchar without ":" stands for itself, and "/" separates.
    static constexpr std::string_view kept =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,;=@/";
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text = "file://";
    std::error_code ignored; // without a working directory the path stays as it is
    for (const char character : std::filesystem::absolute(std::filesystem::path(path), ignored).string()) {
        if (kept.find(character) != kept.npos) {
            text += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            text.append({'%', digits[byte >> 4], digits[byte & 15]});
        }
    }
    return *parse(text);
}

const std::string& URL::absoluteString() const
{
    return parsed->text;
}

std::optional<std::string> URL::scheme() const
{
    if (!parsed->view.has_scheme())
        return std::nullopt;
    return std::string(plain(parsed->view.scheme()));
}

std::optional<std::string> URL::user() const
{
    if (!parsed->view.has_userinfo())
        return std::nullopt;
    return decoded(parsed->view.encoded_user());
}

std::optional<std::string> URL::password() const
{
    if (!parsed->view.has_password())
        return std::nullopt;
    return std::string(plain(parsed->view.encoded_password()));
}

std::optional<std::string> URL::host() const
{
    if (!parsed->view.has_authority() || parsed->view.encoded_authority().empty())
        return std::nullopt;
    return decoded(parsed->view.encoded_host_address());
}

std::optional<std::int64_t> URL::port() const
{
    const std::string_view digits = plain(parsed->view.port());
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (digits.empty() || error != std::errc())
        return std::nullopt;
    return number;
}

std::string URL::path() const
{
    std::string path = decoded(parsed->view.encoded_path());
    if (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return path;
}

std::string URL::percentEncodedPath() const
{
    return std::string(plain(parsed->view.encoded_path()));
}

std::optional<std::string> URL::query() const
{
    if (!parsed->view.has_query())
        return std::nullopt;
    return std::string(plain(parsed->view.encoded_query()));
}

std::optional<std::string> URL::fragment() const
{
    if (!parsed->view.has_fragment())
        return std::nullopt;
    return std::string(plain(parsed->view.encoded_fragment()));
}

std::string URL::lastPathComponent() const
{
    std::string path = percentEncodedPath();
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    if (const auto slash = path.rfind('/'); slash != path.npos && path.size() > 1)
        path.erase(0, slash + 1);
    return decoded(
        *boost::urls::make_pct_string_view(path)); // a part of what was parsed: its escapes are whole
}

bool URL::isFileURL() const
{
    return parsed->view.scheme_id() == boost::urls::scheme::file;
}

bool URL::operator==(const URL& other) const
{
    return parsed == other.parsed || parsed->text == other.parsed->text;
}

} // namespace LumoKit
