#include "foundation/Format.h"

#include <charconv>

namespace mb {
namespace {

constexpr std::u16string_view wideMark = u"I64";

} // namespace

void FormatArgument::append(std::u16string& out, bool hexadecimal) const
{
    if (const auto* text = std::get_if<std::u16string_view>(&value_)) {
        out += *text;
        return;
    }
    const std::int64_t number = std::get<std::int64_t>(value_);
    char digits[24];
    // Hexadecimal uses the argument's own width.
    const auto bits = bits_ == 32 ? static_cast<std::uint32_t>(number) : static_cast<std::uint64_t>(number);
    const auto end =
        hexadecimal ? std::to_chars(digits, std::end(digits), bits, 16).ptr : std::to_chars(digits, std::end(digits), number).ptr;
    out.append(digits, end);
}

std::u16string FormatList(std::u16string_view format, std::initializer_list<FormatArgument> arguments)
{
    std::u16string out;
    out.reserve(format.size() + 64);
    const FormatArgument* next = arguments.begin();
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != u'%' || i + 1 == format.size()) {
            out += format[i];
            continue;
        }
        std::size_t kind = i + 1;
        if (format[kind] == u'%') {
            out += u'%';
            i = kind;
            continue;
        }
        if (format.substr(kind).starts_with(wideMark)) kind += wideMark.size();
        const char16_t letter = kind < format.size() ? format[kind] : u'\0';
        if (letter != u's' && letter != u'd' && letter != u'u' && letter != u'x') {
            out += u'%'; // an unknown directive is copied
            continue;
        }
        if (next != arguments.end()) (next++)->append(out, letter == u'x');
        i = kind;
    }
    return out;
}

std::u16string FormatStringList(std::u16string_view format, std::initializer_list<std::u16string_view> texts)
{
    std::u16string out;
    for (const std::u16string_view text : texts) {
        const std::size_t at = format.find(u"%s");
        if (at == std::u16string_view::npos) break;
        out.append(format.substr(0, at)).append(text);
        format.remove_prefix(at + 2);
    }
    return out.append(format);
}

} // namespace mb
