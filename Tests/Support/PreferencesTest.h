#pragma once

#include "Support/Peer.h"
#include "Support/Printing.h"
#include "Support/TemporaryFolder.h"

#include <LumoKit/Platform/Foundation/UserDefaults.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <thread>

namespace LumoKit::Test {

/// A configuration folder of a test's own, and what it needs of a preferences domain in it.
class PreferencesTest : public testing::Test {
protected:
    PreferencesTest() { ::setenv("XDG_CONFIG_HOME", configuration.path.c_str(), 1); }

    static std::shared_ptr<UserDefaults> open() { return UserDefaults::create(domain); }

    [[nodiscard]] std::filesystem::path folder() const
    {
        return configuration / "lumokit" / "preferences" / domain;
    }
    [[nodiscard]] std::filesystem::path database() const { return folder() / "preferences.db"; }

    /// The files in the domain's folder whose names begin with `prefix`.
    [[nodiscard]] std::vector<std::filesystem::path> files(const std::string& prefix) const
    {
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder()))
            if (entry.path().filename().string().starts_with(prefix))
                found.push_back(entry.path());
        return found;
    }

    /// Waits until the condition holds, for twenty seconds at most.
    static bool waitUntil(const std::function<bool()>& condition)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            std::this_thread::yield();
        }
        return true;
    }

    static constexpr const char* domain = "com.example.test";
    TemporaryFolder configuration;
};

} // namespace LumoKit::Test
