#pragma once

#include "Keyring/Keyring.h"
#include "Support/DiskCookieStorage.h"

#include <LumoKit/CookieJar/CookieJar.h>

#include <memory>
#include <mutex>
#include <string>

namespace LumoSuite {

/// Keeps cookies in the desktop's secret service, where no other user and no stolen disk gives them away.
///
/// What the service does not take is printed and goes nowhere else. Nothing asks the user for a password.
///
/// Thread: any. No operation takes longer than a second.
class SecretCookieStorage : public LumoKit::CookieJarStorage {
public:
    /// `application` keeps the suite's applications apart. Entries of `onDisk`, from times without the service, are
    /// moved over one by one when they are asked for, and removed there when the service has them.
    explicit SecretCookieStorage(
        const std::string& application, std::shared_ptr<DiskCookieStorage> onDisk = nullptr);

    /// Whether there is a service that can be used now without asking the user.
    [[nodiscard]] static bool available();

    [[nodiscard]] std::optional<LumoKit::Data> loadData(const std::string& key) override;
    void saveData(const std::string& key, const LumoKit::Data& data) override;

private:
    bool keep(const std::string& key, const LumoKit::Data& data, Keyring::Deadline deadline);

    const Keyring keyring;
    const std::shared_ptr<DiskCookieStorage> onDisk;
    std::timed_mutex mutex; // so that what is moved over does not replace what is saved meanwhile
};

/// The storage for this application's cookies: the secret service where there is one, and otherwise a folder. What
/// is in the folder is moved over once there is one.
[[nodiscard]] std::shared_ptr<LumoKit::CookieJarStorage> makeCookieStorage(
    const std::filesystem::path& folder);

} // namespace LumoSuite
