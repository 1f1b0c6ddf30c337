// Fills the directives %s, %d, %u, %x and %I64d of the system's texts with typed arguments. A missing argument is written as nothing, a
// surplus one is ignored, and one of another type is written in its own form; so a wrong text cannot cause an invalid read.
#pragma once
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

namespace mb {

class FormatArgument {
public:
    FormatArgument(std::u16string_view text) : value_(text) {}
    FormatArgument(const std::u16string& text) : value_(std::u16string_view(text)) {}
    FormatArgument(const char16_t* text) : value_(std::u16string_view(text)) {}
    template <std::integral T> FormatArgument(T number) : value_(static_cast<std::int64_t>(number)), bits_(sizeof(T) <= 4 ? 32 : 64) {}
    void append(std::u16string& out, bool hexadecimal) const;

private:
    std::variant<std::u16string_view, std::int64_t> value_;
    int bits_ = 64;
};

std::u16string FormatList(std::u16string_view format, std::initializer_list<FormatArgument> arguments);

template <class... Args> std::u16string Format(std::u16string_view format, const Args&... args)
{
    return FormatList(format, {FormatArgument(args)...});
}

// Replaces each "%s" by the next text; nothing else is a directive. Surplus texts are ignored; surplus "%s" stay. Part of the documented
// interface; the module itself formats with Format() alone.
std::u16string FormatStringList(std::u16string_view format, std::initializer_list<std::u16string_view> texts);

template <class... Texts> std::u16string FormatStrings(std::u16string_view format, const Texts&... texts)
{
    return FormatStringList(format, {std::u16string_view(texts)...});
}

} // namespace mb
