// ASCII case helpers: property names, parameters and keywords of a vCard are ASCII and case-insensitive.
#pragma once
#include <algorithm>
#include <string>
#include <string_view>

namespace mb::vcard {

constexpr char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

constexpr bool equalFold(std::string_view a, std::string_view b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (upper(a[i]) != upper(b[i])) return false;
    return true;
}

constexpr bool endsWithFold(std::string_view text, std::string_view tail)
{
    return text.size() >= tail.size() && equalFold(text.substr(text.size() - tail.size()), tail);
}

inline bool holdsFold(std::string_view text, std::string_view upperWord)
{
    const auto same = [](char a, char b) { return upper(a) == b; };
    return std::search(text.begin(), text.end(), upperWord.begin(), upperWord.end(), same) != text.end();
}

inline std::string upperCopy(std::string_view text)
{
    std::string copy(text);
    for (char& c : copy) c = upper(c);
    return copy;
}

inline std::string lowerCopy(std::string_view text)
{
    std::string copy(text);
    for (char& c : copy) c = lower(c);
    return copy;
}

} // namespace mb::vcard
