// The tiers of a candidate, told by who wins a walk over several.
#include "RulesFixture.h"

#include <span>

namespace mb {
namespace {

// What a candidate shares with the record looked for, and how many of the leading words of its street are found there.
struct Candidate {
    bool email, firstName;
    int score, words;
};

struct Walk {
    const char* what;
    bool hasFirstName, hasEmail; // of the record looked for
    std::vector<Candidate> candidates;
    int winner; // -1 for none
};

constexpr const char16_t* known[] = {u"alfa ", u"bravo ", u"charlie ", u"delta ", u"echo "};

std::u16string street(int score, int words)
{
    std::u16string text;
    for (int i = 0; i < words; ++i) text += i < score ? known[i] : u"nowhere ";
    return text + u"x";
}

// A candidate that shares neither name nor e-mail still passes the gate where both lack the same one.
class Tiers : public Rules {
protected:
    std::optional<std::u16string> winnerOf(const Walk& walk)
    {
        std::vector<std::u16string> ids;
        for (const Candidate& candidate : walk.candidates) {
            ids.push_back(u"candidate " + std::u16string(ids.size() + 1, u'i'));
            RecordTask& task = add(Side::One, ids.back(), {{ftLastName, u"Last"}});
            task.Values->set(ftStreet1, street(candidate.score, candidate.words));
            if (candidate.email)
                task.Values->set(ftEmail1, u"e@example.org");
            else if (walk.hasEmail)
                task.Values->set(ftEmail1, u"other@example.org");
            if (candidate.firstName)
                task.Values->set(ftFirstName, u"First");
            else if (walk.hasFirstName)
                task.Values->set(ftFirstName, u"Other");
        }
        Values two{{ftLastName, u"Last"}, {ftStreet1, u"alfa bravo charlie delta echo y"}};
        if (walk.hasFirstName) two.emplace_back(ftFirstName, u"First");
        if (walk.hasEmail) two.emplace_back(ftEmail1, u"e@example.org");
        return rank(ids, two);
    }
    void expectWinners(std::span<const Walk> walks)
    {
        for (const Walk& walk : walks) {
            pass.side(Side::One).tasks.clear();
            pass.side(Side::Two).tasks.clear();
            const auto expected = walk.winner < 0
                                      ? std::nullopt
                                      : std::optional(u"candidate " + std::u16string(static_cast<std::size_t>(walk.winner) + 1, u'i'));
            EXPECT_EQ(winnerOf(walk), expected)
                << walk.what << (walk.hasFirstName ? ", first name" : "") << (walk.hasEmail ? ", e-mail" : "");
        }
    }
};

} // namespace

TEST_F(Tiers, TheWinnerOfAWalk)
{
    constexpr bool yes = true, no = false;
    const Walk walks[] = {
        {"tier 1: e-mail, first name, score and ratio", yes, yes, {{yes, yes, 1, 1}}, 0},
        {"tier 3: e-mail and first name", yes, yes, {{yes, yes, 0, 0}}, 0},
        {"tier 4: first name, score and ratio", yes, yes, {{no, yes, 1, 1}}, 0},
        {"tier 5: e-mail, score and ratio", yes, yes, {{yes, no, 1, 1}}, 0},
        {"tier 8: first name", yes, yes, {{no, yes, 0, 0}}, 0},
        {"tier 9: e-mail", yes, yes, {{yes, no, 0, 0}}, 0},
        {"tier 10: score and ratio", no, no, {{no, no, 1, 1}}, 0},
        {"tier 12: nothing but the last name", no, no, {{no, no, 0, 0}}, 0},
        {"no tier: neither name nor e-mail nor score", yes, no, {{no, no, 0, 1}}, -1},
        {"tier 1 before 2: a higher score with a lower ratio", yes, yes, {{yes, yes, 1, 1}, {yes, yes, 2, 4}}, 0},
        {"tier 2 before 3", yes, yes, {{yes, no, 1, 1}, {yes, yes, 2, 4}, {yes, yes, 0, 0}}, 1},
        {"tier 2 before 4", yes, yes, {{no, yes, 1, 1}, {yes, yes, 2, 4}}, 1},
        {"tier 3 before 4", yes, yes, {{no, yes, 1, 1}, {yes, yes, 0, 0}}, 1},
        {"tier 4 before 5, whichever comes first", yes, yes, {{yes, no, 1, 1}, {no, yes, 2, 2}}, 1},
        {"tier 4 before 5 with the higher score", yes, yes, {{no, yes, 1, 1}, {yes, no, 2, 2}}, 0},
        {"tier 5 before 6", yes, yes, {{yes, no, 1, 1}, {no, yes, 2, 4}}, 0},
        {"tier 6 before 8 and 10", yes, no, {{no, no, 1, 1}, {no, yes, 2, 4}, {no, yes, 0, 0}}, 1},
        {"tier 7 before 9 and 10", no, yes, {{no, no, 1, 1}, {yes, no, 2, 4}, {yes, no, 0, 0}}, 1},
        {"tier 8 before 9, whichever comes first", yes, yes, {{yes, no, 0, 0}, {no, yes, 0, 0}}, 1},
        {"tier 8 before 9", yes, yes, {{no, yes, 0, 0}, {yes, no, 0, 0}}, 0},
        {"tier 9 before 10", no, yes, {{no, no, 1, 1}, {yes, no, 0, 0}}, 1},
        {"tier 10 before 11: a higher score with a lower ratio", no, no, {{no, no, 1, 1}, {no, no, 2, 4}}, 0},
        {"tier 10 before 12", no, no, {{no, no, 0, 0}, {no, no, 1, 1}}, 1},
        {"tier 1 beats an earlier tier 9", yes, yes, {{yes, no, 0, 0}, {yes, yes, 1, 1}}, 1},
        {"in tier 3 the later wins", yes, yes, {{yes, yes, 0, 0}, {yes, yes, 0, 0}}, 1},
        {"in tier 8 the later wins", yes, yes, {{no, yes, 0, 0}, {no, yes, 0, 0}}, 1},
        {"in tier 9 the later wins", yes, yes, {{yes, no, 0, 0}, {yes, no, 0, 0}}, 1},
        {"in tier 12 the later wins", no, no, {{no, no, 0, 0}, {no, no, 0, 0}}, 1},
        {"in tier 1 the higher score wins", yes, yes, {{yes, yes, 1, 1}, {yes, yes, 2, 2}}, 1},
        {"in tier 2 the higher score wins", yes, yes, {{yes, no, 1, 1}, {yes, yes, 2, 4}, {yes, yes, 3, 5}}, 2},
        {"a tie in the score keeps the earlier", yes, yes, {{yes, yes, 1, 1}, {yes, yes, 1, 1}}, 0},
    };
    expectWinners(walks);
}

TEST_F(Tiers, TheRatioToBeatStartsAtFourFifthsAndRisesWithEachThatBeatsIt)
{
    constexpr bool yes = true, no = false;
    const Walk walks[] = {
        {"4 of 5 words are enough for tier 1", yes, yes, {{yes, yes, 4, 5}, {yes, yes, 5, 7}}, 0},
        {"3 of 4 words are not", yes, yes, {{yes, yes, 3, 4}, {yes, yes, 4, 6}}, 1},
        {"tier 1 raises it", yes, yes, {{yes, yes, 1, 1}, {yes, yes, 4, 5}}, 0},
        {"tier 4 raises it", yes, no, {{no, yes, 1, 1}, {no, yes, 4, 5}}, 0},
        {"tier 5 raises it", no, yes, {{yes, no, 1, 1}, {yes, no, 4, 5}}, 0},
        {"tier 10 raises it", no, no, {{no, no, 1, 1}, {no, no, 4, 5}}, 0},
        {"an equal ratio beats it", yes, yes, {{yes, yes, 1, 1}, {yes, yes, 5, 5}}, 1},
        {"a tier that asks for no ratio leaves it", yes, yes, {{yes, no, 1, 4}, {no, yes, 4, 5}, {no, yes, 5, 7}}, 1},
    };
    expectWinners(walks);
}

// The same candidate twice: the second one does not beat the score of the first, and is left with a tier that asks for none.
TEST_F(Tiers, EachTierThatAsksForAScoreRaisesTheScoreToBeat)
{
    constexpr bool yes = true, no = false;
    const Walk walks[] = {
        {"tier 1", yes, yes, {{yes, yes, 1, 1}, {yes, yes, 1, 1}}, 0}, {"tier 2", yes, yes, {{yes, yes, 1, 2}, {yes, yes, 1, 2}}, 0},
        {"tier 4", yes, no, {{no, yes, 1, 1}, {no, yes, 1, 1}}, 0},    {"tier 5", no, yes, {{yes, no, 1, 1}, {yes, no, 1, 1}}, 0},
        {"tier 6", yes, no, {{no, yes, 1, 2}, {no, yes, 1, 2}}, 0},    {"tier 7", no, yes, {{yes, no, 1, 2}, {yes, no, 1, 2}}, 0},
        {"tier 10", no, no, {{no, no, 1, 1}, {no, no, 1, 1}}, 0},      {"tier 11", no, no, {{no, no, 1, 2}, {no, no, 1, 2}}, 0},
    };
    expectWinners(walks);
}

// Of any two tiers that candidates for one record can have, in either order of the candidates.
TEST_F(Tiers, TheLowerTierWinsWhicheverComesFirst)
{
    struct Tier {
        int number;
        bool email, firstName, score, ratio;
    };
    constexpr bool yes = true, no = false;
    const Tier tiers[] = {{1, yes, yes, yes, yes}, {2, yes, yes, yes, no}, {3, yes, yes, no, no}, {4, no, yes, yes, yes},
                          {5, yes, no, yes, yes},  {6, no, yes, yes, no},  {7, yes, no, yes, no}, {8, no, yes, no, no},
                          {9, yes, no, no, no},    {10, no, no, yes, yes}, {11, no, no, yes, no}, {12, no, no, no, no}};
    // The n-th of a walk: each one's score is higher than those before it.
    const auto candidate = [](const Tier& tier, int n) {
        return Candidate{tier.email, tier.firstName, tier.score ? n : 0, tier.ratio ? n : tier.score ? 2 * n : 0};
    };
    int pairs = 0;
    for (const bool hasFirstName : {yes, no})
        for (const bool hasEmail : {yes, no})
            for (const Tier& lower : tiers)
                for (const Tier& higher : tiers) {
                    // A candidate shares what the record has, and passes the gate by a name or an e-mail, or by both lacking one.
                    const auto possible = [&](const Tier& tier) {
                        if ((tier.email && !hasEmail) || (tier.firstName && !hasFirstName)) return false;
                        if (tier.number == 12) return !hasFirstName && !hasEmail;
                        return tier.email || tier.firstName || !hasFirstName || !hasEmail;
                    };
                    if (lower.number >= higher.number || !possible(lower) || !possible(higher)) continue;
                    ++pairs;
                    const std::string what = "tier " + std::to_string(lower.number) + " before " + std::to_string(higher.number);
                    const Walk walks[] = {{what.c_str(), hasFirstName, hasEmail, {candidate(lower, 1), candidate(higher, 2)}, 0},
                                          {what.c_str(), hasFirstName, hasEmail, {candidate(higher, 1), candidate(lower, 2)}, 1}};
                    expectWinners(walks);
                }
    EXPECT_EQ(pairs, 36 + 10 + 10 + 3) << "with both, with either one, with none";
}

TEST_F(Tiers, ALastNameAloneIsATierOnlyWhereItIsNotEmptyAndNothingElseIsKnown)
{
    const auto rankOf = [&](const Values& one, const Values& two) {
        pass.side(Side::One).tasks.clear();
        pass.side(Side::Two).tasks.clear();
        add(Side::One, u"a", one).Values->set(ftTitle, u"x");
        Values other = two;
        other.emplace_back(ftTitle, u"y");
        return rank({u"a"}, other).has_value();
    };
    EXPECT_TRUE(rankOf({{ftLastName, u"L"}}, {{ftLastName, u"L"}}));
    EXPECT_FALSE(rankOf({}, {})) << "two contacts without any name";
    EXPECT_FALSE(rankOf({{ftLastName, u"L"}, {ftFirstName, u"F"}}, {{ftLastName, u"L"}}));
    EXPECT_FALSE(rankOf({{ftLastName, u"L"}}, {{ftLastName, u"L"}, {ftFirstName, u"F"}}));
    EXPECT_FALSE(rankOf({{ftLastName, u"L"}, {ftEmail1, u"e"}}, {{ftLastName, u"L"}}));
    EXPECT_FALSE(rankOf({{ftLastName, u"L"}}, {{ftLastName, u"L"}, {ftEmail1, u"e"}}));
}

TEST_F(Tiers, ATierWithoutTheOneThatBarsItsRatio)
{
    // Tier 11 shows only where the one that raised the ratio has got a partner since.
    add(Side::One, u"barred", {{ftLastName, u"Last"}, {ftStreet1, u"alfa x"}}).MappedId = u"elsewhere";
    add(Side::One, u"half", {{ftLastName, u"Last"}, {ftStreet1, u"alfa nowhere x"}});
    EXPECT_EQ(rank({u"barred", u"half"}, {{ftLastName, u"Last"}, {ftStreet1, u"alfa bravo y"}}), u"half");
}

} // namespace mb
