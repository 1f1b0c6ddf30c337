#include "text.h"
#include "utf8.h"

#include <clocale>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace platform;
using namespace std::string_literals;

namespace {

// UTF-8 by its definition, character by character.
std::string slowUtf8(std::u32string_view text)
{
    std::string out;
    for (const char32_t c : text) {
        const auto tail = [&](int shift) { out += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
        if (c < 0x80)
            out += static_cast<char>(c);
        else if (c < 0x800)
            out += static_cast<char>(0xC0 | (c >> 6)), tail(0);
        else if (c < 0x10000)
            out += static_cast<char>(0xE0 | (c >> 12)), tail(6), tail(0);
        else
            out += static_cast<char>(0xF0 | (c >> 18)), tail(12), tail(6), tail(0);
    }
    return out;
}

std::u16string slowUtf16(std::u32string_view text)
{
    std::u16string out;
    for (const char32_t c : text) {
        if (c < 0x10000) {
            out += static_cast<char16_t>(c);
        } else {
            out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        }
    }
    return out;
}

// Sets the process's locale while it lives.
class WithLocale {
public:
    explicit WithLocale(const char* name) : before_(std::setlocale(LC_ALL, nullptr)) { std::setlocale(LC_ALL, name); }
    WithLocale(const WithLocale&) = delete;
    WithLocale& operator=(const WithLocale&) = delete;
    ~WithLocale() { std::setlocale(LC_ALL, before_.c_str()); }

private:
    std::string before_;
};

} // namespace

TEST(TextHelpers, EveryCharacterSurvivesConversionToUtf8AndBack)
{
    std::u32string all;
    for (char32_t c = 0; c <= 0x10FFFF; ++c)
        if (c < 0xD800 || c > 0xDFFF) all += c;
    const std::u16string units = slowUtf16(all);
    const std::string bytes = slowUtf8(all);
    EXPECT_TRUE(utf8(units) == bytes);
    EXPECT_TRUE(utf16(bytes) == units);
}

TEST(TextHelpers, TextsOfAllLengthsSurviveConversionWhereverTheirAsciiPrefixEnds)
{
    for (std::size_t length = 0; length < 70; ++length)
        for (std::size_t at = 0; at <= length; ++at)
            for (const char32_t c : {U'z', U'\u00E4', U'\u4E2D', U'\U0001F600'}) {
                std::u32string text(length, U'a');
                if (at < length) text[at] = c;
                ASSERT_EQ(utf8(slowUtf16(text)), slowUtf8(text));
                ASSERT_EQ(utf16(slowUtf8(text)), slowUtf16(text));
            }
}

TEST(TextHelpers, AZeroCharacterIsConverted)
{
    EXPECT_EQ(utf8(u"a\0b"s), "a\0b"s);
    EXPECT_EQ(utf16("a\0b"s), u"a\0b"s);
    EXPECT_EQ(lowered(u"A\0B"s), u"a\0b"s);
}

TEST(TextHelpers, AnUnpairedSurrogateBecomesTheReplacement)
{
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(utf8(std::u16string{0xD83D}), replacement);
    EXPECT_EQ(utf8(std::u16string{0xDE00}), replacement);
    EXPECT_EQ(utf8(std::u16string{u'a', 0xD83D, u'b'}), "a" + replacement + "b");
    EXPECT_EQ(utf8(std::u16string{0xDE00, 0xD83D}), replacement + replacement);
    EXPECT_EQ(utf8(std::u16string{0xD83D, 0xD83D, 0xDE00}), replacement + "\xF0\x9F\x98\x80");
}

TEST(TextHelpers, IllFormedBytesBecomeTheReplacementAndDoNotAffectOthers)
{
    EXPECT_EQ(utf16("a\x80z"), u"a\uFFFDz");
    EXPECT_EQ(utf16("a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(utf16("a\xC0\xAFz"), u"a\uFFFD\uFFFDz");                     // a slash in two bytes (overlong)
    EXPECT_EQ(utf16("a\xE0\x80\xAFz"), u"a\uFFFD\uFFFD\uFFFDz");           // in three
    EXPECT_EQ(utf16("a\xF0\x80\x80\xAFz"), u"a\uFFFD\uFFFD\uFFFD\uFFFDz"); // in four
    EXPECT_EQ(utf16("a\xED\xA0\xBDz"), u"a\uFFFD\uFFFD\uFFFDz");           // a surrogate
    EXPECT_EQ(utf16("a\xF4\x90\x80\x80z"), u"a\uFFFD\uFFFD\uFFFD\uFFFDz"); // beyond U+10FFFF
    EXPECT_EQ(utf16("a\xF5\x80z"), u"a\uFFFD\uFFFDz");
}

TEST(TextHelpers, BytesAreUtf8WhereNoneIsReplaced)
{
    for (const auto& bytes : {""s, "plain"s, "a\0b"s, "Zo\xC3\xAB"s, "\xE4\xB8\xAD"s, "\xF0\x9F\x98\x80"s, "\xEF\xBF\xBD"s})
        EXPECT_TRUE(isUtf8(bytes)) << bytes;
    for (const auto& bytes : {"a\x80z"s, "Zo\xEB"s, "\xC3"s, "\xE0\x80\xAF"s, "\xED\xA0\xBD"s, "\xF4\x90\x80\x80"s, "\xEF\xBF"s})
        EXPECT_FALSE(isUtf8(bytes)) << bytes;
}

TEST(TextHelpers, ATruncatedCharacterBecomesOneReplacement)
{
    EXPECT_EQ(utf16("\xC3"), u"\uFFFD");
    EXPECT_EQ(utf16("\xE4\xB8"), u"\uFFFD");
    EXPECT_EQ(utf16("\xF0\x9F\x98"), u"\uFFFD");
    EXPECT_EQ(utf16("\xF0\x9F\x98z"), u"\uFFFDz");
    EXPECT_EQ(utf16("\xF0\x9F\x98\xC3\xA4"), u"\uFFFD\u00E4");
}

TEST(TextHelpers, AnyBytesGiveAWellFormedText)
{
    std::mt19937 random(20110);
    for (int round = 0; round < 20000; ++round) {
        std::string bytes(random() % 40, '\0');
        for (char& c : bytes) c = static_cast<char>(random() % 4 ? random() : 'a');
        const std::u16string text = utf16(bytes);
        ASSERT_LE(text.size(), bytes.size());
        ASSERT_EQ(utf16(utf8(text)), text);
    }
}

TEST(TextHelpers, CaseIsFoldedInOtherAlphabets)
{
    EXPECT_EQ(lowered(u"ABCXYZ @[`{ 0189"), u"abcxyz @[`{ 0189");
    EXPECT_EQ(lowered(u"\u00C0\u00C4\u00D6\u00DC\u00DE\u00D7"),
              u"\u00E0\u00E4\u00F6\u00FC\u00FE\u00D7"); // Latin; the times sign has no case
    EXPECT_EQ(lowered(u"\u0141\u0160\u0178\u01C4"), u"\u0142\u0161\u00FF\u01C6");
    EXPECT_EQ(lowered(u"\u0391\u03A9\u03A3\u0386"), u"\u03B1\u03C9\u03C3\u03AC"); // Greek
    EXPECT_EQ(lowered(u"\u0410\u042F\u0401\u0490"), u"\u0430\u044F\u0451\u0491"); // Cyrillic
    EXPECT_EQ(lowered(u"\u0531\u0556"), u"\u0561\u0586");                         // Armenian
    EXPECT_EQ(lowered(u"\u1E00\u1EF8"), u"\u1E01\u1EF9");                         // Latin (Vietnamese)
    EXPECT_EQ(lowered(u"\uFF21\uFF3A"), u"\uFF41\uFF5A");                         // full width
    EXPECT_EQ(lowered(u"\u00DF\u4E2D\u05D0\u0627\u3042"), u"\u00DF\u4E2D\u05D0\u0627\u3042");
    EXPECT_EQ(upper(u'\u00E4'), u'\u00C4');
    EXPECT_EQ(upper(u'\u00FF'), u'\u0178');
    EXPECT_EQ(upper(u'\u044F'), u'\u042F');
    EXPECT_EQ(upper(u'z'), u'Z');
    EXPECT_EQ(upper(u'{'), u'{');
    EXPECT_EQ(upper(u'\u00DF'), u'\u00DF'); // sharp s has no upper case of one unit
}

TEST(TextHelpers, FoldingIsUnitByUnit)
{
    std::u16string all;
    for (unsigned c = 0; c < 0x10000; ++c) {
        const auto unit = static_cast<char16_t>(c);
        all += unit;
        ASSERT_EQ(lower(lower(unit)), lower(unit)) << c;
        if (c >= 0xD800 && c < 0xE000) {
            ASSERT_EQ(lower(unit), unit);
            ASSERT_EQ(upper(unit), unit);
        }
    }
    const std::u16string folded = lowered(all);
    ASSERT_EQ(folded.size(), all.size());
    for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(folded[i], lower(all[i])) << i;
    // The letter has a lower case, but its surrogates alone have none.
    EXPECT_EQ(lowered(u"\U00010400"), u"\U00010400");
}

TEST(TextHelpers, FoldingIgnoresTheProcessesLocale)
{
    for (const char* name : {"C", "C.UTF-8", "POSIX"}) {
        const WithLocale locale(name);
        EXPECT_EQ(lowered(u"\u00C4I\u0410"), u"\u00E4i\u0430");
        EXPECT_TRUE(isAlpha(u'\u00E4'));
        EXPECT_EQ(toDouble(u"2.5"), 2.5);
    }
}

TEST(TextHelpers, TextsCompareCaseInsensitively)
{
    EXPECT_EQ(compareNoCase(u"", u""), 0);
    EXPECT_EQ(compareNoCase(u"M\u00DCLLER", u"m\u00FCller"), 0);
    EXPECT_EQ(compareNoCase(u"\u0418\u0412\u0410\u041D", u"\u0438\u0432\u0430\u043D"), 0);
    EXPECT_LT(compareNoCase(u"a", u"B"), 0);
    EXPECT_GT(compareNoCase(u"b", u"A"), 0);
    EXPECT_LT(compareNoCase(u"a", u"ab"), 0);
    EXPECT_GT(compareNoCase(u"AB", u"a"), 0);
    EXPECT_LT(compareNoCase(u"", u"a"), 0);
    EXPECT_NE(compareNoCase(u"\u00DF", u"ss"), 0);
    // Quirk kept on purpose: texts are compared in lower case, so an underscore precedes every letter.
    EXPECT_LT(compareNoCase(u"_", u"A"), 0);
    EXPECT_GT(compareNoCase(u"\uFFFD", u"\xD83D"), 0);
}

TEST(TextHelpers, EqualTextsHaveEqualLengths)
{
    EXPECT_TRUE(equalNoCase(u"Zorel", u"zOREL"));
    EXPECT_FALSE(equalNoCase(u"Zorel", u"zOREL "));
    EXPECT_FALSE(equalNoCase(u"a\0b"s, u"a\0c"s));
    EXPECT_TRUE(equalNoCase(u"", u""));
}

TEST(TextHelpers, CharactersHaveTheirClasses)
{
    for (const char16_t c : u"azAZ\u00E4\u00DF\u03A9\u044F\u4E2D\u05D0"s) {
        EXPECT_TRUE(isAlpha(c)) << static_cast<unsigned>(c);
        EXPECT_TRUE(isAlnum(c)) << static_cast<unsigned>(c);
        EXPECT_FALSE(isDigit(c)) << static_cast<unsigned>(c);
        EXPECT_FALSE(isSpace(c)) << static_cast<unsigned>(c);
    }
    for (const char16_t c : u"0123456789"s) {
        EXPECT_TRUE(isDigit(c) && isAlnum(c));
        EXPECT_FALSE(isAlpha(c));
    }
    for (const char16_t c : u" \t\n\v\f\r\u2003\u3000"s) {
        EXPECT_TRUE(isSpace(c)) << static_cast<unsigned>(c);
        EXPECT_FALSE(isAlnum(c)) << static_cast<unsigned>(c);
    }
    for (const char16_t c : u"@[`{/:-\u00D7\u2013\u0000\u007F"s) EXPECT_FALSE(isAlnum(c) || isSpace(c)) << static_cast<unsigned>(c);
    EXPECT_FALSE(isDigit(u'\u0663') || isDigit(u'\u00B2')); // digits of other scripts, superscript digits
    EXPECT_FALSE(isAlpha(char16_t{0xD83D}));
}

TEST(TextHelpers, ANumberEndsWhereItsDigitsEnd)
{
    EXPECT_EQ(toInt(u" \t\r\n-12x9"), -12);
    EXPECT_EQ(toInt(u"+7"), 7);
    EXPECT_EQ(toInt(u"007"), 7);
    EXPECT_EQ(toInt(u"1,000"), 1);
    EXPECT_EQ(toInt64(u"5.9"), 5);
}

TEST(TextHelpers, ATextWithoutDigitsIsZero)
{
    for (const std::u16string_view text : {u"", u"   ", u"-", u"+", u"x1", u"--1", u"+-1", u"- 1", u"\u0663", u".5"}) {
        EXPECT_EQ(toInt(text), 0);
        EXPECT_EQ(toInt64(text), 0);
    }
}

TEST(TextHelpers, ATooLargeNumberClamps)
{
    EXPECT_EQ(toInt(u"2147483647"), std::numeric_limits<int>::max());
    EXPECT_EQ(toInt(u"2147483648"), std::numeric_limits<int>::max());
    EXPECT_EQ(toInt(u"-2147483648"), std::numeric_limits<int>::min());
    EXPECT_EQ(toInt(u"-2147483649"), std::numeric_limits<int>::min());
    EXPECT_EQ(toInt(u"99999999999999999999999999999999999999990"), std::numeric_limits<int>::max());
    EXPECT_EQ(toInt64(u"9223372036854775807"), INT64_MAX);
    EXPECT_EQ(toInt64(u"9223372036854775808"), INT64_MAX);
    EXPECT_EQ(toInt64(u"-9223372036854775807"), -INT64_MAX);
    EXPECT_EQ(toInt64(u"-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(toInt64(u"-9223372036854775809"), INT64_MIN);
    EXPECT_EQ(toInt64(u"18446744073709551617"), INT64_MAX);
    EXPECT_EQ(toInt64(u"-" + std::u16string(1000, u'1')), INT64_MIN);
}

TEST(TextHelpers, TheLettersAndDigitsOfATextIgnoringCase)
{
    EXPECT_EQ(foldedAlnum(u" O'Hara-É你, +12 (3)!\r\n"), u"oharaé你123");
    EXPECT_EQ(foldedAlnum(u""), u"");
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const char16_t c = static_cast<char16_t>(unit);
        ASSERT_EQ(foldedAlnum({&c, 1}), isAlnum(c) ? std::u16string(1, lower(c)) : std::u16string()) << unit;
    }
}

TEST(TextHelpers, AFloatingPointNumberUsesADecimalPoint)
{
    EXPECT_EQ(toDouble(u"39448.75"), 39448.75);
    EXPECT_EQ(toDouble(u"  -1.5e3 days"), -1500.0);
    EXPECT_EQ(toDouble(u"+.5"), 0.5);
    EXPECT_EQ(toDouble(u"1,5"), 1.0);
    EXPECT_EQ(toDouble(u"1e"), 1.0);
    EXPECT_EQ(toDouble(u"1.2.3"), 1.2);
    EXPECT_EQ(toDouble(u"40127.395833333336"), 40127.395833333336); // exact
}

TEST(TextHelpers, ATextThatIsNoFloatingPointNumberIsZero)
{
    for (const std::u16string_view text : {u"", u" ", u"x", u".", u"-", u"e5", u"inf", u"nan", u"\u0663"}) EXPECT_EQ(toDouble(text), 0.0);
    EXPECT_EQ(toDouble(u"0x10"), 0.0);
    EXPECT_EQ(toDouble(u"1e-400"), 0.0);
    EXPECT_EQ(toDouble(u"1e400"), 0.0); // too large
    EXPECT_EQ(toDouble(u"+-1"), 0.0);
}
