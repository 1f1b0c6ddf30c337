// The lines of details texts in any order, random edits of them, and the reference for their merge.
#pragma once
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

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

enum class Winner { One, Two };

// The reference: what two sets become whose last common content was `base`. A property that stands once follows its own rule.
inline std::set<std::u16string> mergeOfSets(const std::set<std::u16string>& one, const std::set<std::u16string>& two,
                                            const std::set<std::u16string>& base, Winner winner)
{
    std::set<std::u16string> merged;
    for (const std::u16string& line : one)
        if (!base.contains(line) || two.contains(line)) merged.insert(line);
    for (const std::u16string& line : two)
        if (!base.contains(line)) merged.insert(line);
    std::vector<std::u16string> days;
    for (const std::u16string& line : merged)
        if (line.starts_with(u"BDAY")) days.push_back(line);
    if (days.size() > 1)
        for (const std::u16string& day : days)
            if (!(winner == Winner::One ? one : two).contains(day)) merged.erase(day);
    return merged;
}

class RandomLines {
public:
    explicit RandomLines(unsigned seed) : random_(seed) {}
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    std::u16string number(int limit) { return {static_cast<char16_t>(u'a' + below(limit))}; }
    std::u16string line() { return u"X-" + number(4) + u";TYPE=" + number(2) + u":" + number(6); }
    void edit(std::set<std::u16string>& lines)
    {
        for (int edits = below(5); edits > 0; --edits) {
            if (!lines.empty() && below(2) == 0) lines.erase(std::next(lines.begin(), below(static_cast<int>(lines.size()))));
            if (below(3) != 0) lines.insert(line());
            if (below(6) == 0) {
                std::erase_if(lines, [](const std::u16string& each) { return each.starts_with(u"BDAY"); });
                lines.insert(u"BDAY:" + number(20));
            }
        }
    }

private:
    std::mt19937 random_;
};

inline std::u16string joined(const std::set<std::u16string>& lines) { return textOfLines(Lines(lines.begin(), lines.end())); }

} // namespace mbtest
