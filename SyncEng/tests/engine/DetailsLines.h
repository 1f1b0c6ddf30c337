// The lines of a details text, in any order.
#pragma once
#include <set>
#include <string>
#include <string_view>

namespace mbtest {

using Lines = std::multiset<std::u16string>;

inline Lines linesOf(std::u16string_view text)
{
    Lines lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        lines.emplace(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

inline std::u16string textOfLines(const Lines& lines)
{
    std::u16string text;
    for (const std::u16string& line : lines) text.append(text.empty() ? u"" : u"\n").append(line);
    return text;
}

} // namespace mbtest
