#pragma once

#include <LumoKit/Platform/Foundation/HTTPHeaderFields.h>
#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace LumoKit {

/// What is known of an answer besides its bytes. It never changes.
///
/// Thread: any.
class URLResponse : public NSObject {
public:
    URLResponse(URL url, std::optional<std::string> mimeType, std::int64_t expectedContentLength,
        std::optional<std::string> textEncodingName)
        : url_(std::move(url))
        , mimeType_(std::move(mimeType))
        , textEncodingName_(std::move(textEncodingName))
        , expectedContentLength_(expectedContentLength)
    {
    }

    /// Where the answer came from: after redirects, another address than was asked.
    [[nodiscard]] const URL& url() const { return url_; }
    /// In lower case, as in "text/html".
    [[nodiscard]] const std::optional<std::string>& mimeType() const { return mimeType_; }
    /// In lower case, as in "utf-8".
    [[nodiscard]] const std::optional<std::string>& textEncodingName() const { return textEncodingName_; }
    /// The bytes that were announced, before any encoding is undone; -1 where none were.
    [[nodiscard]] std::int64_t expectedContentLength() const { return expectedContentLength_; }

private:
    const URL url_;
    const std::optional<std::string> mimeType_;
    const std::optional<std::string> textEncodingName_;
    const std::int64_t expectedContentLength_;
};

/// The answer of a server over HTTP.
///
/// Thread: any.
class HTTPURLResponse : public URLResponse {
public:
    HTTPURLResponse(URL url, int statusCode, HTTPHeaderFields headerFields);

    [[nodiscard]] int statusCode() const { return statusCode_; }
    /// As they were received, those of one name joined by ", ". What is no UTF-8 is replaced by U+FFFD.
    [[nodiscard]] const HTTPHeaderFields& allHeaderFields() const { return headerFields; }
    /// The value of a field, whatever the letter case of its name.
    [[nodiscard]] std::optional<std::string> valueForHTTPHeaderField(std::string_view name) const;

private:
    const int statusCode_;
    const HTTPHeaderFields headerFields;
};

} // namespace LumoKit
