#include "FileText.h"

#include "Charset.h"

namespace mb::vcard {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

std::u16string units(std::string_view bytes, bool big)
{
    std::u16string text(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]), second = static_cast<unsigned char>(bytes[2 * i + 1]);
        text[i] = static_cast<char16_t>(big ? first << 8 | second : second << 8 | first);
    }
    return text;
}

bool wellFormed(std::u16string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] < 0xD800 || text[i] >= 0xE000) continue;
        if (text[i] >= 0xDC00 || i + 1 == text.size() || text[i + 1] < 0xDC00 || text[i + 1] >= 0xE000) return false;
        ++i;
    }
    return true;
}

FileText::Form formOf(std::string_view bytes)
{
    using Form = FileText::Form;
    if (bytes.starts_with(kUtf8Mark)) return Form::Utf8Mark;
    if (bytes.starts_with("\xFF\xFE")) return Form::Utf16Little;
    if (bytes.starts_with("\xFE\xFF")) return Form::Utf16Big;
    // No mark: a card begins with an ASCII character, which has one NUL byte in UTF-16, and 8-bit text contains no NUL.
    if (bytes.size() >= 2 && bytes[0] != '\0' && bytes[1] == '\0') return Form::Utf16Little;
    if (bytes.size() >= 2 && bytes[0] == '\0' && bytes[1] != '\0') return Form::Utf16Big;
    return Form::Bytes;
}

} // namespace

std::optional<FileText> openText(std::string bytes)
{
    FileText file{formOf(bytes), false, {}};
    if (file.form == FileText::Form::Bytes) {
        file.text = std::move(bytes);
    } else if (file.form == FileText::Form::Utf8Mark) {
        file.text = bytes.substr(kUtf8Mark.size());
    } else {
        if (bytes.size() % 2 != 0) return std::nullopt;
        std::u16string text = units(bytes, file.form == FileText::Form::Utf16Big);
        file.mark = text[0] == 0xFEFF;
        if (!wellFormed(text)) return std::nullopt;
        file.text = toUtf8(std::u16string_view(text).substr(file.mark ? 1 : 0));
    }
    return file;
}

std::string closeText(const FileText& file, std::string_view text)
{
    if (file.form == FileText::Form::Bytes) return std::string(text);
    if (file.form == FileText::Form::Utf8Mark) return std::string(kUtf8Mark).append(text);
    const std::u16string wide = (file.mark ? u"\uFEFF" : u"") + fromUtf8(text);
    std::string bytes;
    bytes.reserve(wide.size() * 2);
    for (const char16_t c : wide) {
        const char high = static_cast<char>(c >> 8), low = static_cast<char>(c & 0xFF);
        const bool big = file.form == FileText::Form::Utf16Big;
        bytes += big ? high : low;
        bytes += big ? low : high;
    }
    return bytes;
}

} // namespace mb::vcard
