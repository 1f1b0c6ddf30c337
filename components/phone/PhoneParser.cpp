// The phone number library that the engine looks for beside its host: splits a number into country, area, local number and extension.
// A number without its country is taken for one of the user's own, as the locale tells it; what cannot be parsed gives empty fields.
#include "text.h"

#include <algorithm>
#include <cstdlib>
#include <phonenumbers/phonenumber.pb.h>
#include <phonenumbers/phonenumberutil.h>
#include <string>
#include <string_view>

namespace {

using i18n::phonenumbers::PhoneNumber;
using i18n::phonenumbers::PhoneNumberUtil;

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

void split(const PhoneNumber& number, PhoneBlock& block)
{
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    std::string national;
    util.GetNationalSignificantNumber(number, &national);
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
        const std::u16string_view text(phone);
        PhoneNumber number;
        if (text.size() > longestPhone ||
            PhoneNumberUtil::GetInstance()->Parse(platform::utf8(text), homeRegion(), &number) != PhoneNumberUtil::NO_PARSING_ERROR)
            return 0;
        split(number, block);
        return 1;
    } catch (const std::exception&) {
        return 0;
    }
}

int CatTerm() { return 1; }

} // extern "C"
