#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>

namespace LumoSuite {

/// A file as a reader has attached it.
struct Attachment {
    std::string id;
    std::string name;
    std::string bytes;
};

/// The files that a reader attaches to messages, in memory as the messages are.
class Attachments {
public:
    /// Units: bytes.
    static constexpr std::size_t largest = 16 * 1024 * 1024;
    /// Of all of them together. Units: bytes.
    static constexpr std::size_t mostBytes = 64 * 1024 * 1024;
    static constexpr std::size_t most = 500;

    /// Whether a text can be a file's name: UTF-8 without control characters, and without what separates folders.
    static bool isName(std::string_view text);

    /// Keeps a file, whose name is one.
    ///
    /// Errors: null where there is no room.
    /// Lifetime: valid until it is removed.
    const Attachment* add(std::string name, std::string_view bytes);

    /// Errors: null when there is none.
    const Attachment* find(std::string_view id) const;

    /// Errors: false when there is none.
    bool remove(std::string_view id);

private:
    std::list<Attachment> held;
    std::size_t total = 0; // bytes
    std::size_t added = 0; // files, ever
};

} // namespace LumoSuite
