#include "AutoTestFixture.h"
#include "FrontEndFake.h"
#include "store/ConfigStore.h"
#include "translators/TrMapKeys.h"

namespace mbtest {
namespace {

using SyncAutoTestTest = AutoTestFixture;

constexpr char16_t unknownMap[] = u"{12345678-1234-1234-1234-123456789ABC}";

} // namespace

TEST_F(SyncAutoTestTest, AMapIsCreatedFromNamesIgnoringCaseAndDeletedAgain)
{
    com::Bstr made;
    ASSERT_EQ(autoTest->AddTrMap(bstr(u"NOTEBOOK").get(), bstr(u"vcard").get(), made.put()), S_OK);
    GUID map{}, first{}, second{};
    ASSERT_EQ(com::parseGuid(made.view(), &map), S_OK);
    ASSERT_EQ(scenario.maps()->GetTranslators(map, &first, &second), S_OK);
    EXPECT_EQ(first, fakeClass1);
    EXPECT_EQ(second, fakeClass2);
    EXPECT_EQ(autoTest->DeleteTrMap(made.get()), S_OK);
    EXPECT_EQ(mapCount(), 0);
}

TEST_F(SyncAutoTestTest, AMapIsCreatedFromClasses)
{
    GUID class1 = fakeClass2, class2 = fakeClass1, map{}, first{}, second{};
    com::Bstr made;
    ASSERT_EQ(autoTest->AddTrMapEx(&class1, &class2, made.put()), S_OK);
    ASSERT_EQ(com::parseGuid(made.view(), &map), S_OK);
    ASSERT_EQ(scenario.maps()->GetTranslators(map, &first, &second), S_OK);
    EXPECT_EQ(first, fakeClass2);
    EXPECT_EQ(second, fakeClass1);
}

TEST_F(SyncAutoTestTest, AddTrMapWithOneUnknownNameFailsAndCreatesNoMap)
{
    const std::pair<const char16_t*, const char16_t*> names[] = {{u"Notebook", u"Ledger"}, {u"Ledger", u"vCard"}, {u"", u"vCard"}};
    for (const auto& [first, second] : names) {
        com::Bstr made;
        EXPECT_EQ(autoTest->AddTrMap(bstr(first).get(), bstr(second).get(), made.put()), E_FAIL);
        EXPECT_EQ(made.get(), nullptr);
    }
    com::Bstr made;
    EXPECT_EQ(autoTest->AddTrMap(nullptr, bstr(u"vCard").get(), made.put()), E_FAIL);
    EXPECT_EQ(mapCount(), 0);
}

TEST_F(SyncAutoTestTest, ATranslatorMayBeUsedOnBothSides)
{
    com::Bstr made;
    EXPECT_EQ(autoTest->AddTrMap(bstr(u"vCard").get(), bstr(u"vCard").get(), made.put()), S_OK);
    EXPECT_EQ(mapCount(), 1);
}

TEST_F(SyncAutoTestTest, ARunSynchronizesTheNamedMapAndTheEmptyTextMeansAllMaps)
{
    const auto map = makeMap();
    scenario.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    ASSERT_EQ(autoTest->Synchronize(bstr(map).get(), VARIANT_FALSE, VARIANT_TRUE), S_OK);
    EXPECT_EQ(scenario.two().records.size(), 1u);
    scenario.two().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}});
    ASSERT_EQ(autoTest->Synchronize(nullptr, VARIANT_FALSE, VARIANT_TRUE), S_OK);
    EXPECT_EQ(scenario.one().records.size(), 2u);
    scenario.two().add({{ftFirstName, u"Alan"}, {ftLastName, u"Turing"}});
    ASSERT_EQ(autoTest->Synchronize(bstr(u"").get(), VARIANT_FALSE, VARIANT_TRUE), S_OK);
    EXPECT_EQ(scenario.one().records.size(), 3u);
}

TEST_F(SyncAutoTestTest, ARunOfAllMapsLeavesTheHiddenMapOfATransferAlone)
{
    ASSERT_EQ(scenario.maps()->CreateEx(fakeClass2, fakeClass1, fakeClass2), S_OK);
    EXPECT_EQ(autoTest->Synchronize(nullptr, VARIANT_FALSE, VARIANT_TRUE), S_OK);
    EXPECT_THAT(scenario.log().lines, testing::IsEmpty());
}

TEST_F(SyncAutoTestTest, ARunOfAllMapsRunsNoneWhereItIsUnknownWhetherOneIsHidden)
{
    (void)makeMap();
    ASSERT_EQ(scenario.maps()->CreateEx(fakeClass2, fakeClass1, fakeClass2), S_OK);
    const std::u16string section = com::guidText(fakeClass2);
    ASSERT_EQ(mb::ConfigStore().WriteValue(mb::trMapType, section, mb::trMapTrans2Key, u"damaged", false, true), S_OK);
    EXPECT_EQ(autoTest->Synchronize(nullptr, VARIANT_FALSE, VARIANT_TRUE), CO_E_CLASSSTRING);
    EXPECT_THAT(scenario.log().lines, testing::IsEmpty());
}

TEST_F(SyncAutoTestTest, ARunIsSilentOrReconfiguresOnlyOnRequest)
{
    FrontEndFake user; // cancels every dialog
    const auto map = makeMap();
    scenario.one().add({{ftFirstName, u"Ada"}});
    scenario.log().clear();
    EXPECT_EQ(autoTest->Synchronize(bstr(map).get(), VARIANT_TRUE, VARIANT_FALSE), E_ABORT);
    EXPECT_EQ(user.captions, std::vector<std::u16string>{u"Confirm Changes"});
    EXPECT_EQ(scenario.log().starting("1 Initialize"), std::vector<std::string>{"1 Initialize reconfigure"});
    scenario.log().clear();
    EXPECT_EQ(autoTest->Synchronize(bstr(map).get(), VARIANT_FALSE, VARIANT_TRUE), S_OK);
    EXPECT_EQ(user.captions.size(), 1u);
    EXPECT_EQ(scenario.log().starting("1 Initialize"), std::vector<std::string>{"1 Initialize"});
}

TEST_F(SyncAutoTestTest, TheFailureOfARunIsReturnedUnchanged)
{
    const auto map = makeMap();
    failNext("2 Initialize", static_cast<HRESULT>(0x80040202));
    EXPECT_EQ(autoTest->Synchronize(bstr(map).get(), VARIANT_FALSE, VARIANT_TRUE), static_cast<HRESULT>(0x80040202));
}

TEST_F(SyncAutoTestTest, AMalformedMapReturnsTheCodeOfTheParser)
{
    com::Ptr<IUnknown> opened;
    for (const char16_t* text : {u"{no map}", u"No.Such.Class"}) {
        EXPECT_EQ(autoTest->Synchronize(bstr(text).get(), VARIANT_FALSE, VARIANT_TRUE), CO_E_CLASSSTRING);
        EXPECT_EQ(autoTest->DeleteTrMap(bstr(text).get()), CO_E_CLASSSTRING);
        EXPECT_EQ(autoTest->BeginUpdate(bstr(text).get(), idTrans1, opened.put()), CO_E_CLASSSTRING);
    }
}

TEST_F(SyncAutoTestTest, AnUnknownMapFailsAndTouchesNoStore)
{
    com::Ptr<IUnknown> opened;
    EXPECT_TRUE(FAILED(autoTest->BeginUpdate(bstr(unknownMap).get(), idTrans1, opened.put())));
    EXPECT_FALSE(opened);
    EXPECT_TRUE(FAILED(autoTest->Synchronize(bstr(unknownMap).get(), VARIANT_FALSE, VARIANT_TRUE)));
    EXPECT_TRUE(scenario.writes().empty());
}

TEST_F(SyncAutoTestTest, WithoutEnableDecryptDecryptHistoryFileFailsAndWritesNoFile)
{
    const auto map = makeMap();
    scenario.one().add({{ftFirstName, u"Ada"}});
    ASSERT_EQ(autoTest->Synchronize(bstr(map).get(), VARIANT_FALSE, VARIANT_TRUE), S_OK);
    const auto history = bstr((scenario.folder.data() / (map + u".xml")).u16string());
    const auto target = scenario.folder.path() / "decoded.xml";
    EXPECT_EQ(autoTest->DecryptHistoryFile(history.get(), bstr(target.u16string()).get()), E_FAIL);
    EXPECT_FALSE(std::filesystem::exists(target));

    ASSERT_TRUE(platform::createKeyPath(platform::Root::CurrentUser, u"Software\\Zorel\\MBSyncEng"));
    const auto key = platform::RegistryKey::open(platform::Root::CurrentUser, u"Software\\Zorel\\MBSyncEng");
    ASSERT_TRUE(key && key->setText(u"EnableDecrypt", u"1"));
    EXPECT_EQ(autoTest->DecryptHistoryFile(history.get(), bstr(target.u16string()).get()), E_FAIL)
        << "the registry value is a text, not a number";
    ASSERT_TRUE(key->setNumber(u"EnableDecrypt", 0));
    EXPECT_EQ(autoTest->DecryptHistoryFile(history.get(), bstr(target.u16string()).get()), E_FAIL);
    EXPECT_FALSE(std::filesystem::exists(target));

    ASSERT_TRUE(key->setNumber(u"EnableDecrypt", 1));
    ASSERT_EQ(autoTest->DecryptHistoryFile(history.get(), bstr(target.u16string()).get()), S_OK);
    EXPECT_NE(scenario.folder.read(target).find("Ada"), std::string::npos);
}

TEST_F(SyncAutoTestTest, NullOutArgumentsArePointerErrors)
{
    GUID guid = fakeClass1;
    EXPECT_EQ(autoTest->AddTrMap(bstr(u"Notebook").get(), bstr(u"vCard").get(), nullptr), E_POINTER);
    EXPECT_EQ(autoTest->AddTrMapEx(&guid, &guid, nullptr), E_POINTER);
    com::Bstr made;
    EXPECT_EQ(autoTest->AddTrMapEx(nullptr, &guid, made.put()), E_POINTER);
    EXPECT_EQ(autoTest->AddTrMapEx(&guid, nullptr, made.put()), E_POINTER);
    EXPECT_EQ(mapCount(), 0);
}

TEST_F(SyncAutoTestTest, AScriptFileThatCannotBeReadReturnsTheSystemsErrorNumber)
{
    EXPECT_EQ(autoTest->RunTests(bstr((scenario.folder.path() / "absent").u16string()).get()), HRESULT{2});
    EXPECT_GT(autoTest->RunTests(nullptr), HRESULT{0});
}

} // namespace mbtest
