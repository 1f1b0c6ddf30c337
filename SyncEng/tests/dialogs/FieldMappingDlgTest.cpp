#include "dialogs/CFieldMappingDlg.h"
#include "DialogsFixture.h"
#include "foundation/ClassTable.h"
#include "store/ConfigStore.h"
#include "translators/UnmappedPairs.h"

namespace {

using mb::CFieldMappingDlg;
using mb::Dialog;
using mb::idCancel;
using mb::idOk;
using testing::ElementsAre;
using testing::IsEmpty;

class FieldMappingDlgTest : public testing::Test {
protected:
    FieldMappingDlgTest()
    {
        s.one().fields = {{ftFirstName, u"Given"}, {ftCity1, u"Town"}, {ftPhone, u"Phone"}, {ftBirthday, u"Born", 0, 0, dtDateTime}};
        s.two().fields = {{ftFirstName, u"First"}, {ftCity1, u"City"}, {ftFax, u"Fax"}, {ftPager, u"Pager"}, {ftMobile, u"Mobile"}};
        s.makeMap();
    }
    HRESULT edit(std::function<void(Dialog&)> acts)
    {
        user.script.emplace_back(std::move(acts));
        return s.maps()->ConfigureFieldMapping(nullptr, s.map(), VARIANT_TRUE);
    }
    static const mb::Control& list(const Dialog& dialog) { return *dialog.model().find(CFieldMappingDlg::idList); }
    // Returns each row as "left|right", with a star in front if the row is checked.
    static std::vector<std::u16string> rows(const Dialog& dialog)
    {
        std::vector<std::u16string> lines;
        for (const mb::ListRow& row : list(dialog).rows)
            lines.push_back((row.checked ? u"*" : u"") + row.cells.at(0) + u"|" + row.cells.at(1));
        return lines;
    }
    GUID fieldMap()
    {
        GUID id{};
        EXPECT_EQ(s.maps()->GetFieldMap(s.map(), &id), S_OK);
        return id;
    }
    // Returns the stored entries by the names of their fields.
    std::vector<std::u16string> pairs()
    {
        com::TaskArray<GUID> first, second;
        EXPECT_EQ(fieldMaps()->EnumerateEntries(fieldMap(), first.putCount(), first.put(), second.put()), S_OK);
        std::vector<std::u16string> names;
        for (LONG i = 0; i < first.size(); ++i)
            names.push_back(s.one().fieldOf(first.data()[i])->name + u"|" + s.two().fieldOf(second.data()[i])->name);
        return names;
    }
    com::Ptr<IFieldMap> fieldMaps() { return s.create<IFieldMap>(__uuidof(FieldMap)); }
    static std::size_t fieldMapCount()
    {
        std::vector<std::u16string> sections;
        EXPECT_EQ(mb::ConfigStore().ListSections(u"FieldMap", sections), S_OK);
        return sections.size();
    }
    LONG updated()
    {
        LONG flag = 0;
        (void)fieldMaps()->GetFieldMapUpdated(fieldMap(), &flag);
        return flag;
    }
    mbtest::SyncScenario s;
    mbtest::FrontEndFake user;
};

} // namespace

TEST_F(FieldMappingDlgTest, EveryFieldIsInExactlyOneRow)
{
    EXPECT_EQ(edit([](Dialog& dialog) {
                  EXPECT_EQ(dialog.model().caption, u"Edit Field Mapping");
                  EXPECT_EQ(list(dialog).columns.at(0).header, u"First");
                  EXPECT_THAT(rows(dialog), ElementsAre(u"*Given|First", u"*Town|City", u"Phone|Fax", u"Born|Pager", u"(no field)|Mobile"));
              }),
              S_FALSE);
}

TEST_F(FieldMappingDlgTest, TwoStoresWithOneNameAreShownWithTheirPlaces)
{
    s.one().options.shortName = s.two().options.shortName = u"vCard";
    s.one().options.database = u"/home/ada/Contacts";
    s.two().options.database = u"/home/ada/phone.vcf";
    EXPECT_EQ(edit([](Dialog& dialog) {
                  EXPECT_EQ(list(dialog).columns.at(0).header, u"vCard (Contacts)");
                  EXPECT_EQ(list(dialog).columns.at(1).header, u"vCard (phone.vcf)");
              }),
              S_FALSE);
}

TEST_F(FieldMappingDlgTest, ARowWithoutALeftFieldCannotBeDragged)
{
    (void)edit([](Dialog& dialog) {
        EXPECT_FALSE(dialog.beginDrag(CFieldMappingDlg::idList, 4));
        dialog.drop(0);
        EXPECT_EQ(rows(dialog).at(0), u"*Given|First");
    });
}

TEST_F(FieldMappingDlgTest, DroppingARowOnItselfOrOutsideChangesNothing)
{
    (void)edit([](Dialog& dialog) {
        const auto before = rows(dialog);
        for (const int target : {2, -1, 99}) {
            EXPECT_TRUE(dialog.beginDrag(CFieldMappingDlg::idList, 2));
            dialog.drop(target);
            EXPECT_EQ(rows(dialog), before);
        }
        dialog.drop(0); // without a drag
        EXPECT_EQ(rows(dialog), before);
    });
}

TEST_F(FieldMappingDlgTest, DroppingSwapsTheLeftFieldsAndUpdatesTheCheckBoxes)
{
    (void)edit([](Dialog& dialog) {
        EXPECT_TRUE(dialog.beginDrag(CFieldMappingDlg::idList, 2));
        dialog.drop(4);
        EXPECT_EQ(rows(dialog).at(2), u"(no field)|Fax");
        EXPECT_EQ(rows(dialog).at(4), u"*Phone|Mobile");
        EXPECT_TRUE(dialog.beginDrag(CFieldMappingDlg::idList, 0));
        dialog.drop(2);
        EXPECT_EQ(rows(dialog).at(0), u"(no field)|First");
        EXPECT_EQ(rows(dialog).at(2), u"*Given|Fax");
    });
}

TEST_F(FieldMappingDlgTest, DroppingAFieldOnAFieldOfAnotherTypeIsRefusedWithBothNames)
{
    (void)edit([](Dialog& dialog) {
        const auto before = rows(dialog);
        EXPECT_TRUE(dialog.beginDrag(CFieldMappingDlg::idList, 0));
        dialog.drop(3);
        EXPECT_EQ(rows(dialog), before);
    });
    EXPECT_THAT(user.messages, ElementsAre(u"Cannot map a field of type \"Given\" (String) to a field of type \"Born\" (Date/Time)."));
    EXPECT_EQ(user.messageCaption, u"Mirabook Synchronization");
}

TEST_F(FieldMappingDlgTest, ARowWithoutTwoFieldsOrOfTwoTypesCannotBeChecked)
{
    (void)edit([this](Dialog& dialog) {
        dialog.select(CFieldMappingDlg::idList, 4);
        dialog.checkRow(CFieldMappingDlg::idList, 4, true);
        EXPECT_EQ(rows(dialog).at(4), u"(no field)|Mobile");
        EXPECT_EQ(list(dialog).selection, -1);
        EXPECT_THAT(user.messages, IsEmpty());
        dialog.checkRow(CFieldMappingDlg::idList, 3, true);
        EXPECT_EQ(rows(dialog).at(3), u"Born|Pager");
        dialog.checkRow(CFieldMappingDlg::idList, 2, true);
        EXPECT_EQ(rows(dialog).at(2), u"*Phone|Fax");
    });
    EXPECT_THAT(user.messages, ElementsAre(u"Cannot map a field of type \"Born\" (Date/Time) to a field of type \"Pager\" (String)."));
}

TEST_F(FieldMappingDlgTest, OkWithoutAChangeWritesANewFieldMapWithTheSameEntries)
{
    s.one().add({{ftFirstName, u"Ada"}});
    ASSERT_EQ(s.sync(), S_OK);
    const auto history = s.folder.read(s.folder.data() / (std::filesystem::path(com::guidText(s.map())) += ".xml"));
    const auto before = pairs();
    const GUID old = fieldMap();
    EXPECT_EQ(edit([](Dialog& dialog) { dialog.press(idOk); }), S_OK);
    EXPECT_EQ(pairs(), before);
    EXPECT_NE(fieldMap(), old);
    EXPECT_EQ(updated(), 0);
    EXPECT_EQ(s.folder.read(s.folder.data() / (std::filesystem::path(com::guidText(s.map())) += ".xml")), history);
}

TEST_F(FieldMappingDlgTest, UncheckingAPairSetsChangedAndMarksTheHistory)
{
    s.one().add({{ftFirstName, u"Ada"}});
    ASSERT_EQ(s.sync(), S_OK);
    const auto file = s.folder.data() / (std::filesystem::path(com::guidText(s.map())) += ".xml");
    const auto history = s.folder.read(file);
    EXPECT_EQ(edit([](Dialog& dialog) {
                  dialog.checkRow(CFieldMappingDlg::idList, 1, false);
                  dialog.press(idOk);
              }),
              S_OK);
    EXPECT_THAT(pairs(), ElementsAre(u"Given|First"));
    EXPECT_EQ(updated(), 1);
    EXPECT_NE(s.folder.read(file), history);
}

TEST_F(FieldMappingDlgTest, WithoutTheFlagTheHistoryIsNotMarked)
{
    s.one().add({{ftFirstName, u"Ada"}});
    ASSERT_EQ(s.sync(), S_OK);
    const auto file = s.folder.data() / (std::filesystem::path(com::guidText(s.map())) += ".xml");
    const auto history = s.folder.read(file);
    user.script.emplace_back([](Dialog& dialog) {
        dialog.checkRow(CFieldMappingDlg::idList, 1, false);
        dialog.press(idOk);
    });
    EXPECT_EQ(s.maps()->ConfigureFieldMapping(nullptr, s.map(), VARIANT_FALSE), S_OK);
    EXPECT_EQ(updated(), 1);
    EXPECT_EQ(s.folder.read(file), history);
}

TEST_F(FieldMappingDlgTest, AMapThatWasNeverRunHasNoHistoryToMark)
{
    EXPECT_EQ(edit([](Dialog& dialog) {
                  dialog.checkRow(CFieldMappingDlg::idList, 1, false);
                  dialog.press(idOk);
              }),
              S_OK);
}

TEST_F(FieldMappingDlgTest, DynamicFieldsAreNumberedAgainAtEachOpening)
{
    s.one().options.dynamicFields = true;
    s.one().addDynamicField(u"Shoe size");
    ASSERT_EQ(fieldMaps()->SetNextAvailableFieldType(fieldMap(), 4000), S_OK);
    (void)edit([](Dialog&) {});
    LONG next = 0;
    EXPECT_EQ(fieldMaps()->GetNextAvailableFieldType(fieldMap(), &next), S_OK);
    EXPECT_EQ(next, 3001);
}

TEST_F(FieldMappingDlgTest, AnAddedPairSetsChanged)
{
    (void)edit([](Dialog& dialog) {
        dialog.checkRow(CFieldMappingDlg::idList, 2, true);
        dialog.press(idOk);
    });
    EXPECT_THAT(pairs(), ElementsAre(u"Given|First", u"Town|City", u"Phone|Fax"));
    EXPECT_EQ(updated(), 1);
}

TEST_F(FieldMappingDlgTest, CancelWritesNothing)
{
    const GUID old = fieldMap();
    EXPECT_EQ(edit([](Dialog& dialog) {
                  dialog.checkRow(CFieldMappingDlg::idList, 0, false);
                  dialog.press(idCancel);
              }),
              S_FALSE);
    EXPECT_EQ(fieldMap(), old);
    EXPECT_THAT(pairs(), ElementsAre(u"Given|First", u"Town|City"));
}

TEST_F(FieldMappingDlgTest, ResetRebuildsTheStoredFieldMapAndCancelRestoresTheFormerEntries)
{
    (void)edit([](Dialog& dialog) {
        dialog.checkRow(CFieldMappingDlg::idList, 1, false);
        dialog.checkRow(CFieldMappingDlg::idList, 2, true);
        dialog.press(idOk);
    });
    const auto opening = pairs();
    ASSERT_THAT(opening, ElementsAre(u"Given|First", u"Phone|Fax"));
    std::size_t maps = 0;
    EXPECT_EQ(edit([&](Dialog& dialog) {
                  dialog.press(CFieldMappingDlg::idReset);
                  EXPECT_THAT(pairs(), ElementsAre(u"Given|First", u"Town|City"));
                  EXPECT_EQ(rows(dialog).at(1), u"*Town|City");
                  maps = fieldMapCount();
                  dialog.press(idCancel);
              }),
              S_FALSE);
    EXPECT_EQ(fieldMapCount(), maps) << "one field map is created and one is deleted";
    EXPECT_EQ(pairs(), opening);
    EXPECT_EQ(updated(), 1);
}

TEST_F(FieldMappingDlgTest, AnUnmappedPairIsRememberedThroughOkResetAndCancel)
{
    const auto isRemembered = [&] { return mb::IsUnmappedPair(fieldMap(), s.one().guidOf(ftCity1), s.two().guidOf(ftCity1)); };
    EXPECT_FALSE(isRemembered());
    (void)edit([](Dialog& dialog) {
        dialog.checkRow(CFieldMappingDlg::idList, 1, false);
        dialog.press(idOk);
    });
    EXPECT_TRUE(isRemembered());
    (void)edit([](Dialog& dialog) { dialog.press(idOk); });
    EXPECT_TRUE(isRemembered());
    (void)edit([](Dialog& dialog) {
        dialog.press(CFieldMappingDlg::idReset);
        dialog.press(idCancel);
    });
    EXPECT_TRUE(isRemembered());
    EXPECT_FALSE(mb::IsUnmappedPair(fieldMap(), s.one().guidOf(ftFirstName), s.two().guidOf(ftFirstName)));
}

TEST_F(FieldMappingDlgTest, AMapThatWasMarkedUpdatedStaysMarked)
{
    ASSERT_EQ(fieldMaps()->SetFieldMapUpdated(fieldMap(), 1), S_OK);
    EXPECT_EQ(edit([](Dialog& dialog) { dialog.press(idOk); }), S_OK);
    EXPECT_EQ(updated(), 1);
}

TEST_F(FieldMappingDlgTest, DynamicFieldsHaveRowsToo)
{
    s.one().options.dynamicFields = true;
    s.one().addDynamicField(u"Shoe size");
    (void)edit([](Dialog& dialog) { EXPECT_THAT(rows(dialog), testing::Contains(mbtest::Holds(u"Shoe size|"))); });
}

TEST_F(FieldMappingDlgTest, ATranslatorThatListsNoFieldsLeavesTheListEmptyAndTheMapUnchanged)
{
    const auto before = pairs();
    s.two().options.fieldList = false;
    EXPECT_TRUE(FAILED(edit([](Dialog& dialog) {
        EXPECT_THAT(list(dialog).rows, IsEmpty());
        dialog.press(idOk);
    })));
    EXPECT_EQ(pairs(), before);
}

TEST_F(FieldMappingDlgTest, AMapThatCannotBeSavedIsAFailure)
{
    const auto file = s.folder.data() / "MBSync.xml", aside = s.folder.path() / "aside";
    std::filesystem::rename(file, aside);
    std::filesystem::create_directories(file / "in the way");
    EXPECT_TRUE(FAILED(edit([](Dialog& dialog) {
        dialog.checkRow(CFieldMappingDlg::idList, 1, false);
        dialog.press(idOk);
        EXPECT_EQ(dialog.ending(), idOk);
    })));
    std::filesystem::remove_all(file);
    std::filesystem::rename(aside, file);
}

TEST_F(FieldMappingDlgTest, WithoutTheFieldMapClassResetAndOkDoNothing)
{
    const auto before = pairs();
    static constexpr com::ClassEntry missing[] = {{&__uuidof(FieldMap), u"", u"", [](IUnknown*, REFIID, void** out) noexcept -> HRESULT {
                                                       *out = nullptr;
                                                       return CLASS_E_CLASSNOTAVAILABLE;
                                                   }}};
    {
        const mb::ClassOverride hidden(missing);
        EXPECT_TRUE(FAILED(edit([](Dialog& dialog) {
            dialog.press(CFieldMappingDlg::idReset);
            EXPECT_THAT(list(dialog).rows, IsEmpty());
            dialog.press(idOk);
        })));
    }
    EXPECT_EQ(pairs(), before);
}

TEST_F(FieldMappingDlgTest, TheContactProgramMarksItsHistoryByDatabaseAndOthersBothSides)
{
    mb::TrMapRecord map;
    map.database1 = u"C:\\Mine.MBK";
    map.database2 = u"THEIRS";
    for (const char* host : {"C:\\Programs\\MB.EXE", "/opt/mb.exe/other", "/opt/mb"})
        EXPECT_THAT(mb::SectionsToMark(map, host), ElementsAre(u"Trans1c:\\mine.mbktheirs")) << host;
    for (const char* host : {"C:\\Programs\\mbsynccfg.exe", "/opt/mb/other", ""})
        EXPECT_THAT(mb::SectionsToMark(map, host), ElementsAre(u"Trans1", u"Trans2")) << host;
}

TEST_F(FieldMappingDlgTest, DataTypesHaveNames)
{
    EXPECT_EQ(mb::DataTypeText(dtInteger), u"Integer");
    EXPECT_EQ(mb::DataTypeText(dtDouble), u"Double");
    EXPECT_EQ(mb::DataTypeText(dtBinary), u"Binary");
    EXPECT_EQ(mb::DataTypeText(dtImage), u"Image");
    EXPECT_EQ(mb::DataTypeText(42), u"42");
}
