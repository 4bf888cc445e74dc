#include "Mailbox.h"

#include <algorithm>
#include <functional>
#include <span>
#include <utility>

namespace LumoSuite {

namespace {

using namespace std::chrono_literals;

enum class Sender { correspondent, owner };

struct SampleMessage {
    std::chrono::minutes age;
    Sender sender;
    const char* text;
};

struct SampleConversation {
    const char* subject;
    const char* name;
    const char* address;
    const char* label;
    bool unread;
    bool done;
    bool starred;
    std::vector<SampleMessage> messages;
};

constexpr auto theirs = Sender::correspondent;
constexpr auto mine = Sender::owner;

std::vector<SampleConversation> robinsSamples()
{
    return {
        {"Harbour map: last round of comments", "Maya Lindqvist", "maya.lindqvist@tarnfield.example", "Work",
            true, false, true,
            {
                {27h, theirs,
                    "Hi Robin,\n\nThe print version of the harbour map is ready for a last look. The "
                    "ferry piers are "
                    "now numbered the way the timetable numbers them, and the walking routes have their "
                    "own colour.\n\n"
                    "Could you check the north quay? I was not sure about the crane.\n\nMaya"},
                {25h, mine,
                    "This looks wonderful. The crane moved in spring: it now stands between piers 4 and "
                    "5, on the "
                    "seaward side. Everything else on the north quay is right.\n\nOne wish: could the "
                    "legend go "
                    "to the lower left? The fold runs straight through it at the moment."},
                {8min, theirs,
                    "Crane moved, legend moved, and I found a better place for the scale bar while I was "
                    "there.\n\n"
                    "The printer wants the file by Thursday noon. If you say yes today, we keep a day in "
                    "hand for "
                    "the proof.\n\nMaya"},
            }},
        {"Your ferry to Skerrow leaves at 07:40", "Oskerry Travel", "trips@oskerry.example", "Travel", true,
            false, false,
            {
                {41min, theirs,
                    "Good morning Robin,\n\nYour crossing is confirmed.\n\nSaturday, 07:40 from pier "
                    "3\nArrival in "
                    "Skerrow at 10:15\nTwo adults, one bicycle\n\nBoarding closes ten minutes before "
                    "departure. The "
                    "forecast promises a light breeze and calm water.\n\nHave a good trip,\nOskerry "
                    "Travel"},
            }},
        {"Re: Search is slow on the archive page", "Tomasz Wrona", "tomasz@example.org", "Work", true, false,
            false,
            {
                {5h, theirs,
                    "I measured the archive page with the full data set. The query itself takes 12 ms; "
                    "the other "
                    "900 ms go into sorting the result again in the page, once for each row that "
                    "arrives."},
                {4h, mine,
                    "That explains why it feels worse the longer one scrolls. Can we sort once, when the "
                    "last "
                    "batch is in?"},
                {95min, theirs,
                    "Even better: the index already gives them in the right order, so the sorting can go "
                    "altogether. With that the page is complete after 40 ms.\n\nThe change is up for "
                    "review, eleven "
                    "lines less than before. Would you have a look this afternoon?"},
            }},
        {"Lunch on Friday?", "Ines Carvalho", "ines@example.net", "Personal", true, false, false,
            {
                {3h, theirs,
                    "The little place by the canal has its garden open again, and they kept the table "
                    "under the "
                    "fig tree for regulars, which we are as of now.\n\nFriday at half past twelve? Jonas "
                    "would come, "
                    "too."},
            }},
        {"Offer for the reading room shelves", "Halvard Joinery", "office@halvard-joinery.example", "Work",
            false, false, true,
            {
                {50h, theirs,
                    "Dear Robin,\n\nThank you for the drawings. We would build the shelves in solid ash, "
                    "oiled, "
                    "with the backs left open so that the windows keep their light."},
                {29h, mine,
                    "Ash is just right. Does the offer include the library ladder, and could the lowest "
                    "row be "
                    "40 cm high for the atlases?"},
                {6h, theirs,
                    "The ladder is included, and 40 cm is no difficulty.\n\nShelves, 14 running metres: "
                    "5,180.00\n"
                    "Ladder with rail: 640.00\nDelivery and mounting: 420.00\n\nWe could begin on the "
                    "3rd and would "
                    "need the room for four days.\n\nKind regards,\nSigrid Halvard"},
            }},
        {"Release notes, second draft", "Adaeze Okonjo", "adaeze.okonjo@example.com", "Work", false, false,
            false,
            {
                {9h, theirs,
                    "Second draft attached in spirit: I cut the list of fixes to the ones people wrote "
                    "to us about "
                    "and moved the rest to the full log."},
                {8h, mine, "Much better. I would lead with offline reading, since everybody asked for it."},
                {7h, theirs,
                    "Agreed, offline reading goes first. I also took your sentence about the battery, "
                    "because it is "
                    "the only one in the draft that made me smile."},
            }},
        {"Sign-in from a new device", "Velmora Accounts", "security@velmora.example", "Updates", true, false,
            false,
            {
                {11h, theirs,
                    "Hello Robin,\n\nYour account was used to sign in on a device that we have not seen "
                    "before.\n\n"
                    "Device: Linux desktop\nTime: last night, 23:12\n\nIf this was you, there is nothing "
                    "to do. If "
                    "not, change your password and sign out everywhere from the security page."},
            }},
        {"Photos from the lighthouse walk", "Jonas Ekholm", "jonas@example.net", "Personal", false, false,
            true,
            {
                {31h, theirs,
                    "Sixty photos, of which six are good and one is of you losing your hat. That one I "
                    "had framed."},
                {30h, mine, "I demand the negative. The fog over the breakwater is lovely, though!"},
                {26h, theirs,
                    "It is, is it not? I will print that one large. Next month the island opens the "
                    "tower again; "
                    "shall we put the 14th into our calendars?"},
            }},
        {"Invoice 2041 for September", "Papierhain Print", "billing@papierhain.example", "Receipts", false,
            false, false,
            {
                {33h, theirs,
                    "Dear customer,\n\nPlease find below the summary of invoice 2041.\n\nPosters A2, 250 "
                    "pieces: "
                    "312.50\nFolded maps, 1,000 pieces: 890.00\nTotal with tax: 1,430.98\n\nPayable "
                    "within 30 days. "
                    "Thank you for your order."},
            }},
        {"Talk accepted: Small tools, long lives", "Lowtide Conference", "programme@lowtide.example", "Work",
            true, false, true,
            {
                {2 * 24h, theirs,
                    "Dear Robin,\n\nThe programme committee has read 212 proposals, and yours is one of "
                    "the 24 that "
                    "we would like to hear. Congratulations!\n\nYour slot is on the second day at 11:00 "
                    "in the small "
                    "hall: 30 minutes, with ten more for questions.\n\nPlease confirm within two weeks, "
                    "and tell us "
                    "whether you need travel support.\n\nFor the committee,\nNoor Haddad"},
            }},
        {"Questions before the interview", "Leon Abara", "leon.abara@example.org", "Work", false, false,
            false,
            {
                {3 * 24h + 5h, theirs,
                    "Thank you for the invitation. Two questions: is there anything you would like me to "
                    "prepare, "
                    "and is the afternoon about code or about design?"},
                {3 * 24h + 2h, mine,
                    "A bit of both. We will read a real change together, one that went wrong, and talk "
                    "about how to "
                    "put it right. Nothing to prepare; bring your own keyboard if you like."},
                {2 * 24h + 4h, theirs,
                    "That sounds like a good afternoon. I will bring the keyboard, and quiet switches."},
            }},
        {"The roof garden needs hands", "Petra Sølvberg", "petra@example.net", "Personal", false, false,
            false,
            {
                {3 * 24h + 7h, theirs,
                    "Dear neighbours,\n\nThe beds on the roof want turning before the frost, and the "
                    "water barrels "
                    "have to be emptied. Sunday from ten, with soup at one.\n\nWho brings a second "
                    "wheelbarrow?"},
                {3 * 24h + 6h, mine, "I have a wheelbarrow and a doubtful back. Both will be there."},
            }},
        {"Five short reads about maps", "The Slow Letter", "letter@slowletter.example", "Updates", true,
            false, false,
            {
                {4 * 24h, theirs,
                    "This week: a city that renamed its streets twice in a year, why sea charts still "
                    "show church "
                    "towers, the last engraver of contour lines, a walk along a border that nobody can "
                    "see, and a map "
                    "drawn from memory by forty children.\n\nRead slowly."},
            }},
        {"Your order is on its way", "Quillhaven Books", "orders@quillhaven.example", "Receipts", false,
            false, false,
            {
                {6 * 24h, theirs,
                    "Thank you for your order.\n\nNotes on Tidal Rivers\nA Field Guide to "
                    "Bridges\n\nBoth books have "
                    "been packed and should reach you on Tuesday."},
                {5 * 24h, theirs, "Your parcel has left our warehouse and is with the carrier."},
            }},
        {"Minutes: steering group", "Farid Naseri", "farid.naseri@example.com", "Work", false, false, false,
            {
                {8 * 24h, theirs,
                    "Dear all,\n\nthe minutes in short: the pilot goes on until the end of the quarter, "
                    "the budget "
                    "for the reading room is approved, and Maya presents the map at the next "
                    "meeting.\n\nObjections "
                    "by Friday, please.\n\nFarid"},
            }},
        {"Hotel in Lindmark, two nights", "Pension Albatros", "stay@pension-albatros.example", "Travel",
            false, true, false,
            {
                {9 * 24h, mine,
                    "Good evening, do you have a quiet single room for two nights from the 21st, with a "
                    "place for "
                    "a bicycle?"},
                {8 * 24h + 9h, theirs,
                    "Good morning! Room 7 looks on the courtyard and is yours. The bicycle sleeps in the "
                    "wash house, "
                    "behind a good lock. Breakfast from half past six."},
            }},
        {"Backup finished without errors", "Nightwatch", "noreply@nightwatch.example", "Updates", false, true,
            false,
            {
                {10 * 24h, theirs,
                    "All 3 sources were saved.\n\nFiles checked: 48,211\nNew or changed: 327\nDuration: "
                    "4 min 12 s\n\n"
                    "The oldest copy that can be restored is 90 days old."},
            }},
        {"Happy birthday!", "Grandma Edith", "edith@example.net", "Personal", false, true, true,
            {
                {16 * 24h, theirs,
                    "My dear Robin,\n\nI typed this myself and nobody helped. Happy birthday! The parcel "
                    "has the "
                    "blue jumper in it and something against the cold.\n\nYour grandma"},
                {16 * 24h - 3h, mine,
                    "The jumper fits, the plum brandy also fits. Thank you! I will call on Sunday, and I "
                    "am "
                    "impressed by the typing."},
            }},
        {"Re: Spare key", "Kofi Mensah-Brandt", "kofi@example.org", "Personal", false, true, false,
            {
                {21 * 24h, theirs, "The spare key is with the bakery downstairs, under the name of the cat."},
                {21 * 24h - 2h, mine, "Collected. The cat has excellent credit there, by the way."},
            }},
    };
}

std::vector<SampleConversation> noorsSamples()
{
    return {
        {"Rehearsal moved to Thursday", "Eliot Marsh", "eliot@quartet.example", "Music", true, false, false,
            {
                {25min, theirs,
                    "Noor,\n\nThe hall is taken on Wednesday, so we play on Thursday at seven. Bring the new "
                    "slow movement; Ana has marked the bowings in green.\n\nEliot"},
            }},
        {"The green bowings", "Ana Ferreira", "ana@quartet.example", "Music", true, false, true,
            {
                {5h, theirs,
                    "I scanned both parts. Bars 40 to 52 are a suggestion and nothing more: if it feels "
                    "heavy, "
                    "take the old ones.\n\nAna"},
                {4h, mine,
                    "They feel light. Only bar 47 wants an up-bow, else I am out of hair by the fermata."},
            }},
        {"Your order is on its way", "Strings & Rosin", "orders@strings.example", "Receipts", false, false,
            false,
            {
                {26h, theirs,
                    "Order 20931 has left our workshop:\n\n2 × viola A string, medium\n1 × rosin, dark\n\nIt "
                    "arrives within three days."},
            }},
        {"Saturday market?", "Leila Haddad", "leila@example.net", "Personal", false, false, true,
            {
                {2 * 24h, theirs,
                    "Are you around on Saturday? The quinces are in, and I have an empty basket."},
                {2 * 24h - 1h, mine, "At nine by the fountain. I bring the second basket."},
            }},
        {"Re: Tuning of the practice piano", "Oskar Blom", "oskar@piano.example", "Work", false, true, false,
            {
                {6 * 24h, theirs,
                    "It is done: 442, as your quartet wants it. The hammers of the top octave should be "
                    "filed "
                    "before summer.\n\nOskar Blom"},
            }},
    };
}

const std::vector<SampleConversation>& samples(std::size_t owner)
{
    static const std::vector<std::vector<SampleConversation>> all{robinsSamples(), noorsSamples()};
    return all.at(owner);
}

Conversation conversation(
    const SampleConversation& sample, const Person& owner, std::size_t number, std::chrono::sys_seconds now)
{
    Person correspondent{sample.name, sample.address, {}};
    Conversation made{
        .id = std::to_string(number).insert(0, 1, 'c'),
        .subject = sample.subject,
        .correspondent = correspondent,
        .label = sample.label,
        .unread = sample.unread,
        .done = sample.done,
        .starred = sample.starred,
        .messages = {},
    };
    for (const SampleMessage& message : sample.messages) {
        bool own = message.sender == Sender::owner;
        made.messages.push_back({
            .from = own ? owner : correspondent,
            .to = own ? correspondent : owner,
            .sentAt = now - message.age,
            .text = message.text,
            .attachments = {},
        });
    }
    return made;
}

} // namespace

const std::vector<Person>& Mailbox::sampleOwners()
{
    static const std::vector<Person> owners{{"Robin Ellery", "robin@example.com", "/avatars/robin.png"},
        {"Noor Haddad", "noor@example.com", "/avatars/noor.png"}};
    return owners;
}

Mailbox Mailbox::sample(std::chrono::sys_seconds now, std::size_t owner)
{
    Mailbox mailbox;
    mailbox.reader = sampleOwners().at(owner);
    for (const SampleConversation& sample : samples(owner))
        mailbox.held.push_back(conversation(sample, mailbox.reader, mailbox.held.size() + 1, now));
    std::ranges::stable_sort(mailbox.held, std::ranges::greater(),
        [](const Conversation& conversation) { return conversation.messages.back().sentAt; });
    return mailbox;
}

const Person& Mailbox::owner() const
{
    return reader;
}

const std::vector<Conversation>& Mailbox::conversations() const
{
    return held;
}

const Conversation* Mailbox::find(std::string_view id) const
{
    auto found = std::ranges::find(held, id, &Conversation::id);
    return found == held.end() ? nullptr : std::to_address(found);
}

const Conversation* Mailbox::change(std::string_view id, const MarkChange& marks)
{
    auto found = std::ranges::find(held, id, &Conversation::id);
    if (found == held.end())
        return nullptr;
    found->done = marks.done.value_or(found->done);
    found->unread = marks.unread.value_or(found->unread);
    found->starred = marks.starred.value_or(found->starred);
    return std::to_address(found);
}

const Conversation* Mailbox::begin(
    const Draft& draft, std::vector<AttachedFile> attachments, std::chrono::sys_seconds now)
{
    constexpr std::size_t mostConversations = 500;
    if (held.size() >= mostConversations)
        return nullptr;
    Person to{draft.to.front(), draft.to.front(), {}};
    for (const std::string& other : std::span(draft.to).subspan(1))
        to.name.append(", ").append(other);
    Conversation conversation;
    conversation.id = "sent-" + std::to_string(held.size());
    conversation.subject = draft.subject.empty() ? "(no subject)" : draft.subject;
    conversation.correspondent = to;
    conversation.done = true;
    conversation.messages.push_back({reader, to, now, draft.text, std::move(attachments)});
    return std::to_address(held.insert(held.begin(), std::move(conversation)));
}

} // namespace LumoSuite
