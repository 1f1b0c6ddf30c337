#include "SystemCharset.h"

#include <windows.h>

#include <charconv>

namespace mb::vcard {
namespace {

struct NamedPage {
    std::string_view name;
    UINT page;
};

// Names that do not contain the number of their code page.
constexpr NamedPage kNamed[] = {{"US-ASCII", 20127}, {"ASCII", 20127},       {"SHIFT_JIS", 932}, {"SHIFT-JIS", 932}, {"SJIS", 932},
                                {"EUC-JP", 20932},   {"ISO-2022-JP", 50220}, {"GB2312", 936},    {"GBK", 936},       {"GB18030", 54936},
                                {"BIG5", 950},       {"EUC-KR", 949},        {"KOI8-R", 20866},  {"KOI8-U", 21866},  {"MACINTOSH", 10000},
                                {"LATIN1", 28591},   {"UTF-8", CP_UTF8},     {"UTF8", CP_UTF8},  {"TIS-620", 874}};

// Prefixes of names that end in a number, such as WINDOWS-1250 and ISO-8859-2, and what to add to the number.
constexpr NamedPage kNumbered[] = {{"ISO-8859-", 28590}, {"ISO8859-", 28590}, {"WINDOWS-", 0}, {"CP", 0}, {"IBM", 0}};

UINT pageOf(std::string_view charset)
{
    std::string name(charset);
    for (char& c : name)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    for (const NamedPage& named : kNamed)
        if (name == named.name) return named.page;
    for (const NamedPage& kind : kNumbered) {
        if (!name.starts_with(kind.name)) continue;
        const char *digits = name.data() + kind.name.size(), *end = name.data() + name.size();
        UINT number = 0;
        const auto [stopped, error] = std::from_chars(digits, end, number);
        if (error != std::errc() || stopped != end || number == 0) return 0;
        return IsValidCodePage(kind.page + number) ? kind.page + number : 0;
    }
    return 0;
}

std::optional<std::u16string> decodePage(std::string_view bytes, UINT page)
{
    if (bytes.empty()) return std::u16string();
    const DWORD flags = page >= 50220 && page <= 50229 ? 0 : MB_ERR_INVALID_CHARS; // code pages with shift sequences accept no flags
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(page, flags, bytes.data(), size, nullptr, 0);
    if (length <= 0) return std::nullopt;
    std::u16string text(static_cast<std::size_t>(length), u'\0');
    MultiByteToWideChar(page, flags, bytes.data(), size, reinterpret_cast<wchar_t*>(text.data()), length);
    return text;
}

} // namespace

std::optional<std::u16string> systemDecode(std::string_view bytes, std::string_view charset)
{
    const UINT page = pageOf(charset);
    return page ? decodePage(bytes, page) : std::nullopt;
}

std::optional<std::string> systemEncode(std::u16string_view text, std::string_view charset)
{
    const UINT page = pageOf(charset);
    if (!page) return std::nullopt;
    if (text.empty()) return std::string();
    const auto* wide = reinterpret_cast<const wchar_t*>(text.data());
    const int size = static_cast<int>(text.size());
    const int length = WideCharToMultiByte(page, 0, wide, size, nullptr, 0, nullptr, nullptr);
    if (length <= 0) return std::nullopt;
    std::string bytes(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(page, 0, wide, size, bytes.data(), length, nullptr, nullptr);
    // A character that the code page lacks is replaced. Not every code page reports that, so the result is decoded and compared.
    return decodePage(bytes, page) == text ? std::optional(bytes) : std::nullopt;
}

} // namespace mb::vcard
