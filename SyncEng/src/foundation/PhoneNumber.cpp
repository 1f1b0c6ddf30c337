#include "foundation/PhoneNumber.h"

namespace mb {

std::u16string composePhoneNumber(const PhoneParts& parts, int countryMode)
{
    std::u16string text;
    if (!parts.country.empty())
        text = u"+" + parts.country;
    else if (countryMode > 1)
        text = u"+1";
    for (const std::u16string* part : {&parts.area, &parts.local}) {
        if (part->empty()) continue;
        if (!text.empty()) text += u" ";
        text += *part;
    }
    if (!parts.extension.empty()) {
        if (!text.empty()) text += u" ext. ";
        text += parts.extension;
    }
    return text;
}

std::u16string NormalizePhoneNumber(std::u16string_view value, int countryMode)
{
    const PhoneParts parts = ContactParser().ParsePhone(value);
    return parts.empty() ? std::u16string() : composePhoneNumber(parts, countryMode);
}

} // namespace mb
