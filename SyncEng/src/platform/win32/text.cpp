#include "text.h"

#include "thread_text.h"
#include "unit_tables.h"
#include <windows.h>

#include <algorithm>
#include <numeric>

namespace platform {

UnitTables::UnitTables()
{
    std::iota(lower.begin(), lower.end(), u'\0');
    std::iota(upper.begin(), upper.end(), u'\0');
    const auto all = lower;
    const auto* units = reinterpret_cast<const wchar_t*>(all.data());
    // Surrogates are skipped: two adjacent ones would be taken for one character.
    for (const auto& [from, count] : {std::pair(1, 0xD800 - 1), std::pair(0xE000, 0x2000)}) {
        const auto convert = [&](DWORD how, std::array<char16_t, 0x10000>& to) {
            LCMapStringEx(LOCALE_NAME_INVARIANT, how, units + from, count, reinterpret_cast<wchar_t*>(to.data()) + from, count, nullptr,
                          nullptr, 0);
        };
        convert(LCMAP_LOWERCASE, lower);
        convert(LCMAP_UPPERCASE, upper);
        std::array<WORD, 0x10000> types{};
        if (!GetStringTypeW(CT_CTYPE1, units + from, count, types.data())) continue;
        for (int i = 0; i < count; ++i) {
            alpha[static_cast<std::size_t>(from + i)] = (types[static_cast<std::size_t>(i)] & C1_ALPHA) != 0;
            space[static_cast<std::size_t>(from + i)] = (types[static_cast<std::size_t>(i)] & C1_SPACE) != 0;
        }
    }
}

namespace {

std::string narrowTo(UINT page, std::u16string_view text)
{
    if (text.empty()) return {};
    const auto* units = reinterpret_cast<const wchar_t*>(text.data());
    const int count = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(page, 0, units, count, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(std::max(size, 0)), '\0');
    WideCharToMultiByte(page, 0, units, count, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

std::u16string widenFrom(UINT page, std::string_view bytes)
{
    if (bytes.empty()) return {};
    const int count = static_cast<int>(bytes.size());
    const int size = MultiByteToWideChar(page, 0, bytes.data(), count, nullptr, 0);
    std::u16string text(static_cast<std::size_t>(std::max(size, 0)), u'\0');
    MultiByteToWideChar(page, 0, bytes.data(), count, reinterpret_cast<wchar_t*>(text.data()), size);
    return text;
}

} // namespace

std::string narrow(std::u16string_view text) { return narrowTo(CP_ACP, text); }
std::u16string widen(std::string_view bytes) { return widenFrom(CP_ACP, bytes); }
std::string narrowByThread(std::u16string_view text) { return narrowTo(CP_THREAD_ACP, text); }
std::u16string widenByThread(std::string_view bytes) { return widenFrom(CP_THREAD_ACP, bytes); }

} // namespace platform
