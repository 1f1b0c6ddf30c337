// Whatever stands in a phone field: it is split without a loss, or not at all.
#include "PhoneFixture.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

using mb::PhoneParts;

// A user's country, and what is dialled there in front of a number of another country.
struct Home {
    const char* locale;
    std::string_view international;
};
constexpr Home homes[] = {{"en_US.UTF-8", "011"},
                          {"de_DE.UTF-8", "00"},
                          {"en_GB.UTF-8", "00"},
                          {"it_IT.UTF-8", "00"},
                          {"ru_RU.UTF-8", "810"},
                          {"hu_HU.UTF-8", "00"},
                          {"C", ""}};

// All that any country dials in front of a number of its own.
constexpr std::array<std::string_view, 6> trunkPrefixes{"", "0", "1", "8", "06", "01"};

class RandomNumbers {
public:
    explicit RandomNumbers(unsigned seed) : random_(seed) {}

    std::string next()
    {
        constexpr std::array<const char*, 24> fronts{"",     "",       "",       "",     "0",    "1",    "+1 ",  "+1",
                                                     "+49 ", "+49(0)", "+44 20", "+44 ", "+39 ", "+36 ", "+7 ",  "011 ",
                                                     "00",   "0044",   "8 ",     "06 ",  "212",  "020",  "*67 ", "tel:"};
        std::string text = pick(fronts);
        for (int digits = number(1, 13); digits > 0; --digits) {
            text += static_cast<char>('0' + number(0, 9));
            if (number(0, 3) == 0) text += separator();
        }
        if (number(0, 3) == 0) text += extension();
        if (number(0, 5) == 0) text.insert(static_cast<std::size_t>(number(0, static_cast<int>(text.size()))), 1, anything());
        return text;
    }

private:
    int number(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
    template <std::size_t n> const char* pick(const std::array<const char*, n>& from)
    {
        return from[static_cast<std::size_t>(number(0, static_cast<int>(n) - 1))];
    }
    const char* separator()
    {
        constexpr std::array<const char*, 8> all{" ", "-", ".", " - ", "/", ") ", " (", "  "};
        return pick(all);
    }
    std::string extension()
    {
        constexpr std::array<const char*, 12> words{" x",    " ext. ", "x",  " ext",   " extension ", " #",
                                                    " int ", ",",      ",,", " home ", " pm x",       " & "};
        return pick(words) + std::to_string(number(0, 99999));
    }
    char anything()
    {
        constexpr std::string_view all = "abcdefhilmnopstwxyzABCXYZ0123456789 -./()[]+*#,;:&!?~@'\"\\\t";
        return all[static_cast<std::size_t>(number(0, static_cast<int>(all.size()) - 1))];
    }
    std::mt19937 random_;
};

std::string onlyOf(std::string_view text, int (*wanted)(int))
{
    std::string found;
    std::ranges::copy_if(text, std::back_inserter(found), [&](char c) { return wanted(static_cast<unsigned char>(c)) != 0; });
    return found;
}

// What is allowed to vanish from the front of the digits: an international prefix of the user's country and the number's country, which
// the parts name, and a trunk prefix.
bool mayVanish(std::string_view front, std::string_view international, const std::string& country)
{
    return std::ranges::any_of(trunkPrefixes, [&](std::string_view trunk) {
        return front == trunk || front == country + std::string(trunk) ||
               (!international.empty() && front == std::string(international) + country + std::string(trunk));
    });
}

void expectNoLoss(const std::string& text, const PhoneParts& parts, const Home& home)
{
    const std::string digits = onlyOf(text, std::isdigit),
                      kept = platform::utf8(parts.area) + platform::utf8(parts.local) + platform::utf8(parts.extension);
    ASSERT_TRUE(digits.ends_with(kept)) << kept;
    EXPECT_TRUE(
        mayVanish(std::string_view(digits).substr(0, digits.size() - kept.size()), home.international, platform::utf8(parts.country)))
        << platform::utf8(parts.country) << " " << kept;
    EXPECT_FALSE(parts.country.empty() || (parts.area + parts.local).empty());

    std::string words = onlyOf(text, std::isalpha);
    std::ranges::transform(words, words.begin(), [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    if (words.starts_with("tel")) words.erase(0, 3);
    const bool extended = !parts.extension.empty();
    constexpr std::array<std::string_view, 5> announcing{"x", "ext", "extn", "extension", "int"};
    EXPECT_TRUE(words.empty() || (extended && std::ranges::find(announcing, words) != announcing.end())) << words;
    EXPECT_EQ(text.find_first_of("*&!?~@'\"\\\t"), text.npos);
    EXPECT_TRUE(extended || text.find_first_of("#,;") == text.npos);
    const std::size_t plus = text.find('+');
    EXPECT_TRUE(plus == text.npos || plus < text.find_first_of("0123456789"));
}

class RandomNumber : public mbtest::PhoneFixture {};

} // namespace

TEST_F(RandomNumber, IsSplitWithoutALossOrNotAtAll)
{
    constexpr int rounds = 3000;
    int split = 0;
    RandomNumbers numbers(static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()));
    for (const Home& home : homes) {
        live(home.locale);
        const mb::ContactParser parser;
        for (int i = 0; i < rounds && !HasFailure(); ++i) {
            const std::string text = numbers.next();
            SCOPED_TRACE(std::string(home.locale) + ": " + text);
            const PhoneParts parts = parser.ParsePhone(platform::utf16(text));
            if (parts.country.empty()) {
                EXPECT_EQ(parts.area + parts.local + parts.extension, u"");
                continue;
            }
            ++split;
            expectNoLoss(text, parts, home);
        }
    }
    const int all = rounds * static_cast<int>(std::size(homes));
    EXPECT_GT(split, all / 20) << "the numbers are too odd to show anything";
    EXPECT_LT(split, all / 2) << "the numbers are too plain to show anything";
}
