#include "FieldTable.h"

#include "Ascii.h"

#include <algorithm>
#include <charconv>

namespace mb::vcard {
namespace {

using enum Shape;

constexpr std::array kFields = std::to_array<Field>({
    {ft::NamePrefix, u"Name prefix", "N", "", ft::NamePrefix, 3, Part},
    {ft::FirstName, u"First name", "N", "", ft::NamePrefix, 1, Part},
    {ft::MiddleName, u"Middle name", "N", "", ft::NamePrefix, 2, Part},
    {ft::LastName, u"Last name", "N", "", ft::NamePrefix, 0, Part},
    {ft::NameSuffix, u"Name suffix", "N", "", ft::NamePrefix, 4, Part},
    {ft::Title, u"Title", "TITLE", "", ft::Title, 0, Text},
    {ft::Company, u"Company", "ORG", "", ft::Company, 0, Part},
    {ft::Street1, u"Business street", "ADR", "WORK", ft::Street1, 2, Part},
    {ft::City1, u"Business city", "ADR", "WORK", ft::Street1, 3, Part},
    {ft::State1, u"Business state", "ADR", "WORK", ft::Street1, 4, Part},
    {ft::ZipCode1, u"Business zip code", "ADR", "WORK", ft::Street1, 5, Part},
    {ft::Country1, u"Business country", "ADR", "WORK", ft::Street1, 6, Part},
    {ft::Street2, u"Home street", "ADR", "HOME", ft::Street2, 2, Part},
    {ft::City2, u"Home city", "ADR", "HOME", ft::Street2, 3, Part},
    {ft::State2, u"Home state", "ADR", "HOME", ft::Street2, 4, Part},
    {ft::ZipCode2, u"Home zip code", "ADR", "HOME", ft::Street2, 5, Part},
    {ft::Country2, u"Home country", "ADR", "HOME", ft::Street2, 6, Part},
    {ft::Notes, u"Notes", "NOTE", "", ft::Notes, 0, Text},
    {ft::Categories, u"Categories", "CATEGORIES", "", ft::Categories, 0, List},
    {ft::Phone, u"Business phone", "TEL", "WORK,VOICE", ft::Phone, 0, Phone},
    {ft::Fax, u"Business fax", "TEL", "WORK,FAX", ft::Fax, 0, Phone},
    {ft::HomePhone, u"Home phone", "TEL", "HOME,VOICE", ft::HomePhone, 0, Phone},
    {ft::DirectPhone, u"Direct phone", "TEL", "VOICE", ft::DirectPhone, 0, Phone},
    {ft::Mobile, u"Mobile phone", "TEL", "CELL", ft::Mobile, 0, Phone},
    {ft::MainPhone, u"Main phone", "TEL", "MAIN", ft::MainPhone, 0, Phone},
    {ft::OtherFax, u"Other fax", "TEL", "FAX", ft::OtherFax, 0, Phone},
    {ft::Pager, u"Pager", "TEL", "PAGER", ft::Pager, 0, Phone},
    {ft::OtherPhone, u"Other phone", "TEL", "VOICE", ft::OtherPhone, 0, Phone},
    {ft::Email1, u"E-mail", "EMAIL", "INTERNET", ft::Email1, 0, Text},
    {ft::Email2, u"E-mail 2", "EMAIL", "INTERNET", ft::Email2, 0, Text},
    {ft::Email3, u"E-mail 3", "EMAIL", "INTERNET", ft::Email3, 0, Text},
    {ft::Email4, u"E-mail 4", "EMAIL", "INTERNET", ft::Email4, 0, Text},
    {ft::Email5, u"E-mail 5", "EMAIL", "INTERNET", ft::Email5, 0, Text},
    {ft::Email6, u"E-mail 6", "EMAIL", "INTERNET", ft::Email6, 0, Text},
    {ft::Email7, u"E-mail 7", "EMAIL", "INTERNET", ft::Email7, 0, Text},
    {ft::WebPage, u"Web page", "URL", "", ft::WebPage, 0, Text},
    {ft::Custom1, u"Custom 1", "X-MB-CUSTOM1", "", ft::Custom1, 0, Text},
    {ft::Custom2, u"Custom 2", "X-MB-CUSTOM2", "", ft::Custom2, 0, Text},
    {ft::Custom3, u"Custom 3", "X-MB-CUSTOM3", "", ft::Custom3, 0, Text},
    {ft::Image1, u"Front image", "PHOTO", "", ft::Image1, 0, Image},
    {ft::Image2, u"Back image", "LOGO", "", ft::Image2, 0, Image},
    {ft::Birthday, u"Birthday", "BDAY", "", ft::Birthday, 0, Date},
    {ft::RemindBirthDay, u"Remind of birthday", "X-MB-REMIND-BIRTHDAY", "", ft::RemindBirthDay, 0, Text},
    {ft::RemindDays, u"Remind days before", "X-MB-REMIND-DAYS", "", ft::RemindDays, 0, Text},
    {ft::IMAIM, u"AIM", "X-AIM", "", ft::IMAIM, 0, Chat},
    {ft::IMMSN, u"MSN", "X-MSN", "", ft::IMMSN, 0, Chat},
    {ft::IMYahoo, u"Yahoo", "X-YAHOO", "", ft::IMYahoo, 0, Chat},
    {ft::IMICQ, u"ICQ", "X-ICQ", "", ft::IMICQ, 0, Chat},
    {ft::IM, u"Instant messaging", "IMPP", "", ft::IM, 0, Chat},
    {ft::Street3, u"Other street", "ADR", "", ft::Street3, 2, Part},
    {ft::City3, u"Other city", "ADR", "", ft::Street3, 3, Part},
    {ft::State3, u"Other state", "ADR", "", ft::Street3, 4, Part},
    {ft::ZipCode3, u"Other zip code", "ADR", "", ft::Street3, 5, Part},
    {ft::Country3, u"Other country", "ADR", "", ft::Street3, 6, Part},
    {ft::Custom4, u"Custom 4", "X-MB-CUSTOM4", "", ft::Custom4, 0, Text},
    {ft::Custom5, u"Custom 5", "X-MB-CUSTOM5", "", ft::Custom5, 0, Text},
    {ft::Custom6, u"Custom 6", "X-MB-CUSTOM6", "", ft::Custom6, 0, Text},
    {ft::Custom7, u"Custom 7", "X-MB-CUSTOM7", "", ft::Custom7, 0, Text},
    {ft::Custom8, u"Custom 8", "X-MB-CUSTOM8", "", ft::Custom8, 0, Text},
    {ft::Custom9, u"Custom 9", "X-MB-CUSTOM9", "", ft::Custom9, 0, Text},
    {ft::PrivateStatus, u"Private", "X-MB-PRIVATE", "", ft::PrivateStatus, 0, Text},
    {ft::HomeFax, u"Home fax", "TEL", "HOME,FAX", ft::HomeFax, 0, Phone},
    {ft::PhoneTelex, u"Telex", "TEL", "X-EVOLUTION-TELEX", ft::PhoneTelex, 0, Phone},
    {ft::PhoneSales, u"Sales phone", "TEL", "VOICE", ft::PhoneSales, 0, Phone},
    {ft::ReferredBy, u"Referred by", "X-MB-REFERRED-BY", "", ft::ReferredBy, 0, Text},
    {ft::SpouseName, u"Spouse", "X-SPOUSE", "", ft::SpouseName, 0, Text},
    {ft::Department, u"Department", "ORG", "", ft::Company, 1, Part},
    {ft::Custom10, u"Custom 10", "X-MB-CUSTOM10", "", ft::Custom10, 0, Text},
    {ft::Office, u"Office", "X-MB-OFFICE", "", ft::Office, 0, Text},
    {ft::Profession, u"Profession", "ROLE", "", ft::Profession, 0, Text},
    {ft::Manager, u"Manager", "X-MANAGER", "", ft::Manager, 0, Text},
    {ft::Assistant, u"Assistant", "X-ASSISTANT", "", ft::Assistant, 0, Text},
    {ft::NickName, u"Nickname", "NICKNAME", "", ft::NickName, 0, Values},
    {ft::Account, u"Account", "X-MB-ACCOUNT", "", ft::Account, 0, Text},
    {ft::Gender, u"Gender", "GENDER", "", ft::Gender, 0, Gender},
    {ft::Hobby, u"Hobby", "X-MB-HOBBY", "", ft::Hobby, 0, Text},
    {ft::WebPage2, u"Web page 2", "URL", "", ft::WebPage2, 0, Text},
    {ft::DisplayName, u"Display name", "FN", "", ft::DisplayName, 0, Text},
    {ft::Phone3, u"Phone 3", "TEL", "VOICE", ft::Phone3, 0, Phone},
    {ft::PhoneFax3, u"Fax 3", "TEL", "FAX", ft::PhoneFax3, 0, Phone},
    {ft::PhoneAssistant, u"Assistant phone", "TEL", "X-EVOLUTION-ASSISTANT", ft::PhoneAssistant, 0, Phone},
    {ft::PhoneCompany, u"Company phone", "TEL", "X-EVOLUTION-COMPANY", ft::PhoneCompany, 0, Phone},
    {ft::PhoneCar, u"Car phone", "TEL", "CAR", ft::PhoneCar, 0, Phone},
    {ft::PhoneCallback, u"Callback phone", "TEL", "X-EVOLUTION-CALLBACK", ft::PhoneCallback, 0, Phone},
    {ft::PhoneTDD, u"TTY/TDD phone", "TEL", "X-EVOLUTION-TTYTDD", ft::PhoneTDD, 0, Phone},
    {ft::PhoneRadio, u"Radio phone", "TEL", "X-EVOLUTION-RADIO", ft::PhoneRadio, 0, Phone},
    {ft::PhoneISDN, u"ISDN", "TEL", "ISDN", ft::PhoneISDN, 0, Phone},
    {ft::MiscPhone1, u"Misc phone 1", "TEL", "VOICE", ft::MiscPhone1, 0, Phone},
    {ft::MiscPhone2, u"Misc phone 2", "TEL", "VOICE", ft::MiscPhone2, 0, Phone},
    {ft::MiscPhone3, u"Misc phone 3", "TEL", "VOICE", ft::MiscPhone3, 0, Phone},
    {ft::Other, u"Other", "X-MB-OTHER", "", ft::Other, 0, Text},
    {ft::Kind, u"Kind", "KIND", "", kKindSlot, 0, Kind},
});

constexpr auto kByType = [] {
    std::array<const Field*, kSlots> table{};
    for (const Field& f : kFields) table[indexOf(f)] = &f;
    return table;
}();

// The fields by slot, and where those of each slot begin.
struct BySlot {
    std::array<const Field*, kFields.size()> fields{};
    std::array<std::uint8_t, kSlots + 1> begin{};
};
constexpr auto kBySlot = [] {
    BySlot table;
    std::uint8_t at = 0;
    for (std::size_t slot = 0; slot < kSlots; ++slot) {
        table.begin[slot] = at;
        for (const Field& f : kFields)
            if (f.slot == slot) table.fields[at++] = &f;
    }
    table.begin[kSlots] = at;
    return table;
}();

struct NamedSlot {
    std::string_view name;
    std::uint8_t slot;
};

// Property names of other programs.
constexpr auto kAliases = std::to_array<NamedSlot>({
    {"X-EVOLUTION-SPOUSE", ft::SpouseName},
    {"X-KADDRESSBOOK-X-SPOUSESNAME", ft::SpouseName},
    {"X-EVOLUTION-MANAGER", ft::Manager},
    {"X-KADDRESSBOOK-X-MANAGERSNAME", ft::Manager},
    {"X-EVOLUTION-ASSISTANT", ft::Assistant},
    {"X-KADDRESSBOOK-X-ASSISTANTSNAME", ft::Assistant},
    {"X-GENDER", ft::Gender},
    {"HOBBY", ft::Hobby},
    {"X-KADDRESSBOOK-X-OFFICE", ft::Office},
    {"X-KADDRESSBOOK-X-PROFESSION", ft::Profession},
    {"X-MS-IMADDRESS", ft::IM},
    {"X-JABBER", ft::IM},
    {"X-GOOGLE-TALK", ft::IM},
    {"X-SKYPE", ft::IM},
    {"X-ADDRESSBOOKSERVER-KIND", kKindSlot},
});

// TYPE words that determine the kind of a phone by themselves, in order of precedence.
constexpr auto kPhoneTypes = std::to_array<NamedSlot>({
    {"PAGER", ft::Pager},
    {"CELL", ft::Mobile},
    {"MOBILE", ft::Mobile},
    {"CAR", ft::PhoneCar},
    {"ISDN", ft::PhoneISDN},
    {"MAIN", ft::MainPhone},
    {"TELEX", ft::PhoneTelex},
    {"TLX", ft::PhoneTelex},
    {"X-EVOLUTION-TELEX", ft::PhoneTelex},
    {"ASSISTANT", ft::PhoneAssistant},
    {"X-EVOLUTION-ASSISTANT", ft::PhoneAssistant},
    {"COMPANY", ft::PhoneCompany},
    {"X-EVOLUTION-COMPANY", ft::PhoneCompany},
    {"CALLBACK", ft::PhoneCallback},
    {"X-EVOLUTION-CALLBACK", ft::PhoneCallback},
    {"RADIO", ft::PhoneRadio},
    {"X-EVOLUTION-RADIO", ft::PhoneRadio},
    {"TTY-TDD", ft::PhoneTDD},
    {"TEXTPHONE", ft::PhoneTDD},
    {"X-EVOLUTION-TTYTDD", ft::PhoneTDD},
});

struct LabelledSlot {
    std::u16string_view label;
    std::uint8_t slot;
};
constexpr auto kPhoneLabels = std::to_array<LabelledSlot>({
    {u"assistantphone", ft::PhoneAssistant},
    {u"assistant", ft::PhoneAssistant},
    {u"main", ft::MainPhone},
    {u"mobile", ft::Mobile},
    {u"homefax", ft::HomeFax},
    {u"workfax", ft::Fax},
    {u"companymain", ft::PhoneCompany},
    {u"car", ft::PhoneCar},
    {u"callback", ft::PhoneCallback},
    {u"radio", ft::PhoneRadio},
    {u"telex", ft::PhoneTelex},
    {u"pager", ft::Pager},
    {u"work", ft::Phone},
    {u"home", ft::HomePhone},
});
constexpr auto kPersonLabels =
    std::to_array<LabelledSlot>({{u"spouse", ft::SpouseName}, {u"manager", ft::Manager}, {u"assistant", ft::Assistant}});

struct ChatScheme {
    std::u16string_view prefix;
    std::uint8_t slot;
};
constexpr auto kChatSchemes = std::to_array<ChatScheme>({
    {u"aim:", ft::IMAIM},
    {u"msnim:", ft::IMMSN},
    {u"msn:", ft::IMMSN},
    {u"ymsgr:", ft::IMYahoo},
    {u"icq:", ft::IMICQ},
    {u"im:", ft::IM},
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
    if (fax) return work ? ft::Fax : home ? ft::HomeFax : ft::OtherFax;
    if (work) return ft::Phone;
    if (home) return ft::HomePhone;
    const std::uint8_t labelled = slotOfLabel(kPhoneLabels, label);
    return labelled ? labelled : ft::OtherPhone;
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

bool isOfNoField(const Line& line)
{
    const std::string* pin = line.param(kPinParam);
    return pin && *pin == kNoField;
}

std::span<const Field> fields() { return kFields; }

std::span<const Field* const> fieldsOf(std::uint8_t slot)
{
    const std::span<const Field* const> all = kBySlot.fields;
    return all.subspan(kBySlot.begin[slot], static_cast<std::size_t>(kBySlot.begin[slot + 1u] - kBySlot.begin[slot]));
}

const Field& firstField(std::size_t slot) { return *fieldsOf(static_cast<std::uint8_t>(slot)).front(); }

const Field* findField(int type)
{
    if (type == ft::Kind) return kByType[kKindSlot];
    return type > 0 && type < int{kKindSlot} ? kByType[static_cast<std::size_t>(type)] : nullptr;
}

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
    if (name.empty() || isOfNoField(line)) return {};
    if (const std::uint8_t pinned = pinnedSlot(line)) return claim({pinned}, 0);
    if (name == "TEL") return claim({slotOfPhone(line, label), ft::MiscPhone1, ft::MiscPhone2, ft::MiscPhone3});
    if (name == "EMAIL") return claim({ft::Email1, ft::Email2, ft::Email3, ft::Email4, ft::Email5, ft::Email6, ft::Email7});
    if (name == "URL") return claim({ft::WebPage, ft::WebPage2});
    if (name == "ADR") return claim({line.hasType("WORK") ? ft::Street1 : line.hasType("HOME") ? ft::Street2 : ft::Street3});
    if (name == "IMPP") {
        const std::u16string_view prefix = chatPrefix(line.value(context));
        for (const ChatScheme& s : kChatSchemes)
            if (s.prefix.size() == prefix.size() && chatPrefix(s.prefix).size() == prefix.size() && s.slot != ft::IM &&
                std::equal(prefix.begin(), prefix.end(), s.prefix.begin(), [](char16_t a, char16_t b) { return (a | 32) == b; }))
                return claim({s.slot}, 2);
        return claim({ft::IM});
    }
    if (name == "X-ABRELATEDNAMES") {
        const std::uint8_t slot = slotOfLabel(kPersonLabels, label);
        return slot ? claim({slot}, 2) : Claim{};
    }
    if (name == "RELATED")
        return line.hasType("SPOUSE") && line.param("VALUE") && equalFold(*line.param("VALUE"), "TEXT") ? claim({ft::SpouseName}, 2)
                                                                                                        : Claim{};
    for (const NamedSlot& a : kAliases)
        if (a.name == name) return claim({a.slot}, 2);
    for (const Field& f : kFields)
        if (name == f.property) return claim({f.slot});
    return {};
}

} // namespace mb::vcard
