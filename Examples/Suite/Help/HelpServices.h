#pragma once

#include <LumoKit/CookieJar/CookieJar.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace LumoSuite {

/// What the help window needs of its application.
class HelpServices : public LumoKit::HasCookieJar {
public:
    using Report = std::function<void(const std::string&)>;

    HelpServices(std::optional<LumoKit::URL> form, std::string contact,
        std::shared_ptr<LumoKit::CookieJar> jar, Report report)
        : form(std::move(form))
        , contact(std::move(contact))
        , report(std::move(report))
        , jar(std::move(jar))
    {
    }

    [[nodiscard]] std::shared_ptr<LumoKit::CookieJar> cookieJar() const override { return jar; }

    /// Where requests are written; nothing while the service is not there.
    const std::optional<LumoKit::URL> form;
    /// The address of whoever asks; empty where it is not known.
    const std::string contact;
    const Report report;

private:
    const std::shared_ptr<LumoKit::CookieJar> jar;
};

} // namespace LumoSuite
