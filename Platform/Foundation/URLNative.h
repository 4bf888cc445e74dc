#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <boost/url/url_view.hpp>

namespace LumoKit {

/// What the copies of a URL share.
struct URL::Parsed {
    explicit Parsed(std::string_view written)
        : text(written)
    {
    }

    std::string text;
    std::string withEncodedHost; // see URL::parse()
    boost::urls::url_view view; // into one of the two
};

} // namespace LumoKit
