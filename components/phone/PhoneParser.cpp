// The phone number library that the engine looks for beside its host: splits a number into country, area, local number and extension.
// A number without its country is taken for one of the user's own, as the locale tells it. What cannot be split without a loss gives empty
// fields, and the engine leaves the number as it stands: one that the numbering plan does not call possible, one that the country dials
// as it is, and one of which a part was not understood.
#include "text.h"
#include "WrittenNumber.h"

#include <algorithm>
#include <cstdlib>
#include <phonenumbers/phonenumber.pb.h>
#include <phonenumbers/phonenumberutil.h>
#include <phonenumbers/shortnumberinfo.h>
#include <string>
#include <string_view>

namespace {

using i18n::phonenumbers::PhoneNumber;
using i18n::phonenumbers::PhoneNumberUtil;
using i18n::phonenumbers::ShortNumberInfo;
using phone::WrittenNumber;

constexpr std::size_t fieldLength = 1024;

struct PhoneBlock {
    char16_t country[fieldLength], area[fieldLength], local[fieldLength], extension[fieldLength];
};

// What is longer than any number is none; the parser need not look at it.
constexpr std::size_t longestPhone = 250;

void put(char16_t (&field)[fieldLength], std::string_view digits)
{
    const std::size_t length = std::min(digits.size(), fieldLength - 1);
    *std::copy_n(digits.begin(), length, field) = u'\0';
}

// The country of a locale such as de_AT.UTF-8; "ZZ" stands for none.
std::string homeRegion()
{
    for (const char* name : {"LC_ALL", "LC_TELEPHONE", "LANG"}) {
        const char* value = std::getenv(name);
        if (!value || !*value) continue;
        const std::string_view locale(value);
        const std::size_t at = locale.find('_');
        if (at != locale.npos && locale.size() >= at + 3) return std::string(locale.substr(at + 1, 2));
        break; // this one holds, and has no country
    }
    return "ZZ";
}

// The part of a number in front of which the country's dialling prefixes may stand.
std::string nationalPart(const PhoneNumber& number)
{
    std::string digits;
    PhoneNumberUtil::GetInstance()->GetNationalSignificantNumber(number, &digits);
    return digits;
}

// What is dialled in front of a number within its country: "0" in most, "1" in North America, nothing in many.
std::string trunkPrefix(int countryCode)
{
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    std::string region, prefix;
    util.GetRegionCodeForCountryCode(countryCode, &region);
    util.GetNddPrefixForRegion(region, true, &prefix);
    return prefix;
}

// Whether digits that stand in front of the national part say nothing that the parts do not say: an international prefix, the country,
// and a trunk prefix, each only if it is there.
bool mayBeDropped(std::string_view front, const PhoneNumber& number)
{
    const std::string country = std::to_string(number.country_code()), trunk = trunkPrefix(number.country_code());
    const auto namesCountry = [&](std::string_view digits) {
        switch (number.country_code_source()) {
        case PhoneNumber::FROM_NUMBER_WITH_PLUS_SIGN:
        case PhoneNumber::FROM_NUMBER_WITHOUT_PLUS_SIGN: return digits == country;
        case PhoneNumber::FROM_NUMBER_WITH_IDD: return digits.ends_with(country);
        default: return digits.empty();
        }
    };
    return namesCountry(front) || (!trunk.empty() && front.ends_with(trunk) && namesCountry(front.substr(0, front.size() - trunk.size())));
}

bool isComplete(const PhoneNumber& number, const WrittenNumber& written)
{
    const std::string kept = nationalPart(number) + number.extension();
    const std::string_view digits = written.digits();
    return digits.ends_with(kept) && mayBeDropped(digits.substr(0, digits.size() - kept.size()), number) &&
           written.isUnderstood(number.extension().size());
}

// A number such as 116117 is dialled as it is, and leads nowhere with a country in front. The plan of short numbers takes longer to load
// than a number to split, so only a number that is in doubt is looked for there.
bool isShortNumber(const PhoneNumber& number, const std::string& region)
{
    return number.country_code_source() == PhoneNumber::FROM_DEFAULT_COUNTRY && !PhoneNumberUtil::GetInstance()->IsValidNumber(number) &&
           ShortNumberInfo().IsValidShortNumberForRegion(number, region);
}

bool parse(std::u16string_view text, PhoneNumber& number)
{
    if (text.size() > longestPhone) return false;
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    const std::string region = homeRegion();
    return util.ParseAndKeepRawInput(platform::utf8(text), region, &number) == PhoneNumberUtil::NO_PARSING_ERROR &&
           util.IsPossibleNumberWithReason(number) == PhoneNumberUtil::IS_POSSIBLE && isComplete(number, WrittenNumber(text)) &&
           !isShortNumber(number, region);
}

void split(const PhoneNumber& number, PhoneBlock& block)
{
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    const std::string national = nationalPart(number);
    const int geographic = util.GetLengthOfGeographicalAreaCode(number);
    const auto area = static_cast<std::size_t>(geographic > 0 ? geographic : util.GetLengthOfNationalDestinationCode(number));
    put(block.country, std::to_string(number.country_code()));
    put(block.area, std::string_view(national).substr(0, area));
    put(block.local, std::string_view(national).substr(std::min(area, national.size())));
    put(block.extension, number.extension());
}

} // namespace

extern "C" {

int CatInit(void*, int*, void*) { return 1; }

int CatParsePhone(const char16_t* phone, void* result)
{
    if (!phone || !result) return 0;
    auto& block = *static_cast<PhoneBlock*>(result);
    for (char16_t* field : {block.country, block.area, block.local, block.extension}) *field = u'\0';
    try {
        PhoneNumber number;
        if (!parse(phone, number)) return 0;
        split(number, block);
        return 1;
    } catch (const std::exception&) {
        return 0;
    }
}

int CatTerm() { return 1; }

} // extern "C"
