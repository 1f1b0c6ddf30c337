#include "text.h"

#include "thread_text.h"
#include "unit_tables.h"
#include <cwctype>
#include <locale.h>

namespace platform {

UnitTables::UnitTables()
{
    locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    for (unsigned c = 0; c < 0x10000; ++c) {
        lower[c] = upper[c] = static_cast<char16_t>(c);
        if (!locale || (c & 0xF800) == 0xD800) continue;
        const auto low = towlower_l(static_cast<wint_t>(c), locale), up = towupper_l(static_cast<wint_t>(c), locale);
        if (low < 0x10000) lower[c] = static_cast<char16_t>(low);
        if (up < 0x10000) upper[c] = static_cast<char16_t>(up);
        if (iswalpha_l(static_cast<wint_t>(c), locale)) alpha[c] = true;
        if (iswspace_l(static_cast<wint_t>(c), locale)) space[c] = true;
    }
    if (locale) freelocale(locale);
}

std::string narrow(std::u16string_view text) { return utf8(text); }
std::u16string widen(std::string_view bytes) { return utf16(bytes); }
std::string narrowByThread(std::u16string_view text) { return utf8(text); }
std::u16string widenByThread(std::string_view bytes) { return utf16(bytes); }

} // namespace platform
