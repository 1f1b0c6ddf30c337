#include "engine/duplicates/RankCandidates.h"

#include "engine/duplicates/MatchRules.h"
#include "foundation/FieldValue.h"
#include "text.h"
#include "translators/ImageFields.h"
#include <array>

namespace mb {
namespace {

constexpr std::size_t tierCount = 13;
constexpr std::size_t wordLength = 4;

bool equal(std::u16string_view a, std::u16string_view b) { return platform::equalNoCase(a, b); }
bool sharedAndEqual(std::u16string_view a, std::u16string_view b) { return !a.empty() && !b.empty() && equal(a, b); }

struct Occupant {
    std::u16string id;
    std::unique_ptr<FieldValueMap> changes1, changes2; // null where no difference was noted
};

struct Comparison {
    bool AllEqual = true;
    int Score = 0, Words = 0;
    std::unique_ptr<FieldValueMap> changes1, changes2;
};

class Ranking {
public:
    Ranking(PipelinePass& pass, RecordTask& task2, const MatchKeys& keys, const MatchRows& rows)
        : run_(pass.run), task2_(task2), keys_(keys), rows_(rows), bothWays_(pass.send[Side::One] && pass.send[Side::Two])
    {
    }

    // True for a perfect match: no other candidate has to be considered.
    bool consider(const std::u16string& id, const RecordTask& candidate)
    {
        if (isGroupTask(candidate) || isGroupTask(task2_)) return considerGroup(id, candidate);
        const std::u16string_view last = valueOf(candidate, ftLastName), first = valueOf(candidate, ftFirstName),
                                  email = valueOf(candidate, ftEmail1);
        if (!equal(last, keys_.lastName) || !(equal(email, keys_.email) || equal(first, keys_.firstName))) return false;
        Comparison compared = compare(candidate, equal(first, keys_.firstName), equal(email, keys_.email));
        const std::optional<std::size_t> tier = compared.AllEqual ? 0 : tierOf(compared, last, first, email);
        if (tier) tiers_[*tier] = Occupant{id, std::move(compared.changes1), std::move(compared.changes2)};
        return tier == 0u;
    }

    // Groups are the same by their names. Most have no other field.
    bool considerGroup(const std::u16string& id, const RecordTask& candidate)
    {
        if (!isGroupTask(candidate) || !isGroupTask(task2_) ||
            !equal(groupName(candidate, ftDisplayName, ftLastName), groupName(task2_, rows_.displayName2, rows_.lastName2)))
            return false;
        Comparison compared = compare(candidate, false, false);
        const std::size_t tier = compared.AllEqual ? 0 : tierCount - 1;
        if (!tiers_[tier]) tiers_[tier] = Occupant{id, std::move(compared.changes1), std::move(compared.changes2)};
        return tier == 0;
    }

    Occupant* best()
    {
        for (auto& occupant : tiers_)
            if (occupant) return &*occupant;
        return nullptr;
    }

private:
    static std::u16string_view groupName(const RecordTask& task, LONG displayName, LONG lastName)
    {
        const std::u16string_view shown = valueOf(task, displayName);
        return shown.empty() ? valueOf(task, lastName) : shown;
    }

    bool isSkipped(LONG type, bool sameFirst, bool sameEmail) const
    {
        switch (type) {
        case ftImage1:
        case ftImage2: return !run_.imagesUsable();
        case ftNotes:
        case ftLastName:
        case ftCategories:
        case ftRecordStatus: return true;
        case ftFirstName: return sameFirst;
        case ftEmail1: return sameEmail;
        default: return false;
        }
    }

    Comparison compare(const RecordTask& candidate, bool sameFirst, bool sameEmail) const
    {
        Comparison result;
        for (const MatchRow& row : rows_.rows)
            if (!isSkipped(row.field1.type, sameFirst, sameEmail)) compareRow(candidate, row, result);
        return result;
    }

    void compareRow(const RecordTask& candidate, const MatchRow& row, Comparison& result) const
    {
        const bool image = isImageType(row.field1.type);
        const std::u16string_view size1 = image ? valueOf(candidate, sizeTypeOf(row.field1.type)) : std::u16string_view();
        const std::u16string_view size2 = image ? valueOf(task2_, sizeTypeOf(row.field2.type)) : std::u16string_view();
        // Each value cut to what the other side's field can hold.
        const std::u16string f1 = FitToField(valueOf(candidate, row.field1.type), row.field2.flags, row.field2.maxLength);
        const std::u16string f2 = FitToField(valueOf(task2_, row.field2.type), row.field1.flags, row.field1.maxLength);
        int words = 0;
        result.Score += WordPrefixScore(f1, f2, wordLength, words);
        result.Words += words;
        const std::u16string g1 = PrefixWebAddress(f1, row.field1.type), g2 = PrefixWebAddress(f2, row.field2.type);
        if (sameAlnum(g1, g2) && size1 == size2) return;
        const bool versionsDiffer = run_.FieldMapRebuilt && (row.field1.flags & row.field2.flags & ffVersionDependent) != 0 && bothWays_;
        if (!versionsDiffer) result.AllEqual = false;
        if (!bothWays_) return;
        if (!result.changes1) {
            result.changes1 = std::make_unique<FieldValueMap>();
            result.changes2 = std::make_unique<FieldValueMap>();
        }
        FieldValueMap &changes1 = *result.changes1, &changes2 = *result.changes2;
        if (!image) {
            changes1[row.field1.type] = f1;
            changes2[row.field2.type] = f2;
        } else if (g1 == u"1" && g2 == u"0") { // an image on one side is sent to the other without a conflict
            changes1[row.field1.type] = f1;
        } else if (g2 == u"1" && g1 == u"0") {
            changes2[row.field2.type] = f2;
        } else if (g1 == u"1" && g2 == u"1" && size1 != size2) {
            changes1[sizeTypeOf(row.field1.type)] = size1;
            changes2[sizeTypeOf(row.field2.type)] = size2;
            changes1[row.field1.type] = f1;
            changes2[row.field2.type] = f2;
        }
    }

    std::optional<std::size_t> tierOf(const Comparison& compared, std::u16string_view last, std::u16string_view first,
                                      std::u16string_view email)
    {
        const bool sameEmail = sharedAndEqual(email, keys_.email), sameFirst = sharedAndEqual(first, keys_.firstName);
        const double ratio = static_cast<double>(compared.Score) / static_cast<double>(compared.Words); // no words fail every test
        const bool betterScore = compared.Score > BestScore, betterRatio = ratio >= BestRatio;
        const auto raiseScore = [&](std::size_t tier) {
            BestScore = compared.Score;
            return tier;
        };
        const auto raiseBoth = [&](std::size_t tier) {
            BestRatio = ratio;
            return raiseScore(tier);
        };
        if (sameEmail && sameFirst && betterScore && betterRatio) return raiseBoth(1);
        if (sameEmail && sameFirst && betterScore) return raiseScore(2);
        if (sameEmail && sameFirst) return 3;
        if (sameFirst && betterScore && betterRatio) return raiseBoth(4);
        if (sameEmail && betterScore && betterRatio) return raiseBoth(5);
        if (sameFirst && betterScore) return raiseScore(6);
        if (sameEmail && betterScore) return raiseScore(7);
        if (sameFirst) return 8;
        if (sameEmail) return 9;
        if (betterScore && betterRatio) return raiseBoth(10);
        if (betterScore) return raiseScore(11);
        const bool namedByLastNameAlone = !last.empty() && first.empty() && keys_.firstName.empty() && email.empty() && keys_.email.empty();
        return namedByLastNameAlone ? std::optional<std::size_t>(12) : std::nullopt;
    }

    RunState& run_;
    RecordTask& task2_;
    const MatchKeys& keys_;
    const MatchRows& rows_;
    bool bothWays_;
    int BestScore = 0;
    double BestRatio = 0.8;
    std::array<std::optional<Occupant>, tierCount> tiers_;
};

} // namespace

std::optional<std::u16string> RankCandidates(PipelinePass& pass, const std::u16string& id2, const MatchKeys& keys,
                                             const std::vector<std::u16string>& candidateIds, const MatchRows& rows)
{
    TaskList &tasks1 = pass.side(Side::One).tasks, &tasks2 = pass.side(Side::Two).tasks;
    const auto task2 = FindTask(tasks2, id2);
    if (task2 == tasks2.end()) return std::nullopt;
    Ranking ranking(pass, task2->second, keys, rows);
    for (const std::u16string& id : candidateIds) {
        const auto candidate = FindTask(tasks1, id);
        if (candidate == tasks1.end() || candidate->second.MappedId) continue;
        if (ranking.consider(id, candidate->second)) break;
    }
    Occupant* best = ranking.best();
    const auto task1 = best ? FindTask(tasks1, best->id) : tasks1.end();
    if (task1 == tasks1.end()) return std::nullopt;
    if (best->changes1) task1->second.Changes = std::move(best->changes1);
    if (best->changes2) task2->second.Changes = std::move(best->changes2);
    return best->id;
}

} // namespace mb
