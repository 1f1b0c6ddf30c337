#include "WrittenNumber.h"

#include "text.h"

#include <algorithm>
#include <array>

namespace phone {
namespace {

// The digit that a character stands for; 0 if it is none.
char digitOf(char16_t c)
{
    for (const char16_t zero : {u'0', u'\uFF10', u'\u0660', u'\u06F0'})
        if (c >= zero && c <= zero + 9) return static_cast<char>('0' + (c - zero));
    return 0;
}

bool isPlus(char16_t c) { return c == u'+' || c == u'\uFF0B'; }

bool isGrouping(char16_t c)
{
    constexpr std::u16string_view all = u" -./()[]\u00A0\u2010\u2011\u2012\u2013\u2014\u2015\u2212\u3000\uFF08\uFF09\uFF0D\uFF0E\uFF0F";
    return all.find(c) != all.npos;
}

bool isGrouping(std::u16string_view text)
{
    return std::ranges::all_of(text, [](char16_t c) { return isGrouping(c); });
}

// Nothing but what groups digits, and one plus sign.
bool mayStandInFront(std::u16string_view text)
{
    const auto plus = std::ranges::find_if(text, isPlus);
    const auto at = static_cast<std::size_t>(plus - text.begin());
    return isGrouping(text.substr(0, at)) && (at == text.size() || isGrouping(text.substr(at + 1)));
}

bool announcesExtension(std::u16string_view text)
{
    constexpr std::array<std::u16string_view, 9> words{u"x",   u"ext",   u"extn", u"extension", u"extensi\u00F3n", u"\u0434\u043E\u0431",
                                                       u"int", u"anexo", u"#"};
    std::u16string word(text);
    std::erase_if(word, [](char16_t c) { return isGrouping(c) || c == u':' || c == u',' || c == u';' || c == u'='; });
    return std::ranges::find(words, platform::lowered(word)) != words.end();
}

} // namespace

WrittenNumber::WrittenNumber(std::u16string_view text)
{
    constexpr std::u16string_view scheme = u"tel:";
    if (platform::equalNoCase(text.substr(0, scheme.size()), scheme)) text.remove_prefix(scheme.size());
    text_ = text;
    for (std::size_t i = 0; i < text_.size(); ++i) {
        const char digit = digitOf(text_[i]);
        if (!digit) continue;
        digits_ += digit;
        places_.push_back(i);
    }
}

bool WrittenNumber::isUnderstood(std::size_t extensionLength) const
{
    if (digits_.size() <= extensionLength) return false;
    const std::size_t length = digits_.size() - extensionLength;
    const std::u16string_view text(text_);
    if (!mayStandInFront(text.substr(0, places_.front()))) return false;
    for (std::size_t i = 1; i < length; ++i)
        if (!isGrouping(text.substr(places_[i - 1] + 1, places_[i] - places_[i - 1] - 1))) return false;
    if (extensionLength != 0 && !isExtension(places_[length - 1] + 1, length)) return false;
    return isGrouping(text.substr(places_.back() + 1));
}

bool WrittenNumber::isExtension(std::size_t begin, std::size_t firstDigit) const
{
    const std::u16string_view text(text_);
    const bool inOnePiece = places_.back() - places_[firstDigit] == places_.size() - 1 - firstDigit;
    return inOnePiece && announcesExtension(text.substr(begin, places_[firstDigit] - begin));
}

} // namespace phone
