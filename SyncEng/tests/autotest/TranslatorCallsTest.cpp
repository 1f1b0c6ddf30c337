#include "AutoTestFixture.h"

namespace mbtest {
namespace {

class TranslatorCallsTest : public AutoTestFixture {
protected:
    TranslatorCallsTest()
    {
        scenario.one().add(u"r1", {{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
        map = makeMap();
    }
    // Returns the calls on both fakes since the last takeCalls().
    std::vector<std::string> takeCalls()
    {
        std::vector<std::string> calls = scenario.log().lines;
        scenario.log().clear();
        return calls;
    }
    std::u16string read(const com::Ptr<IUnknown>& side, const std::u16string& id, _FieldTypes type)
    {
        com::Bstr value;
        EXPECT_EQ(autoTest->BeginReadRecord(side.get(), bstr(id).get()), S_OK);
        EXPECT_EQ(autoTest->ReadField(side.get(), bstr(id).get(), type, value.put()), S_OK);
        EXPECT_EQ(autoTest->EndReadRecord(side.get(), bstr(id).get()), S_OK);
        return value.text();
    }
    std::u16string map;
};

} // namespace

TEST_F(TranslatorCallsTest, BeginUpdateRefusesAnyNumberButThoseOfTheSides)
{
    com::Ptr<IUnknown> opened;
    EXPECT_EQ(autoTest->BeginUpdate(bstr(map).get(), static_cast<_TransIds>(3), opened.put()), E_INVALIDARG);
    EXPECT_EQ(autoTest->BeginUpdate(bstr(map).get(), static_cast<_TransIds>(0), opened.put()), E_INVALIDARG);
    EXPECT_EQ(autoTest->BeginUpdate(bstr(map).get(), idTrans1, nullptr), E_POINTER);
}

TEST_F(TranslatorCallsTest, ASideWithoutAConfiguredStoreIsOpenedWithReconfiguration)
{
    (void)takeCalls();
    auto side = openSide(map, idTrans2);
    EXPECT_EQ(autoTest->EndUpdate(side.get(), VARIANT_FALSE), S_OK);
    const auto calls = takeCalls();
    ASSERT_EQ(calls.size(), 4u) << testing::PrintToString(calls);
    EXPECT_EQ(calls[0], "2 Initialize reconfigure");
    EXPECT_TRUE(calls[1].starts_with("2 BeginUpdate")) << calls[1];
    EXPECT_EQ(calls[2], "2 EndUpdate");
    EXPECT_TRUE(calls[3].starts_with("2 Cleanup")) << calls[3];
}

TEST_F(TranslatorCallsTest, AFailingStepOfBeginUpdateReturnsNoTranslator)
{
    const LONG alive = com::moduleLocks;
    for (const char* step : {"1 Initialize", "1 BeginUpdate"}) {
        failNext(step, static_cast<HRESULT>(0x8004020F));
        IUnknown* opened = autoTest.get();
        EXPECT_EQ(autoTest->BeginUpdate(bstr(map).get(), idTrans1, &opened), static_cast<HRESULT>(0x8004020F)) << step;
        EXPECT_EQ(opened, nullptr);
    }
    EXPECT_EQ(com::moduleLocks, alive);
}

TEST_F(TranslatorCallsTest, AnAbortReachesTheStore)
{
    const auto side = openSide(map, idTrans1);
    (void)takeCalls();
    EXPECT_EQ(autoTest->EndUpdate(side.get(), VARIANT_TRUE), S_OK);
    EXPECT_EQ(takeCalls().front(), "1 EndUpdate abort");
}

TEST_F(TranslatorCallsTest, AStoreWithoutBatchesOpensAndCloses)
{
    scenario.one().options.batches = false;
    const auto side = openSide(map, idTrans1);
    (void)takeCalls();
    EXPECT_EQ(autoTest->EndUpdate(side.get(), VARIANT_FALSE), S_OK);
    EXPECT_TRUE(takeCalls().back().starts_with("1 Cleanup"));
}

TEST_F(TranslatorCallsTest, AFailedEndUpdateLeavesTheStoreOpen)
{
    const auto side = openSide(map, idTrans1);
    (void)takeCalls();
    failNext("1 EndUpdate", static_cast<HRESULT>(0x8004020F));
    EXPECT_EQ(autoTest->EndUpdate(side.get(), VARIANT_TRUE), static_cast<HRESULT>(0x8004020F));
    const auto calls = takeCalls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_TRUE(calls[0].starts_with("1 EndUpdate"));
    EXPECT_EQ(calls[1], "1 GetLastError") << "the error message for the script";
    EXPECT_EQ(autoTest->EndUpdate(side.get(), VARIANT_FALSE), S_OK);
}

TEST_F(TranslatorCallsTest, RecordsAreListedFoundAndRead)
{
    const auto side = openSide(map, idTrans1);
    LONG count = 0;
    com::Bstr id;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(autoTest->GetRecordCount(side.get(), &count), S_OK);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(autoTest->GetRecordID(side.get(), 0, id.put()), S_OK);
    EXPECT_EQ(id.view(), u"r1");
    EXPECT_EQ(autoTest->FindRecord(side.get(), id.get(), &found), S_OK);
    EXPECT_EQ(found, VARIANT_TRUE);
    EXPECT_EQ(read(side, u"r1", ftLastName), u"Lovelace");
    EXPECT_EQ(autoTest->EndUpdate(side.get(), VARIANT_FALSE), S_OK);
}

TEST_F(TranslatorCallsTest, FindRecordForARecordThatDoesNotExistReportsFalseAndTheTranslatorsFailure)
{
    const auto side = openSide(map, idTrans1);
    const HRESULT own = com::Ptr<IUnknown>(side).as<ITranslator>()->FindRecord(bstr(u"absent").get());
    ASSERT_TRUE(FAILED(own));
    VARIANT_BOOL found = VARIANT_TRUE;
    EXPECT_EQ(autoTest->FindRecord(side.get(), bstr(u"absent").get(), &found), own);
    EXPECT_EQ(found, VARIANT_FALSE);
}

TEST_F(TranslatorCallsTest, RecordsAreAddedEditedAndDeletedFieldByField)
{
    scenario.one().options.newIdOnAdd = true;
    const auto side = openSide(map, idTrans1);
    com::Bstr id;
    ASSERT_EQ(autoTest->AddRecord(side.get(), id.put()), S_OK);
    const std::u16string first = id.text();
    EXPECT_EQ(autoTest->WriteField(side.get(), id.get(), ftFirstName, bstr(u"Grace").get()), S_OK);
    EXPECT_EQ(autoTest->WriteField(side.get(), id.get(), ftLastName, nullptr), S_OK);
    ASSERT_EQ(autoTest->SaveRecord(side.get(), id.inOut()), S_OK);
    EXPECT_NE(id.text(), first) << "the new identifier is returned";
    EXPECT_EQ(read(side, id.text(), ftFirstName), u"Grace");

    EXPECT_EQ(autoTest->EditRecord(side.get(), id.get()), S_OK);
    EXPECT_EQ(autoTest->WriteField(side.get(), id.get(), ftFirstName, bstr(u"Rear Admiral Grace").get()), S_OK);
    EXPECT_EQ(autoTest->SaveRecord(side.get(), id.inOut()), S_OK);
    EXPECT_EQ(scenario.one().get(id.text(), ftFirstName), u"Rear Admiral Grace");

    EXPECT_EQ(autoTest->DeleteRecord(side.get(), bstr(u"r1").get()), S_OK);
    EXPECT_EQ(autoTest->EndUpdate(side.get(), VARIANT_FALSE), S_OK);
    EXPECT_FALSE(scenario.one().has(u"r1"));
    EXPECT_EQ(scenario.one().records.size(), 1u);
}

TEST_F(TranslatorCallsTest, AFieldThatTheStoreDoesNotHaveFails)
{
    const auto side = openSide(map, idTrans1);
    com::Bstr value;
    EXPECT_EQ(autoTest->ReadField(side.get(), bstr(u"r1").get(), ftPrivateStatus, value.put()), E_FAIL);
    EXPECT_EQ(value.get(), nullptr);
    EXPECT_EQ(autoTest->WriteField(side.get(), bstr(u"r1").get(), ftPrivateStatus, bstr(u"x").get()), E_FAIL);
}

TEST_F(TranslatorCallsTest, AStoreWithoutAFieldListHasNoFields)
{
    scenario.one().options.fieldList = false;
    const auto side = openSide(map, idTrans1);
    com::Bstr value;
    EXPECT_EQ(autoTest->ReadField(side.get(), bstr(u"r1").get(), ftFirstName, value.put()), E_NOINTERFACE);
}

TEST_F(TranslatorCallsTest, NullObjectsArePointerErrors)
{
    const com::Bstr id(u"r1");
    com::Bstr text;
    LONG count = 0;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(autoTest->GetRecordCount(nullptr, &count), E_POINTER);
    EXPECT_EQ(autoTest->GetRecordID(nullptr, 0, text.put()), E_POINTER);
    EXPECT_EQ(autoTest->FindRecord(nullptr, id.get(), &found), E_POINTER);
    EXPECT_EQ(autoTest->BeginReadRecord(nullptr, id.get()), E_POINTER);
    EXPECT_EQ(autoTest->EndReadRecord(nullptr, id.get()), E_POINTER);
    EXPECT_EQ(autoTest->AddRecord(nullptr, text.put()), E_POINTER);
    EXPECT_EQ(autoTest->EditRecord(nullptr, id.get()), E_POINTER);
    EXPECT_EQ(autoTest->SaveRecord(nullptr, text.inOut()), E_POINTER);
    EXPECT_EQ(autoTest->DeleteRecord(nullptr, id.get()), E_POINTER);
    EXPECT_EQ(autoTest->ReadField(nullptr, id.get(), ftFirstName, text.put()), E_POINTER);
    EXPECT_EQ(autoTest->WriteField(nullptr, id.get(), ftFirstName, id.get()), E_POINTER);
    EXPECT_EQ(autoTest->EndUpdate(nullptr, VARIANT_FALSE), E_POINTER);
}

TEST_F(TranslatorCallsTest, NullOutArgumentsArePointerErrors)
{
    const auto side = openSide(map, idTrans1);
    const com::Bstr id(u"r1");
    (void)takeCalls();
    EXPECT_EQ(autoTest->GetRecordCount(side.get(), nullptr), E_POINTER);
    EXPECT_EQ(autoTest->GetRecordID(side.get(), 0, nullptr), E_POINTER);
    EXPECT_EQ(autoTest->FindRecord(side.get(), id.get(), nullptr), E_POINTER);
    EXPECT_EQ(autoTest->AddRecord(side.get(), nullptr), E_POINTER);
    EXPECT_EQ(autoTest->SaveRecord(side.get(), nullptr), E_POINTER);
    EXPECT_EQ(autoTest->ReadField(side.get(), id.get(), ftFirstName, nullptr), E_POINTER);
    EXPECT_TRUE(takeCalls().empty());
}

TEST_F(TranslatorCallsTest, AnObjectThatIsNotATranslatorIsRefused)
{
    LONG count = 0;
    EXPECT_EQ(autoTest->GetRecordCount(autoTest.get(), &count), E_NOINTERFACE);
}

} // namespace mbtest
