#include "TranslatorsFixture.h"

namespace {

using namespace mbtest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using Pairs = std::vector<std::pair<GUID, GUID>>;

class FieldMapTest : public TranslatorsTest {
protected:
    FieldMapTest() { com::check(fieldMap->Create(pluginClass1, pluginClass2, &id)); }

    Pairs entries()
    {
        LONG count = -1;
        com::TaskArray<GUID> first, second;
        EXPECT_EQ(fieldMap->EnumerateEntries(id, &count, first.put(), second.put()), S_OK);
        return zip(count, first.data(), second.data());
    }
    Pairs known(ITranslator* translator1, ITranslator* translator2)
    {
        LONG count = -1;
        com::TaskArray<GUID> first, second;
        EXPECT_EQ(fieldMap->EnumerateEntriesEx(id, translator1, translator2, &count, first.put(), second.put()), S_OK);
        return zip(count, first.data(), second.data());
    }
    static Pairs zip(LONG count, const GUID* first, const GUID* second)
    {
        Pairs pairs;
        EXPECT_EQ(first != nullptr, count > 0);
        EXPECT_EQ(second != nullptr, count > 0);
        for (LONG i = 0; i < count; ++i) pairs.emplace_back(first[i], second[i]);
        return pairs;
    }
    void writeEntry(std::u16string_view value)
    {
        com::check(mb::ConfigStore().WriteValue(u"FieldMap", com::guidText(id), u"MapEntry", value, true, true));
    }

    com::Ptr<IFieldMap> fieldMap = fieldMaps();
    GUID id{};
};

const GUID first1 = fieldId(1, 1), last1 = fieldId(1, 2), notes1 = fieldId(1, 3), notes2 = fieldId(2, 9), last2 = fieldId(2, 8),
           company2 = fieldId(2, 7), gone = fieldId(3, 3);

TEST_F(FieldMapTest, CreateKeepsTheClassesAndStartsTheDynamicTypesAt3000)
{
    GUID id1{}, id2{};
    EXPECT_EQ(fieldMap->GetTranslators(id, &id1, &id2), S_OK);
    EXPECT_EQ(id1, pluginClass1);
    EXPECT_EQ(id2, pluginClass2);
    EXPECT_EQ(stored(u"FieldMap", id, u"NextTypeId"), u"3000");
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(FieldMapTest, AnEntryIsTwoIdentifiersSeparatedByAColon)
{
    EXPECT_EQ(fieldMap->AddMapEntry(id, first1, last2), S_OK);
    EXPECT_EQ(stored(u"FieldMap", id, u"MapEntry"), com::guidText(first1) + u":" + com::guidText(last2));
    EXPECT_EQ(stored(u"FieldMap", id, u"MapEntry").size(), 77u);
}

TEST_F(FieldMapTest, AnEntryAddedTwiceIsListedTwice)
{
    EXPECT_EQ(fieldMap->AddMapEntry(id, first1, last2), S_OK);
    EXPECT_EQ(fieldMap->AddMapEntry(id, first1, last2), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(first1, last2), Pair(first1, last2)));
}

TEST_F(FieldMapTest, EntriesComeInTheOrderOfWriting)
{
    for (const auto& [field1, field2] : Pairs{{notes1, notes2}, {first1, company2}, {last1, last2}})
        EXPECT_EQ(fieldMap->AddMapEntry(id, field1, field2), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(notes1, notes2), Pair(first1, company2), Pair(last1, last2)));
}

TEST_F(FieldMapTest, EntriesSurviveTheClosingOfTheStore)
{
    EXPECT_EQ(fieldMap->AddMapEntry(id, first1, last2), S_OK);
    const auto path = mb::ConfigStore().path();
    ASSERT_EQ(mb::ConfigStore().Revert(), S_OK) << "from here on the saved file is read";
    EXPECT_THAT(entries(), ElementsAre(Pair(first1, last2)));
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(FieldMapTest, AValueWithoutAFieldLeavesANullFieldAtTheEnd)
{
    writeEntry(u"");
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, last2), S_OK);
    writeEntry(u"::");
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    const Pairs all = entries();
    ASSERT_EQ(all.size(), 4u);
    EXPECT_THAT(all[0], Pair(first1, last2));
    EXPECT_THAT(all[1], Pair(last1, last2));
}

TEST_F(FieldMapTest, AMalformedEntryHasNoFieldsAndDoesNotAffectTheOthers)
{
    writeEntry(u"not a field:nor this");
    writeEntry(u"{half");
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(GUID_NULL, GUID_NULL), Pair(GUID_NULL, GUID_NULL), Pair(last1, last2)));
    EXPECT_THAT(known(load(pluginClass1).get(), load(pluginClass2).get()), ElementsAre(Pair(last1, last2)));
}

TEST_F(FieldMapTest, WithoutTranslatorsAllEntriesAreKnown)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, gone, last2), S_OK);
    EXPECT_THAT(known(nullptr, nullptr), ElementsAre(Pair(gone, last2)));
    EXPECT_THAT(known(load(pluginClass1).get(), nullptr), ElementsAre(Pair(gone, last2)));
}

TEST_F(FieldMapTest, WithoutFieldObjectsAllEntriesAreKnown)
{
    plugin2->refuse<IField>();
    ASSERT_EQ(fieldMap->AddMapEntry(id, gone, gone), S_OK);
    EXPECT_THAT(known(load(pluginClass1).get(), load(pluginClass2).get()), ElementsAre(Pair(gone, gone)));
}

TEST_F(FieldMapTest, AnEntryOfAnUnknownFieldIsNotListedButStaysInTheMap)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, gone), S_OK);
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    ASSERT_EQ(fieldMap->AddMapEntry(id, gone, notes2), S_OK);
    EXPECT_THAT(known(load(pluginClass1).get(), load(pluginClass2).get()), ElementsAre(Pair(last1, last2)));
    EXPECT_THAT(entries(), ElementsAre(Pair(first1, gone), Pair(last1, last2), Pair(gone, notes2)));
}

TEST_F(FieldMapTest, IfNoFieldIsKnownAnEmptyListIsReturned)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, gone, gone), S_OK);
    EXPECT_THAT(known(load(pluginClass1).get(), load(pluginClass2).get()), IsEmpty());
}

TEST_F(FieldMapTest, ATranslatorThatThrowsLosesTheEntryNotTheProcess)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, last2), S_OK);
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    for (const int n : {1, 2}) calls->throwOn("1 GetFieldType", n); // a failed call is repeated once
    EXPECT_THAT(known(load(pluginClass1).get(), load(pluginClass2).get()), ElementsAre(Pair(last1, last2)));
}

TEST_F(FieldMapTest, TextArraysContainTheSameEntries)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, gone), S_OK);
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    LONG count = -1;
    SAFEARRAY *array1 = nullptr, *array2 = nullptr;
    ASSERT_EQ(fieldMap->EnumerateEntriesExSafeArray(id, load(pluginClass1).get(), load(pluginClass2).get(), &count, &array1, &array2),
              S_OK);
    EXPECT_EQ(count, 1);
    EXPECT_THAT(com::textArray(array1), ElementsAre(com::guidText(last1)));
    EXPECT_THAT(com::textArray(array2), ElementsAre(com::guidText(last2)));
    SafeArrayDestroy(array1);
    SafeArrayDestroy(array2);
}

TEST_F(FieldMapTest, WithoutEntriesTextArraysAreNull)
{
    LONG count = -1;
    SAFEARRAY *array1 = nullptr, *array2 = nullptr;
    EXPECT_EQ(fieldMap->EnumerateEntriesExSafeArray(id, nullptr, nullptr, &count, &array1, &array2), S_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(array1, nullptr);
    EXPECT_EQ(array2, nullptr);
}

TEST_F(FieldMapTest, ValidationLetsEachTranslatorRefreshItsFieldsWithItsOwnSettings)
{
    plugin2->validatedFields = {{gone, ftFirstName}};
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, gone), S_OK);
    const auto translator1 = load(pluginClass1), translator2 = load(pluginClass2);
    EXPECT_THAT(known(translator1.get(), translator2.get()), IsEmpty());
    takeCalls();
    LONG count = -1;
    com::TaskArray<GUID> ids1, ids2;
    EXPECT_EQ(fieldMap->EnumerateEntriesExValidate(mapA, id, translator1.get(), translator2.get(), &count, ids1.put(), ids2.put()), S_OK);
    EXPECT_THAT(zip(count, ids1.data(), ids2.data()), ElementsAre(Pair(first1, gone)));
    EXPECT_THAT(takeCalls(), ElementsAre("1 ValidateFieldList", "2 ValidateFieldList", "1 GetFieldType", "2 GetFieldType"));
    EXPECT_EQ(stored(u"Trans1Cfg", mapA, u"Validated"), u"1");
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"Validated"), u"2");
}

TEST_F(FieldMapTest, AFailedOrMissingValidationIsIgnored)
{
    plugin2->refuse<IFieldValidator>();
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    calls->failOn("1 ValidateFieldList", 1, E_FAIL);
    LONG count = -1;
    com::TaskArray<GUID> ids1, ids2;
    EXPECT_EQ(
        fieldMap->EnumerateEntriesExValidate(mapA, id, load(pluginClass1).get(), load(pluginClass2).get(), &count, ids1.put(), ids2.put()),
        S_OK);
    EXPECT_THAT(zip(count, ids1.data(), ids2.data()), ElementsAre(Pair(last1, last2)));
}

TEST_F(FieldMapTest, NothingIsValidatedUnlessBothSidesHaveFieldObjects)
{
    plugin2->refuse<IField>();
    LONG count = -1;
    com::TaskArray<GUID> ids1, ids2;
    EXPECT_EQ(
        fieldMap->EnumerateEntriesExValidate(mapA, id, load(pluginClass1).get(), load(pluginClass2).get(), &count, ids1.put(), ids2.put()),
        S_OK);
    EXPECT_EQ(calls->count("ValidateFieldList"), 0);
    EXPECT_EQ(count, 0);
}

TEST_F(FieldMapTest, TheDefaultMapPairsFieldsOfEqualTypeByAscendingType)
{
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(last1, last2), Pair(notes1, notes2)));
}

TEST_F(FieldMapTest, TheDefaultMapReplacesTheFormerEntries)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, company2), S_OK);
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(last1, last2), Pair(notes1, notes2)));
    ASSERT_EQ(mb::ConfigStore().Revert(), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(last1, last2), Pair(notes1, notes2)));
}

TEST_F(FieldMapTest, TheLastFieldOfATypeWins)
{
    plugin1->fields.push_back({fieldId(1, 20), ftLastName});
    plugin2->fields.push_back({fieldId(2, 20), ftLastName});
    plugin2->fields.push_back({fieldId(2, 21), ftLastName});
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(fieldId(1, 20), fieldId(2, 21)), Pair(notes1, notes2)));
}

TEST_F(FieldMapTest, WithoutACommonTypeTheDefaultMapIsEmptyAndTheFormerEntriesAreRemoved)
{
    plugin2->fields = {{company2, ftCompany}};
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, company2), S_OK);
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_THAT(entries(), IsEmpty());
    EXPECT_EQ(stored(u"FieldMap", id, u"MapEntry"), u"<none>");
}

TEST_F(FieldMapTest, ATranslatorWithoutFieldsKeepsTheFormerEntries)
{
    plugin2->fields.clear();
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, company2), S_OK);
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(first1, company2)));
}

TEST_F(FieldMapTest, FieldsThatCannotBeReadAreSkipped)
{
    for (const int n : {2, 3}) calls->failOn("1 GetFieldByIndex", n, E_FAIL); // a failed call is repeated once
    for (const int n : {3, 4}) calls->throwOn("2 GetFieldByIndex", n);
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_THAT(entries(), ElementsAre(Pair(notes1, notes2)));
}

TEST_F(FieldMapTest, IfNoFieldCanBeReadTheFormerEntriesAreStillRemoved)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, company2), S_OK);
    for (int n = 1; n <= 6; ++n) calls->failOn("1 GetFieldType", n, E_FAIL);
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(FieldMapTest, AFieldWhoseTypeFailsOnceIsAskedAgainAndStaysInTheMap)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    calls->failOn("1 GetFieldType", 1, E_FAIL);
    EXPECT_THAT(known(load(pluginClass1).get(), load(pluginClass2).get()), ElementsAre(Pair(last1, last2)));
}

TEST_F(FieldMapTest, ACancelWhileFieldsAreReadIsReturned)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    calls->failOn("1 GetFieldType", 1, E_ABORT);
    LONG count = 0;
    com::TaskArray<GUID> fields1, fields2;
    EXPECT_EQ(fieldMap->EnumerateEntriesEx(id, load(pluginClass1).get(), load(pluginClass2).get(), &count, fields1.put(), fields2.put()),
              E_ABORT);
}

TEST_F(FieldMapTest, TheDefaultMapNeedsTheFieldInterfacesOfBothBeforeItCounts)
{
    plugin2->refuse<IField>();
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), E_NOINTERFACE);
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create", "2 Create"));
    plugin2->refused.clear();
    plugin1->refuse<IFieldList>();
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), E_NOINTERFACE);
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(FieldMapTest, TheDefaultMapDoesNotInitialiseTheTranslators)
{
    plugin1->fields.resize(1);
    plugin2->fields.resize(1);
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), S_OK);
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create", "2 Create", "1 GetCount", "2 GetCount", "1 GetFieldByIndex 0", "1 GetFieldType",
                                         "2 GetFieldByIndex 0", "2 GetFieldType"));
}

TEST_F(FieldMapTest, TheDefaultMapOfAnUnknownMapFails)
{
    EXPECT_EQ(fieldMap->CreateDefaultMap(mapB), E_FAIL);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(FieldMapTest, TheDefaultMapFailsWithTheTranslatorThatCannotBeLoaded)
{
    plugin2->givesNothing = true;
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), E_FAIL);
    GUID other{};
    ASSERT_EQ(fieldMap->Create(pluginClass1, unknownClass, &other), S_OK);
    EXPECT_EQ(fieldMap->CreateDefaultMap(other), REGDB_E_CLASSNOTREG);
}

TEST_F(FieldMapTest, MapEntryExistReportsWhetherTheEntryExists)
{
    ASSERT_EQ(fieldMap->AddMapEntry(id, first1, company2), S_OK);
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    const auto exists = [&](const GUID& field1, const GUID& field2) {
        VARIANT_BOOL found = 5;
        EXPECT_EQ(SUCCEEDED(fieldMap->MapEntryExist(id, field1, field2, &found)), true);
        return found;
    };
    EXPECT_EQ(exists(last1, last2), VARIANT_TRUE);
    EXPECT_EQ(exists(first1, company2), VARIANT_TRUE);
    ASSERT_EQ(mb::ConfigStore().WriteValue(u"FieldMap", com::guidText(id), u"Other", com::guidText(notes1) + u":" + com::guidText(notes2),
                                           false, true),
              S_OK);
    EXPECT_EQ(exists(notes1, notes2), VARIANT_FALSE) << "the value belongs to another key";
}

TEST_F(FieldMapTest, DeleteMapRemovesItsSectionAndNoOther)
{
    GUID other{};
    ASSERT_EQ(fieldMap->Create(pluginClass1, pluginClass2, &other), S_OK);
    ASSERT_EQ(fieldMap->AddMapEntry(id, last1, last2), S_OK);
    EXPECT_EQ(fieldMap->DeleteMap(id), S_OK);
    EXPECT_EQ(stored(u"FieldMap", id, u"Trans1"), u"<none>");
    EXPECT_EQ(stored(u"FieldMap", other, u"Trans1"), com::guidText(pluginClass1));
    EXPECT_EQ(fieldMap->DeleteMap(id), S_OK) << "deleting a missing map is not an error";
}

TEST_F(FieldMapTest, NumbersAreReadOnlyIfThereAndNotNegative)
{
    LONG number = 77;
    EXPECT_EQ(fieldMap->GetFieldMapUpdated(id, &number), E_FAIL);
    EXPECT_EQ(number, 77);
    ASSERT_EQ(fieldMap->SetFieldMapUpdated(id, 1), S_OK);
    EXPECT_EQ(fieldMap->GetFieldMapUpdated(id, &number), S_OK);
    EXPECT_EQ(number, 1);
    ASSERT_EQ(fieldMap->SetNextAvailableFieldType(id, 3012), S_OK);
    EXPECT_EQ(fieldMap->GetNextAvailableFieldType(id, &number), S_OK);
    EXPECT_EQ(number, 3012);
    ASSERT_EQ(fieldMap->SetNextAvailableFieldType(id, -5), S_OK);
    EXPECT_EQ(fieldMap->GetNextAvailableFieldType(id, &number), S_OK);
    EXPECT_EQ(number, 3012);
}

TEST_F(FieldMapTest, WithoutAStoreEveryCallFails)
{
    ASSERT_EQ(mb::CloseConfigStore(), S_OK);
    LONG count = 9;
    GUID *ids1 = nullptr, *ids2 = nullptr;
    EXPECT_EQ(fieldMap->EnumerateEntries(id, &count, &ids1, &ids2), E_POINTER);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(fieldMap->AddMapEntry(id, first1, last2), E_POINTER);
    EXPECT_EQ(fieldMap->CreateDefaultMap(id), E_POINTER);
    GUID made = mapA;
    EXPECT_EQ(fieldMap->Create(pluginClass1, pluginClass2, &made), E_POINTER);
    EXPECT_EQ(made, GUID_NULL);
}

TEST_F(FieldMapTest, MissingOutParametersAreRefused)
{
    LONG count = 0;
    GUID* ids = nullptr;
    EXPECT_EQ(fieldMap->Create(pluginClass1, pluginClass2, nullptr), E_POINTER);
    EXPECT_EQ(fieldMap->GetTranslators(id, nullptr, ids), E_POINTER);
    EXPECT_EQ(fieldMap->EnumerateEntries(id, &count, &ids, nullptr), E_POINTER);
    EXPECT_EQ(fieldMap->EnumerateEntriesEx(id, nullptr, nullptr, nullptr, &ids, &ids), E_POINTER);
    EXPECT_EQ(fieldMap->EnumerateEntriesExSafeArray(id, nullptr, nullptr, &count, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(fieldMap->EnumerateEntriesExValidate(mapA, id, nullptr, nullptr, &count, nullptr, &ids), E_POINTER);
    EXPECT_EQ(fieldMap->MapEntryExist(id, first1, last2, nullptr), E_POINTER);
    EXPECT_EQ(fieldMap->GetNextAvailableFieldType(id, nullptr), E_POINTER);
}

} // namespace
