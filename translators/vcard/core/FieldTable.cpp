#include "FieldTable.h"

#include "Ascii.h"

#include <algorithm>
#include <charconv>

namespace mb::vcard {
namespace {

using enum Shape;

constexpr std::array kFields = std::to_array<Field>({
    {1, u"Name prefix", "N", "", 1, 3, Part},
    {2, u"First name", "N", "", 1, 1, Part},
    {3, u"Middle name", "N", "", 1, 2, Part},
    {4, u"Last name", "N", "", 1, 0, Part},
    {5, u"Name suffix", "N", "", 1, 4, Part},
    {6, u"Title", "TITLE", "", 6, 0, Text},
    {7, u"Company", "ORG", "", 7, 0, Part},
    {8, u"Business street", "ADR", "WORK", 8, 2, Part},
    {9, u"Business city", "ADR", "WORK", 8, 3, Part},
    {10, u"Business state", "ADR", "WORK", 8, 4, Part},
    {11, u"Business zip code", "ADR", "WORK", 8, 5, Part},
    {12, u"Business country", "ADR", "WORK", 8, 6, Part},
    {13, u"Home street", "ADR", "HOME", 13, 2, Part},
    {14, u"Home city", "ADR", "HOME", 13, 3, Part},
    {15, u"Home state", "ADR", "HOME", 13, 4, Part},
    {16, u"Home zip code", "ADR", "HOME", 13, 5, Part},
    {17, u"Home country", "ADR", "HOME", 13, 6, Part},
    {18, u"Notes", "NOTE", "", 18, 0, Text},
    {19, u"Categories", "CATEGORIES", "", 19, 0, List},
    {20, u"Business phone", "TEL", "WORK,VOICE", 20, 0, Phone},
    {21, u"Business fax", "TEL", "WORK,FAX", 21, 0, Phone},
    {22, u"Home phone", "TEL", "HOME,VOICE", 22, 0, Phone},
    {23, u"Direct phone", "TEL", "VOICE", 23, 0, Phone},
    {24, u"Mobile phone", "TEL", "CELL", 24, 0, Phone},
    {25, u"Main phone", "TEL", "MAIN", 25, 0, Phone},
    {26, u"Other fax", "TEL", "FAX", 26, 0, Phone},
    {27, u"Pager", "TEL", "PAGER", 27, 0, Phone},
    {28, u"Other phone", "TEL", "VOICE", 28, 0, Phone},
    {29, u"E-mail", "EMAIL", "INTERNET", 29, 0, Text},
    {30, u"E-mail 2", "EMAIL", "INTERNET", 30, 0, Text},
    {31, u"E-mail 3", "EMAIL", "INTERNET", 31, 0, Text},
    {32, u"E-mail 4", "EMAIL", "INTERNET", 32, 0, Text},
    {33, u"E-mail 5", "EMAIL", "INTERNET", 33, 0, Text},
    {34, u"E-mail 6", "EMAIL", "INTERNET", 34, 0, Text},
    {35, u"E-mail 7", "EMAIL", "INTERNET", 35, 0, Text},
    {36, u"Web page", "URL", "", 36, 0, Text},
    {37, u"Custom 1", "X-MB-CUSTOM1", "", 37, 0, Text},
    {38, u"Custom 2", "X-MB-CUSTOM2", "", 38, 0, Text},
    {39, u"Custom 3", "X-MB-CUSTOM3", "", 39, 0, Text},
    {40, u"Front image", "PHOTO", "", 40, 0, Image},
    {41, u"Back image", "LOGO", "", 41, 0, Image},
    {43, u"Birthday", "BDAY", "", 43, 0, Date},
    {44, u"Remind of birthday", "X-MB-REMIND-BIRTHDAY", "", 44, 0, Text},
    {45, u"Remind days before", "X-MB-REMIND-DAYS", "", 45, 0, Text},
    {46, u"AIM", "X-AIM", "", 46, 0, Chat},
    {47, u"MSN", "X-MSN", "", 47, 0, Chat},
    {48, u"Yahoo", "X-YAHOO", "", 48, 0, Chat},
    {49, u"ICQ", "X-ICQ", "", 49, 0, Chat},
    {50, u"Instant messaging", "IMPP", "", 50, 0, Chat},
    {51, u"Other street", "ADR", "", 51, 2, Part},
    {52, u"Other city", "ADR", "", 51, 3, Part},
    {53, u"Other state", "ADR", "", 51, 4, Part},
    {54, u"Other zip code", "ADR", "", 51, 5, Part},
    {55, u"Other country", "ADR", "", 51, 6, Part},
    {56, u"Custom 4", "X-MB-CUSTOM4", "", 56, 0, Text},
    {57, u"Custom 5", "X-MB-CUSTOM5", "", 57, 0, Text},
    {58, u"Custom 6", "X-MB-CUSTOM6", "", 58, 0, Text},
    {59, u"Custom 7", "X-MB-CUSTOM7", "", 59, 0, Text},
    {60, u"Custom 8", "X-MB-CUSTOM8", "", 60, 0, Text},
    {61, u"Custom 9", "X-MB-CUSTOM9", "", 61, 0, Text},
    {62, u"Private", "X-MB-PRIVATE", "", 62, 0, Text},
    {63, u"Home fax", "TEL", "HOME,FAX", 63, 0, Phone},
    {64, u"Telex", "TEL", "X-EVOLUTION-TELEX", 64, 0, Phone},
    {65, u"Sales phone", "TEL", "VOICE", 65, 0, Phone},
    {66, u"Referred by", "X-MB-REFERRED-BY", "", 66, 0, Text},
    {67, u"Spouse", "X-SPOUSE", "", 67, 0, Text},
    {68, u"Department", "ORG", "", 7, 1, Part},
    {69, u"Custom 10", "X-MB-CUSTOM10", "", 69, 0, Text},
    {70, u"Office", "X-MB-OFFICE", "", 70, 0, Text},
    {71, u"Profession", "ROLE", "", 71, 0, Text},
    {72, u"Manager", "X-MANAGER", "", 72, 0, Text},
    {73, u"Assistant", "X-ASSISTANT", "", 73, 0, Text},
    {74, u"Nickname", "NICKNAME", "", 74, 0, Text},
    {75, u"Account", "X-MB-ACCOUNT", "", 75, 0, Text},
    {76, u"Gender", "GENDER", "", 76, 0, Gender},
    {77, u"Hobby", "X-MB-HOBBY", "", 77, 0, Text},
    {78, u"Web page 2", "URL", "", 78, 0, Text},
    {79, u"Display name", "FN", "", 79, 0, Text},
    {80, u"Phone 3", "TEL", "VOICE", 80, 0, Phone},
    {81, u"Fax 3", "TEL", "FAX", 81, 0, Phone},
    {82, u"Assistant phone", "TEL", "X-EVOLUTION-ASSISTANT", 82, 0, Phone},
    {83, u"Company phone", "TEL", "X-EVOLUTION-COMPANY", 83, 0, Phone},
    {84, u"Car phone", "TEL", "CAR", 84, 0, Phone},
    {85, u"Callback phone", "TEL", "X-EVOLUTION-CALLBACK", 85, 0, Phone},
    {86, u"TTY/TDD phone", "TEL", "X-EVOLUTION-TTYTDD", 86, 0, Phone},
    {87, u"Radio phone", "TEL", "X-EVOLUTION-RADIO", 87, 0, Phone},
    {88, u"ISDN", "TEL", "ISDN", 88, 0, Phone},
    {89, u"Misc phone 1", "TEL", "VOICE", 89, 0, Phone},
    {90, u"Misc phone 2", "TEL", "VOICE", 90, 0, Phone},
    {91, u"Misc phone 3", "TEL", "VOICE", 91, 0, Phone},
    {92, u"Other", "X-MB-OTHER", "", 92, 0, Text},
});

constexpr auto kByType = [] {
    std::array<const Field*, kSlots> table{};
    for (const Field& f : kFields) table[f.type] = &f;
    return table;
}();

struct NamedSlot {
    std::string_view name;
    std::uint8_t slot;
};

// Property names of other programs.
constexpr auto kAliases = std::to_array<NamedSlot>({
    {"X-EVOLUTION-SPOUSE", 67},
    {"X-KADDRESSBOOK-X-SPOUSESNAME", 67},
    {"X-EVOLUTION-MANAGER", 72},
    {"X-KADDRESSBOOK-X-MANAGERSNAME", 72},
    {"X-EVOLUTION-ASSISTANT", 73},
    {"X-KADDRESSBOOK-X-ASSISTANTSNAME", 73},
    {"X-GENDER", 76},
    {"HOBBY", 77},
    {"X-KADDRESSBOOK-X-OFFICE", 70},
    {"X-KADDRESSBOOK-X-PROFESSION", 71},
    {"X-MS-IMADDRESS", 50},
    {"X-JABBER", 50},
    {"X-GOOGLE-TALK", 50},
    {"X-SKYPE", 50},
});

// TYPE words that determine the kind of a phone by themselves, in order of precedence.
constexpr auto kPhoneTypes = std::to_array<NamedSlot>({
    {"PAGER", 27},
    {"CELL", 24},
    {"MOBILE", 24},
    {"CAR", 84},
    {"ISDN", 88},
    {"MAIN", 25},
    {"TELEX", 64},
    {"TLX", 64},
    {"X-EVOLUTION-TELEX", 64},
    {"ASSISTANT", 82},
    {"X-EVOLUTION-ASSISTANT", 82},
    {"COMPANY", 83},
    {"X-EVOLUTION-COMPANY", 83},
    {"CALLBACK", 85},
    {"X-EVOLUTION-CALLBACK", 85},
    {"RADIO", 87},
    {"X-EVOLUTION-RADIO", 87},
    {"TTY-TDD", 86},
    {"TEXTPHONE", 86},
    {"X-EVOLUTION-TTYTDD", 86},
});

struct LabelledSlot {
    std::u16string_view label;
    std::uint8_t slot;
};
constexpr auto kPhoneLabels = std::to_array<LabelledSlot>({
    {u"assistantphone", 82},
    {u"assistant", 82},
    {u"main", 25},
    {u"mobile", 24},
    {u"homefax", 63},
    {u"workfax", 21},
    {u"companymain", 83},
    {u"car", 84},
    {u"callback", 85},
    {u"radio", 87},
    {u"telex", 64},
    {u"pager", 27},
    {u"work", 20},
    {u"home", 22},
});
constexpr auto kPersonLabels = std::to_array<LabelledSlot>({{u"spouse", 67}, {u"manager", 72}, {u"assistant", 73}});

struct ChatScheme {
    std::u16string_view prefix;
    std::uint8_t slot;
};
constexpr auto kChatSchemes = std::to_array<ChatScheme>({
    {u"aim:", 46},
    {u"msnim:", 47},
    {u"msn:", 47},
    {u"ymsgr:", 48},
    {u"icq:", 49},
    {u"im:", 50},
});

// Normalises a label: "_$!<HomeFAX>!$_" and "home fax" both become "homefax".
std::u16string plainLabel(std::u16string_view label)
{
    if (label.starts_with(u"_$!<") && label.ends_with(u">!$_")) label = label.substr(4, label.size() - 8);
    std::u16string plain;
    for (const char16_t c : label)
        if (c != u' ') plain += c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
    return plain;
}

template <std::size_t N> std::uint8_t slotOfLabel(const std::array<LabelledSlot, N>& table, std::u16string_view label)
{
    if (label.empty()) return 0;
    const std::u16string plain = plainLabel(label);
    for (const LabelledSlot& l : table)
        if (l.label == plain) return l.slot;
    return 0;
}

std::uint8_t slotOfPhone(const Line& line, std::u16string_view label)
{
    for (const NamedSlot& t : kPhoneTypes)
        if (line.hasType(t.name)) return t.slot;
    const bool fax = line.hasType("FAX"), work = line.hasType("WORK"), home = line.hasType("HOME");
    if (fax) return work ? 21 : home ? 63 : 26;
    if (work) return 20;
    if (home) return 22;
    const std::uint8_t labelled = slotOfLabel(kPhoneLabels, label);
    return labelled ? labelled : 28;
}

Claim claim(std::initializer_list<std::uint8_t> slots, std::uint8_t rank = 1)
{
    Claim c;
    for (const std::uint8_t s : slots) c.slots[c.count++] = s;
    c.rank = rank;
    return c;
}

// Returns the slot of the field that the line is marked with; 0 if it is not marked.
std::uint8_t pinnedSlot(const Line& line)
{
    const std::string* pin = line.param(kPinParam);
    if (!pin) return 0;
    int type = 0;
    std::from_chars(pin->data(), pin->data() + pin->size(), type);
    const Field* field = findField(type);
    return field && line.name() == field->property ? field->slot : std::uint8_t{0};
}

} // namespace

std::span<const Field> fields() { return kFields; }

const Field* findField(int type) { return type > 0 && type < static_cast<int>(kSlots) ? kByType[static_cast<std::size_t>(type)] : nullptr; }

std::u16string_view chatPrefix(std::u16string_view value)
{
    for (const ChatScheme& s : kChatSchemes) {
        if (value.size() < s.prefix.size()) continue;
        const auto same = [](char16_t a, char16_t b) { return (a >= u'A' && a <= u'Z' ? a + 32 : a) == b; };
        if (std::equal(s.prefix.begin(), s.prefix.end(), value.begin(), same)) return value.substr(0, s.prefix.size());
    }
    return {};
}

bool claimsByValue(const Line& line) { return line.name() == "IMPP"; }

Claim claimOf(const Line& line, std::u16string_view label, const Context& context)
{
    const std::string_view name = line.name();
    if (name.empty()) return {};
    if (const std::uint8_t pinned = pinnedSlot(line)) return claim({pinned}, 0);
    if (name == "TEL") return claim({slotOfPhone(line, label), 89, 90, 91});
    if (name == "EMAIL") return claim({29, 30, 31, 32, 33, 34, 35});
    if (name == "URL") return claim({36, 78});
    if (name == "ADR") return claim({line.hasType("WORK") ? std::uint8_t{8} : line.hasType("HOME") ? std::uint8_t{13} : std::uint8_t{51}});
    if (name == "IMPP") {
        const std::u16string_view prefix = chatPrefix(line.value(context));
        for (const ChatScheme& s : kChatSchemes)
            if (s.prefix.size() == prefix.size() && chatPrefix(s.prefix).size() == prefix.size() && s.slot != 50 &&
                std::equal(prefix.begin(), prefix.end(), s.prefix.begin(), [](char16_t a, char16_t b) { return (a | 32) == b; }))
                return claim({s.slot}, 2);
        return claim({50});
    }
    if (name == "X-ABRELATEDNAMES") {
        const std::uint8_t slot = slotOfLabel(kPersonLabels, label);
        return slot ? claim({slot}, 2) : Claim{};
    }
    if (name == "RELATED")
        return line.hasType("SPOUSE") && line.param("VALUE") && equalFold(*line.param("VALUE"), "TEXT") ? claim({67}, 2) : Claim{};
    for (const NamedSlot& a : kAliases)
        if (a.name == name) return claim({a.slot}, 2);
    for (const Field& f : kFields)
        if (name == f.property) return claim({f.slot});
    return {};
}

} // namespace mb::vcard
