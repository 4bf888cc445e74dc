#include "MailboxJson.h"

#include "JsonText.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace LumoSuite {

namespace {

constexpr std::size_t longestSnippet = 160;

std::string timeText(std::chrono::sys_seconds time)
{
    std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    std::array<char, 32> text{};
    if (!::gmtime_r(&seconds, &parts))
        return {};
    return std::string(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts));
}

std::string snippet(std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    auto repeated =
        std::ranges::unique(text, [](char first, char second) { return first == ' ' && second == ' '; });
    text.erase(repeated.begin(), repeated.end());
    if (text.size() <= longestSnippet)
        return text;
    std::size_t end = longestSnippet;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80)
        --end;
    text.resize(end);
    return text;
}

Json attachedJson(const AttachedFile& file)
{
    return {{"id", file.id}, {"name", file.name}, {"size", file.size}};
}

Json summaryJson(const Conversation& conversation)
{
    const Message& last = conversation.messages.back();
    return {
        {"id", conversation.id},
        {"subject", conversation.subject},
        {"from", personJson(conversation.correspondent)},
        {"snippet", snippet(last.text)},
        {"label", conversation.label},
        {"unread", conversation.unread},
        {"done", conversation.done},
        {"starred", conversation.starred},
        {"receivedAt", timeText(last.sentAt)},
        {"messageCount", conversation.messages.size()},
    };
}

} // namespace

std::string listText(const Mailbox& mailbox)
{
    Json conversations = Json::array();
    for (const Conversation& conversation : mailbox.conversations())
        conversations.push_back(summaryJson(conversation));
    return jsonText({{"owner", personJson(mailbox.owner())}, {"conversations", std::move(conversations)}});
}

std::string recordText(const Conversation& conversation)
{
    Json messages = Json::array();
    for (const Message& message : conversation.messages) {
        Json attachments = Json::array();
        for (const AttachedFile& file : message.attachments)
            attachments.push_back(attachedJson(file));
        messages.push_back({
            {"from", personJson(message.from)},
            {"to", personJson(message.to)},
            {"sentAt", timeText(message.sentAt)},
            {"text", message.text},
            {"attachments", std::move(attachments)},
        });
    }
    Json record = summaryJson(conversation);
    record["messages"] = std::move(messages);
    return jsonText(record);
}

std::string newsText(const Mailbox& mailbox)
{
    const auto unread = std::ranges::count_if(mailbox.conversations(),
        [](const Conversation& conversation) { return conversation.unread && !conversation.done; });
    return jsonText({{"owner", personJson(mailbox.owner())}, {"unread", unread}});
}

std::string ownersText(const std::vector<Person>& owners)
{
    Json people = Json::array();
    for (const Person& owner : owners)
        people.push_back(personJson(owner));
    return jsonText({{"accounts", std::move(people)}});
}

std::string errorText(std::string_view message)
{
    return jsonText({{"error", message}});
}

std::expected<MarkChange, std::string> readMarkChange(std::string_view text)
{
    Json body = Json::parse(text, nullptr, false);
    if (body.is_discarded())
        return std::unexpected("The body is not JSON.");
    if (!body.is_object() || body.empty())
        return std::unexpected("The body has to be an object with \"done\", \"unread\" or \"starred\".");

    MarkChange marks;
    for (const auto& [name, value] : body.items()) {
        std::optional<bool>* mark = name == "done" ? &marks.done
            : name == "unread"                     ? &marks.unread
            : name == "starred"                    ? &marks.starred
                                                   : nullptr;
        if (!mark)
            return std::unexpected("The field \"" + name + "\" is not known.");
        if (!value.is_boolean())
            return std::unexpected("The field \"" + name + "\" has to be true or false.");
        *mark = value.get<bool>();
    }
    return marks;
}

std::expected<Draft, std::string> readDraft(std::string_view text)
{
    constexpr std::size_t mostRecipients = 100;
    constexpr std::size_t mostAttachments = 50;
    const Json body = Json::parse(text, nullptr, false);
    if (body.is_discarded())
        return std::unexpected("The body is not JSON.");
    const bool attaches = body.is_object() && body.contains("attachments");
    if (!body.is_object() || body.size() != (attaches ? 4 : 3) || !body.contains("to")
        || !body.contains("subject") || !body.contains("text"))
        return std::unexpected("The body has to be an object with \"to\", \"subject\" and \"text\".");
    const auto isListOfTexts = [](const Json& list, std::size_t most) {
        return list.is_array() && list.size() <= most && std::ranges::all_of(list, [](const Json& entry) {
            return entry.is_string() && !entry.get_ref<const std::string&>().empty();
        });
    };
    if (!isListOfTexts(body["to"], mostRecipients) || body["to"].empty())
        return std::unexpected("The field \"to\" has to be a list of addresses.");
    if (!body["subject"].is_string() || !body["text"].is_string())
        return std::unexpected("The fields \"subject\" and \"text\" have to be texts.");
    if (attaches && !isListOfTexts(body["attachments"], mostAttachments))
        return std::unexpected("The field \"attachments\" has to be a list of identifiers.");
    return Draft{body["to"].get<std::vector<std::string>>(), body["subject"].get<std::string>(),
        body["text"].get<std::string>(),
        attaches ? body["attachments"].get<std::vector<std::string>>() : std::vector<std::string>()};
}

std::string attachedText(const AttachedFile& file)
{
    return jsonText(attachedJson(file));
}

std::string userAgentText(std::string_view userAgent)
{
    return jsonText({{"user_agent", userAgent}});
}

std::expected<InjectState, std::string> readInjectState(std::string_view text)
{
    const Json body = Json::parse(text, nullptr, false);
    constexpr std::array<std::pair<std::string_view, InjectState>, 4> states{
        {{"current", InjectState::current}, {"next", InjectState::next}, {"broken", InjectState::broken},
            {"gone", InjectState::gone}}};
    if (body.is_object() && body.size() == 1 && body.contains("state") && body["state"].is_string())
        for (const auto& [name, state] : states)
            if (body["state"].get_ref<const std::string&>() == name)
                return state;
    return std::unexpected("The body has to be an object with a \"state\" that there is.");
}

std::expected<SignIn, std::string> readSignIn(std::string_view text)
{
    const Json body = Json::parse(text, nullptr, false);
    if (body.is_discarded())
        return std::unexpected("The body is not JSON.");
    const auto isText = [&](const char* name) { return body.contains(name) && body[name].is_string(); };
    if (!body.is_object() || body.size() != 2 || !isText("address") || !isText("password"))
        return std::unexpected("The body has to be an object with the texts \"address\" and \"password\".");
    return SignIn{body["address"].get<std::string>(), body["password"].get<std::string>()};
}

std::expected<HelpRequest, std::string> readHelpRequest(std::string_view text)
{
    const Json body = Json::parse(text, nullptr, false);
    if (body.is_discarded())
        return std::unexpected("The body is not JSON.");
    const auto isText = [&](const char* name) { return body.contains(name) && body[name].is_string(); };
    if (!body.is_object() || body.size() != 3 || !isText("contact") || !isText("question")
        || !isText("facts"))
        return std::unexpected(
            "The body has to be an object with the texts \"contact\", \"question\" and \"facts\".");
    HelpRequest request{body["contact"].get<std::string>(), body["question"].get<std::string>(),
        body["facts"].get<std::string>()};
    if (request.contact.empty() || request.question.empty())
        return std::unexpected("Neither \"contact\" nor \"question\" may be empty.");
    return request;
}

std::string helpNumberText(std::size_t number)
{
    return jsonText({{"number", number}});
}

} // namespace LumoSuite
