#include "TranslatorsFixture.h"

#include "text.h"
#include "translators/CFieldMap.h"
#include "translators/UnmappedPairs.h"

namespace {

using namespace mbtest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct OptionCase {
    LONG option;
    const char16_t* key;
    bool boolean;
};

constexpr OptionCase optionCases[] = {
    {soConfirmAdds, u"ConfirmAdds", true},
    {soConfirmUpdates, u"ConfirmUpdates", true},
    {soConfirmDeletes, u"ConfirmDeletes", true},
    {soConflictResolution, u"ConflictOptions", false},
    {soDelConflictResolution, u"DeleteConflictOptions", false},
    {soSyncType, u"SyncType", false},
    {soSyncVerified, u"SyncVerified", true},
    {soSyncImages, u"SyncImages", true},
    {soSyncImageOptionChanged, u"SyncImageChanged", true},
};

class TrMapStoreTest : public TranslatorsTest {
protected:
    com::Ptr<ITrMap> map = maps();
    HRESULT set(const GUID& id, LONG option, bool value) { return map->SetOption(id, option, com::Variant(value)); }
    HRESULT set(const GUID& id, LONG option, LONG value) { return map->SetOption(id, option, com::Variant(value)); }
    com::Variant get(const GUID& id, LONG option, HRESULT expected = S_OK)
    {
        com::Variant value;
        EXPECT_EQ(map->GetOption(id, option, value.put()), expected);
        return value;
    }
};

TEST_F(TrMapStoreTest, AnOptionThatWasNeverSetFails)
{
    GUID made{};
    ASSERT_EQ(map->Create(pluginClass1, pluginClass2, &made), S_OK);
    for (const OptionCase& c : optionCases) {
        EXPECT_EQ(get(made, c.option, E_FAIL).vt, c.boolean ? VT_BOOL : VT_I4) << c.option;
        EXPECT_EQ(stored(u"TrMap", made, c.key), u"<none>") << "creating a map writes no options";
    }
}

TEST_F(TrMapStoreTest, EachOptionIsKeptUnderItsKey)
{
    for (const OptionCase& c : optionCases) {
        EXPECT_EQ(c.boolean ? set(mapA, c.option, true) : set(mapA, c.option, LONG{6}), S_OK);
        EXPECT_EQ(stored(u"TrMap", mapA, c.key), c.boolean ? u"1" : u"6") << c.option;
        const com::Variant value = get(mapA, c.option);
        EXPECT_EQ(value.vt, c.boolean ? VT_BOOL : VT_I4);
        if (c.boolean)
            EXPECT_EQ(value.boolVal, VARIANT_TRUE);
        else
            EXPECT_EQ(value.lVal, 6);
    }
}

TEST_F(TrMapStoreTest, AFlagThatIsOffIsStoredAsZeroAndReadsAsFalse)
{
    ASSERT_EQ(set(mapA, soConfirmAdds, false), S_OK);
    EXPECT_EQ(stored(u"TrMap", mapA, u"ConfirmAdds"), u"0");
    EXPECT_EQ(get(mapA, soConfirmAdds).boolVal, VARIANT_FALSE);
}

TEST_F(TrMapStoreTest, OnlyAStoredOneReadsAsTrue)
{
    ASSERT_EQ(mb::ConfigStore().WriteInt(u"TrMap", com::guidText(mapA), u"SyncImages", 2, false, true), S_OK);
    EXPECT_EQ(get(mapA, soSyncImages).boolVal, VARIANT_FALSE);
    ASSERT_EQ(mb::ConfigStore().WriteInt(u"TrMap", com::guidText(mapA), u"SyncImages", -1, false, true), S_OK);
    EXPECT_EQ(get(mapA, soSyncImages).boolVal, VARIANT_FALSE);
}

TEST_F(TrMapStoreTest, OptionsAreSavedAtOnce)
{
    ASSERT_EQ(set(mapA, soSyncType, LONG{stImportToTrans1}), S_OK);
    ASSERT_EQ(mb::ConfigStore().Revert(), S_OK);
    EXPECT_EQ(get(mapA, soSyncType).lVal, stImportToTrans1);
}

TEST_F(TrMapStoreTest, AnOptionOutOfRangeIsRefusedAndWritesNothing)
{
    writePair(mapA);
    std::vector<std::u16string> before, after;
    ASSERT_EQ(mb::ConfigStore().ListKeys(u"TrMap", com::guidText(mapA), before), S_OK);
    for (const LONG option : {0, 10, -1, 1000}) {
        EXPECT_EQ(set(mapA, option, true), E_INVALIDARG) << option;
        EXPECT_EQ(get(mapA, option, E_INVALIDARG).vt, VT_EMPTY) << option;
    }
    ASSERT_EQ(mb::ConfigStore().ListKeys(u"TrMap", com::guidText(mapA), after), S_OK);
    EXPECT_EQ(before, after);
}

TEST_F(TrMapStoreTest, AChangedImageOptionIsAnnouncedToEveryMap)
{
    writePair(mapA);
    writePair(mapB);
    EXPECT_EQ(set(mapA, soSyncImageOptionChanged, true), S_OK);
    ASSERT_EQ(mb::ConfigStore().Revert(), S_OK) << "from here on the saved file is read";
    EXPECT_EQ(stored(u"TrMap", mapA, u"SyncImageChanged"), u"1");
    EXPECT_EQ(stored(u"TrMap", mapB, u"SyncImageChanged"), u"<none>");
    for (const GUID& id : {mapA, mapB}) {
        EXPECT_EQ(stored(u"Trans2Cfg", id, u"SyncImageOptionChanged"), u"1");
        EXPECT_EQ(stored(u"Trans1Cfg", id, u"SyncImageOptionChanged"), u"<none>");
    }
}

TEST_F(TrMapStoreTest, ClearingTheImageOptionAnnouncesNothing)
{
    writePair(mapA);
    EXPECT_EQ(set(mapA, soSyncImageOptionChanged, false), S_OK);
    EXPECT_EQ(stored(u"TrMap", mapA, u"SyncImageChanged"), u"0");
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"SyncImageOptionChanged"), u"<none>");
    EXPECT_EQ(set(mapA, soSyncImages, true), S_OK);
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"SyncImageOptionChanged"), u"<none>") << "only soSyncImageOptionChanged is announced";
}

TEST_F(TrMapStoreTest, ANewMapHasItsTranslatorsAndAFieldMapWithTheCommonFields)
{
    GUID made{}, id1{}, id2{}, fields{};
    ASSERT_EQ(map->Create(pluginClass1, pluginClass2, &made), S_OK);
    EXPECT_NE(made, GUID_NULL);
    EXPECT_EQ(map->GetTranslators(made, &id1, &id2), S_OK);
    EXPECT_EQ(id1, pluginClass1);
    EXPECT_EQ(id2, pluginClass2);
    ASSERT_EQ(map->GetFieldMap(made, &fields), S_OK);
    EXPECT_NE(fields, made);
    LONG count = 0;
    com::TaskArray<GUID> ids1, ids2;
    EXPECT_EQ(fieldMaps()->EnumerateEntries(fields, &count, ids1.put(), ids2.put()), S_OK);
    EXPECT_EQ(count, 2);
    EXPECT_THAT(calls->starting("1 Initialize"), IsEmpty());
}

TEST_F(TrMapStoreTest, AMapCreatedUnderAGivenIdentifierStartsWithoutHistory)
{
    writeHistory(mapA);
    ASSERT_EQ(map->CreateEx(mapA, pluginClass1, pluginClass2), S_OK);
    GUID id1{}, id2{}, fields{};
    EXPECT_EQ(map->GetTranslators(mapA, &id1, &id2), S_OK);
    EXPECT_EQ(id2, pluginClass2);
    EXPECT_EQ(map->GetFieldMap(mapA, &fields), S_OK);
    EXPECT_FALSE(std::filesystem::exists(historyFile(mapA)));
}

TEST_F(TrMapStoreTest, AMapThatCannotBeCreatedIsLoggedAndStaysPartlyWritten)
{
    writeHistory(mapA);
    EXPECT_EQ(map->CreateEx(mapA, pluginClass1, unknownClass), REGDB_E_CLASSNOTREG);
    EXPECT_THAT(logLines("mapping modules"),
                ElementsAre("Error -2147221164 occurred while mapping modules " + platform::utf8(com::guidText(pluginClass1)) + " and " +
                            platform::utf8(com::guidText(unknownClass))));
    GUID id1{}, id2{}, fields = mapB;
    EXPECT_EQ(map->GetTranslators(mapA, &id1, &id2), S_OK);
    EXPECT_EQ(id2, unknownClass);
    EXPECT_EQ(map->GetFieldMap(mapA, &fields), E_FAIL);
    EXPECT_EQ(fields, GUID_NULL);
    EXPECT_TRUE(std::filesystem::exists(historyFile(mapA))) << "the history is deleted only if the map was created";
}

TEST_F(TrMapStoreTest, ATranslatorWithoutFieldsCannotBeMapped)
{
    plugin2->refuse<IFieldList>();
    GUID made = mapA;
    EXPECT_EQ(map->Create(pluginClass1, pluginClass2, &made), E_NOINTERFACE);
    EXPECT_EQ(made, GUID_NULL);
    EXPECT_THAT(logLines("mapping modules"), SizeIs(1));
}

HRESULT noFieldMap(IUnknown*, REFIID, void** out) noexcept
{
    *out = nullptr;
    return E_ACCESSDENIED;
}

constexpr com::ClassEntry withoutFieldMap[] = {{&__uuidof(FieldMap), u"", u"", noFieldMap}};

TEST_F(TrMapStoreTest, WithoutTheFieldMapClassOnlyCreateExWritesAMap)
{
    const mb::ClassOverride override(withoutFieldMap);
    GUID made{};
    EXPECT_EQ(map->Create(pluginClass1, pluginClass2, &made), E_ACCESSDENIED);
    std::vector<std::u16string> sections;
    ASSERT_EQ(mb::ConfigStore().ListSections(u"TrMap", sections), S_OK);
    EXPECT_THAT(sections, IsEmpty());
    EXPECT_EQ(map->CreateEx(mapA, pluginClass1, pluginClass2), E_ACCESSDENIED);
    EXPECT_EQ(stored(u"TrMap", mapA, u"Trans2"), com::guidText(pluginClass2));
    EXPECT_THAT(logLines("mapping modules"), SizeIs(2));
}

TEST_F(TrMapStoreTest, AnUnknownMapHasNoData)
{
    GUID id1 = mapA, id2 = mapA, other = mapA;
    EXPECT_EQ(map->GetTranslators(mapB, &id1, &id2), E_FAIL);
    EXPECT_EQ(id1, GUID_NULL);
    EXPECT_EQ(id2, GUID_NULL);
    EXPECT_EQ(map->GetFieldMap(mapB, &other), E_FAIL);
    EXPECT_EQ(other, GUID_NULL);
    EXPECT_EQ(map->GetCategoryGuid(mapB, &other), E_FAIL);
}

TEST_F(TrMapStoreTest, FieldMapAndCategoriesAreKept)
{
    EXPECT_EQ(map->SetFieldMap(mapA, mapB), S_OK);
    EXPECT_EQ(map->SetCategoryGuid(mapA, unknownClass), S_OK);
    ASSERT_EQ(mb::ConfigStore().Revert(), S_OK);
    GUID fields{}, categories{};
    EXPECT_EQ(map->GetFieldMap(mapA, &fields), S_OK);
    EXPECT_EQ(fields, mapB);
    EXPECT_EQ(map->GetCategoryGuid(mapA, &categories), S_OK);
    EXPECT_EQ(categories, unknownClass);
    EXPECT_EQ(stored(u"TrMap", mapA, u"CategoryGuid"), com::guidText(unknownClass));
}

TEST_F(TrMapStoreTest, AFieldMapThatReplacesAnotherRemembersWhatIsUnmapped)
{
    const auto fields = fieldMaps();
    const GUID first1 = fieldId(1, 1), first2 = fieldId(2, 1), notes1 = fieldId(1, 2), notes2 = fieldId(2, 2);
    const auto replace = [&](const std::vector<std::pair<GUID, GUID>>& pairs) {
        GUID made{};
        com::check(fields->Create(pluginClass1, pluginClass2, &made));
        for (const auto& [field1, field2] : pairs) com::check(fields->AddMapEntry(made, field1, field2));
        com::check(map->SetFieldMap(mapA, made));
        return made;
    };
    EXPECT_FALSE(mb::IsUnmappedPair(replace({{first1, first2}, {notes1, notes2}}), notes1, notes2));
    const GUID without = replace({{first1, first2}});
    EXPECT_TRUE(mb::IsUnmappedPair(without, notes1, notes2));
    EXPECT_FALSE(mb::IsUnmappedPair(without, first1, first2));
    EXPECT_FALSE(mb::IsUnmappedPair(without, notes1, first2));
    const GUID second = replace({{first1, first2}});
    EXPECT_EQ(mb::UnmappedPairs(second).size(), 1u);
    EXPECT_TRUE(mb::IsUnmappedPair(second, notes1, notes2)) << "after another edit";
    VARIANT_BOOL exists = VARIANT_TRUE;
    EXPECT_EQ(fields->MapEntryExist(second, notes1, notes2, &exists), S_FALSE);
    EXPECT_EQ(exists, VARIANT_FALSE) << "it is no entry";
    EXPECT_FALSE(mb::IsUnmappedPair(replace({{notes1, notes2}}), notes1, notes2)) << "it was mapped again";
    com::check(map->SetFieldMap(mapA, second));
    com::check(map->SetFieldMap(mapA, second));
    EXPECT_FALSE(mb::IsUnmappedPair(second, first1, first2)) << "a field map does not replace itself";
}

TEST_F(TrMapStoreTest, MissingOutParametersAreRefused)
{
    GUID id{};
    EXPECT_EQ(map->Create(pluginClass1, pluginClass2, nullptr), E_POINTER);
    EXPECT_EQ(map->GetTranslators(mapA, &id, nullptr), E_POINTER);
    EXPECT_EQ(map->GetFieldMap(mapA, nullptr), E_POINTER);
    EXPECT_EQ(map->GetOption(mapA, soSyncType, nullptr), E_POINTER);
    EXPECT_EQ(map->GetCategoryGuid(mapA, nullptr), E_POINTER);
}

} // namespace
