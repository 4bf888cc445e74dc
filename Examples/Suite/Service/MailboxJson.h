#pragma once

#include "Mailbox.h"

#include <expected>
#include <string>
#include <string_view>

namespace LumoSuite {

/// The mailbox as the JSON text of a list: its owner and its conversations without their messages.
///
/// Source: RFC 8259 (JSON), RFC 3339 (times, in UTC).
std::string listText(const Mailbox& mailbox);

/// A conversation as JSON text, with its messages.
std::string recordText(const Conversation& conversation);

/// What is new in a mailbox, for a page that asks in the background: whose it is and how many conversations are unread.
std::string newsText(const Mailbox& mailbox);

/// The readers who can sign in, for the page where they do.
std::string ownersText(const std::vector<Person>& owners);

/// A failure as the JSON text of an object with the field "error".
std::string errorText(std::string_view message);

/// Reads the marks that a request body sets: an object with at least one of the boolean fields "done",
/// "unread" and "starred", and no other field.
///
/// Errors: a sentence that says what is wrong with the text.
std::expected<MarkChange, std::string> readMarkChange(std::string_view text);

/// Reads a message to send: an object with "to", a list of one to a hundred texts that are not empty, and the texts
/// "subject" and "text", maybe "attachments", a list of at most fifty texts, and no other field.
///
/// Errors: a sentence that says what is wrong with the text.
std::expected<Draft, std::string> readDraft(std::string_view text);

/// What is said of a file that was attached.
std::string attachedText(const AttachedFile& file);

/// The recommended user agent, in the form of the suite's account service.
std::string userAgentText(std::string_view userAgent);

/// What the service does of the script for hosts: what it has, a newer one, bytes that are no text, or nothing at all.
enum class InjectState { current, next, broken, gone };

/// Reads an object with the text "state", one of "current", "next", "broken" and "gone".
///
/// Errors: a sentence that says what is wrong with the text.
std::expected<InjectState, std::string> readInjectState(std::string_view text);

/// Who wants to sign in.
struct SignIn {
    std::string address;
    std::string password;
};

/// Reads an object with the texts "address" and "password", and no other field.
///
/// Errors: a sentence that says what is wrong with the text.
std::expected<SignIn, std::string> readSignIn(std::string_view text);

/// What somebody asks those who make the suite.
struct HelpRequest {
    std::string contact;
    std::string question;
    std::string facts; // of the application; may be empty
};

/// Reads an object with the texts "contact", "question" and "facts", the first two not empty, and no other field.
///
/// Errors: a sentence that says what is wrong with the text.
std::expected<HelpRequest, std::string> readHelpRequest(std::string_view text);

/// By which number a request is known.
std::string helpNumberText(std::size_t number);

} // namespace LumoSuite
