#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LumoSuite {

/// A name and an address, as a message carries them.
struct Person {
    std::string name;
    std::string address;
    // The path of a picture; empty for none.
    std::string image;

    bool operator==(const Person&) const = default;
};

/// What a message says of a file that is attached to it.
struct AttachedFile {
    std::string id;
    std::string name;
    std::size_t size = 0; // bytes

    bool operator==(const AttachedFile&) const = default;
};

/// One message of a conversation.
struct Message {
    Person from;
    Person to;
    std::chrono::sys_seconds sentAt;
    std::string text;
    std::vector<AttachedFile> attachments;

    bool operator==(const Message&) const = default;
};

/// Messages under one subject, oldest first, with the marks that the reader gave them; never without a
/// message.
struct Conversation {
    std::string id;
    std::string subject;
    // Whoever the reader is talking to, although the reader may have begun.
    Person correspondent;
    // Empty where there is none.
    std::string label;
    bool unread = false;
    bool done = false;
    bool starred = false;
    std::vector<Message> messages;

    bool operator==(const Conversation&) const = default;
};

/// The marks that a request sets; a mark without a value stays as it is.
struct MarkChange {
    std::optional<bool> done;
    std::optional<bool> unread;
    std::optional<bool> starred;

    bool operator==(const MarkChange&) const = default;
};

/// A message that the reader writes.
struct Draft {
    // Addresses; never none.
    std::vector<std::string> to;
    std::string subject;
    std::string text;
    // Identifiers of files that were attached before.
    std::vector<std::string> attachments;

    bool operator==(const Draft&) const = default;
};

/// The conversations of one reader, newest first.
class Mailbox {
public:
    /// The readers that there are samples for.
    static const std::vector<Person>& sampleOwners();

    /// A mailbox of sample conversations of one of them, whose times lie before the given one.
    static Mailbox sample(std::chrono::sys_seconds now, std::size_t owner = 0);

    /// The reader, who is the sender of some of the messages.
    const Person& owner() const;

    /// Every conversation, newest first.
    const std::vector<Conversation>& conversations() const;

    /// The conversation with an identifier.
    ///
    /// Errors: null when there is none.
    /// Lifetime: valid as long as the mailbox.
    const Conversation* find(std::string_view id) const;

    /// Sets marks of the conversation with an identifier and gives the conversation as it is then.
    ///
    /// Errors: null when there is none.
    /// Lifetime: valid as long as the mailbox.
    const Conversation* change(std::string_view id, const MarkChange& marks);

    /// Begins a conversation, which is done, with a message of the reader's.
    ///
    /// Errors: null when there are too many.
    /// Lifetime: valid until the next one.
    const Conversation* begin(
        const Draft& draft, std::vector<AttachedFile> attachments, std::chrono::sys_seconds now);

private:
    Person reader;
    std::vector<Conversation> held;
};

} // namespace LumoSuite
