// Records of two sides as the match rules see them: values by field type, no translators.
#pragma once
#include "engine/duplicates/MatchRules.h"
#include "engine/duplicates/PairDuplicates.h"
#include "engine/duplicates/RankCandidates.h"

#include <gtest/gtest.h>

namespace mb {

class Rules : public testing::Test {
protected:
    Rules()
    {
        for (const LONG type : {ftFirstName, ftLastName, ftEmail1, ftNotes, ftCategories, ftCompany, ftStreet1, ftTitle, ftImage1}) {
            MatchRow row;
            row.field1.type = row.field2.type = type;
            rows.rows.push_back(row);
        }
        rows.firstName.type2 = ftFirstName;
        rows.email.type2 = ftEmail1;
        rows.notes.type2 = ftNotes;
        rows.categories.type2 = ftCategories;
        rows.lastName2 = ftLastName;
        run.HistoryVersion = 4;
    }
    using Values = std::vector<std::pair<LONG, const char16_t*>>;
    RecordTask& add(Side side, const std::u16string& id, const Values& values)
    {
        RecordTask& task = TaskAt(pass.side(side).tasks, id);
        task.Kind = TaskNew;
        task.Values = std::make_unique<RecordValues>();
        for (const auto& [type, value] : values) task.Values->set(type, value);
        return task;
    }
    std::optional<std::u16string> rank(const std::vector<std::u16string>& ids, const Values& two)
    {
        RecordTask& task2 = add(Side::Two, u"two", two);
        const MatchKeys keys{std::u16string(valueOf(task2, ftLastName)), std::u16string(valueOf(task2, ftFirstName)),
                             std::u16string(valueOf(task2, ftEmail1))};
        return RankCandidates(pass, u"two", keys, ids, rows);
    }
    // What was noted as different; null for nothing.
    FieldValueMap* changes1(const std::u16string& id) { return pass.side(Side::One).tasks.at(id).Changes.get(); }
    FieldValueMap* changes2() { return pass.side(Side::Two).tasks.at(u"two").Changes.get(); }
    RunState run;
    PerSide<StoreClient> stores;
    PipelinePass pass{.run = run, .sides = {PassSide(stores.one), PassSide(stores.two)}};
    MatchRows rows;
};

} // namespace mb
