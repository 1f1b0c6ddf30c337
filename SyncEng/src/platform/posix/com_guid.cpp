// GUIDs: random creation, formatting with braces in upper case, parsing of that form or of a ProgID.
#include "posix/com_abi.h"
#include "registry.h"
#include <array>
#include <string>
#include <string_view>
#include <sys/random.h>

namespace {

constexpr std::size_t kTextLength = 38;

int hexDigit(char16_t c) noexcept
{
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

bool parse(std::u16string_view text, GUID& out) noexcept
{
    if (text.size() != kTextLength || text.front() != u'{' || text.back() != u'}') return false;
    std::array<std::uint8_t, 16> bytes{};
    std::size_t digits = 0;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        if (i == 9 || i == 14 || i == 19 || i == 24) {
            if (text[i] != u'-') return false;
            continue;
        }
        const int d = hexDigit(text[i]);
        if (d < 0) return false;
        bytes[digits / 2] = static_cast<std::uint8_t>(bytes[digits / 2] << 4 | d);
        ++digits;
    }
    auto word = [&](std::size_t at, std::size_t n) {
        std::uint32_t v = 0;
        for (std::size_t i = 0; i < n; ++i) v = v << 8 | bytes[at + i];
        return v;
    };
    out.Data1 = word(0, 4);
    out.Data2 = static_cast<std::uint16_t>(word(4, 2));
    out.Data3 = static_cast<std::uint16_t>(word(6, 2));
    std::memcpy(out.Data4, bytes.data() + 8, 8);
    return true;
}

} // namespace

HRESULT CoCreateGuid(GUID* guid)
{
    if (!guid) return E_POINTER;
    if (getrandom(guid, sizeof *guid, 0) != static_cast<ssize_t>(sizeof *guid)) return E_FAIL;
    guid->Data3 = static_cast<std::uint16_t>((guid->Data3 & 0x0FFF) | 0x4000); // version 4 (random)
    guid->Data4[0] = static_cast<std::uint8_t>((guid->Data4[0] & 0x3F) | 0x80);
    return S_OK;
}

int StringFromGUID2(REFGUID guid, LPOLESTR out, int max)
{
    if (max <= static_cast<int>(kTextLength)) return 0;
    static constexpr char16_t kHex[] = u"0123456789ABCDEF";
    const std::array<std::uint8_t, 8> head{static_cast<std::uint8_t>(guid.Data1 >> 24), static_cast<std::uint8_t>(guid.Data1 >> 16),
                                           static_cast<std::uint8_t>(guid.Data1 >> 8),  static_cast<std::uint8_t>(guid.Data1),
                                           static_cast<std::uint8_t>(guid.Data2 >> 8),  static_cast<std::uint8_t>(guid.Data2),
                                           static_cast<std::uint8_t>(guid.Data3 >> 8),  static_cast<std::uint8_t>(guid.Data3)};
    OLECHAR* to = out;
    *to++ = u'{';
    for (std::size_t i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) *to++ = u'-';
        const std::uint8_t byte = i < 8 ? head[i] : guid.Data4[i - 8];
        *to++ = kHex[byte >> 4];
        *to++ = kHex[byte & 15];
    }
    *to++ = u'}';
    *to = 0;
    return static_cast<int>(kTextLength) + 1;
}

HRESULT StringFromCLSID(REFCLSID clsid, LPOLESTR* out)
{
    if (!out) return E_POINTER;
    *out = static_cast<LPOLESTR>(CoTaskMemAlloc((kTextLength + 1) * sizeof(OLECHAR)));
    if (!*out) return E_OUTOFMEMORY;
    StringFromGUID2(clsid, *out, kTextLength + 1);
    return S_OK;
}

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* out)
{
    if (!out) return E_POINTER;
    *out = GUID_NULL;
    if (!text) return S_OK;
    const std::u16string_view view(text);
    if (parse(view, *out)) return S_OK;
    return view.starts_with(u'{') ? CO_E_CLASSSTRING : CLSIDFromProgID(text, out);
}

HRESULT CLSIDFromProgID(LPCOLESTR progId, CLSID* out)
{
    if (!progId || !out) return E_POINTER;
    *out = GUID_NULL;
    try {
        const auto key = platform::RegistryKey::open(platform::Root::ClassesRoot, std::u16string(progId) + u"\\CLSID");
        const auto text = key ? key->text(u"") : std::nullopt;
        return text && parse(*text, *out) ? S_OK : CO_E_CLASSSTRING;
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}
