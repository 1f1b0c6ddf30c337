#include "store/CSyncHistory.h"
#include "TranslatorsFixture.h"

namespace {

using namespace mbtest;
using ::testing::ElementsAre;

// A map with three pairs of records in its history: two with values and a status, one without values.
class FidemarkSupportTest : public TranslatorsTest {
protected:
    FidemarkSupportTest()
    {
        writePair(mapA);
        mb::CSyncHistory history(nullptr);
        com::check(history.Open(mapA));
        link(history, u"a1", u"b1", values(u"Smith", u"0"));
        link(history, u"a2", u"b2", values(u"Jones", u"1"));
        link(history, u"a3", u"b3", std::nullopt);
        com::check(history.SetDatabase(u"Trans1", u"left")); // also saves the history
        support_ = create<IFidemarkSupport>(__uuidof(TrManager));
    }
    static mb::FieldValueMap values(const char16_t* lastName, const char16_t* status)
    {
        mb::FieldValueMap fields;
        fields[ftLastName] = lastName;
        fields[ftRecordStatus] = status;
        return fields;
    }
    static void link(mb::CSyncHistory& history, const std::u16string& a, const std::u16string& b,
                     const std::optional<mb::FieldValueMap>& fields)
    {
        com::check(history.WriteEntry(u"Trans1", {a, 5.0, b, false}));
        com::check(history.WriteEntry(u"Trans2", {b, 6.0, a, false}));
        if (fields) com::check(history.WriteFieldData(u"Trans1", a, *fields, false, false));
    }
    LONG statusOf(const char16_t* id)
    {
        LONG status = 77;
        EXPECT_EQ(support_->GetRecordStatus(idTrans1, com::Bstr(id).get(), &status), S_OK);
        return status;
    }
    std::u16string partnerOf(_TransIds side, const char16_t* id)
    {
        com::Bstr mapped;
        EXPECT_EQ(support_->GetMappedRecordId(side, com::Bstr(id).get(), mapped.put()), S_OK);
        return mapped.text();
    }
    static std::vector<std::u16string> take(SAFEARRAY* array)
    {
        auto ids = com::textArray(array);
        if (array) SafeArrayDestroy(array);
        return ids;
    }
    // Returns the status and the field data that the file holds.
    std::pair<std::u16string, std::u16string> storedStatus(const char16_t* id)
    {
        mb::StoreFile file;
        com::check(file.Open(historyFile(mapA), false));
        std::u16string status, data;
        (void)file.ReadValue(u"Trans1", id, u"FMStatus", status);
        mb::CSyncHistory history(nullptr);
        com::check(history.Open(mapA));
        mb::FieldValueMap fields;
        (void)history.ReadFieldData(u"Trans1", id, fields);
        return {status, fields.contains(ftRecordStatus) ? fields[ftRecordStatus] : u"<none>"};
    }
    com::Ptr<IFidemarkSupport> support_;
};

TEST_F(FidemarkSupportTest, TheStatusOfARecordComesFromItsFieldData)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    EXPECT_EQ(statusOf(u"a1"), rsCurrent);
    EXPECT_EQ(statusOf(u"a2"), rsOutdated);
}

TEST_F(FidemarkSupportTest, AnUnknownRecordAndOneWithoutFieldDataAreNotPresent)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    EXPECT_EQ(statusOf(u"a3"), rsNotPresent);
    EXPECT_EQ(statusOf(u"nobody"), rsNotPresent);
}

TEST_F(FidemarkSupportTest, SettingTheStatusWritesBothPlacesOfTheFileAndLeavesTheOtherValues)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    EXPECT_EQ(support_->SetRecordStatus(idTrans1, com::Bstr(u"a1").get(), rsUnreachable), S_OK);
    EXPECT_EQ(statusOf(u"a1"), rsUnreachable);
    EXPECT_EQ(storedStatus(u"a1"), std::pair(std::u16string(u"-6"), std::u16string(u"-6")));
    EXPECT_EQ(storedStatus(u"a2"), std::pair(std::u16string(u"1"), std::u16string(u"1")));
    ASSERT_EQ(support_->BeginGetFieldData(idTrans1, com::Bstr(u"a1").get()), S_OK);
    com::Bstr name;
    EXPECT_EQ(support_->GetFieldData(ftLastName, name.put()), S_OK);
    EXPECT_EQ(name.view(), u"Smith");
}

TEST_F(FidemarkSupportTest, ARecordWithoutFieldDataStaysUnchanged)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    const std::string before = folder.read(historyFile(mapA));
    EXPECT_TRUE(FAILED(support_->SetRecordStatus(idTrans1, com::Bstr(u"a3").get(), rsExcluded)));
    EXPECT_TRUE(FAILED(support_->SetRecordStatus(idTrans1, com::Bstr(u"nobody").get(), rsExcluded)));
    EXPECT_TRUE(FAILED(support_->SetRecordStatus(idTrans1, nullptr, rsExcluded)));
    EXPECT_EQ(folder.read(historyFile(mapA)), before);
}

TEST_F(FidemarkSupportTest, PartnersAreFoundFromBothSidesAndAnyValueButOneMeansSideTwo)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    EXPECT_EQ(partnerOf(idTrans1, u"a1"), u"b1");
    EXPECT_EQ(partnerOf(idTrans2, u"b2"), u"a2");
    EXPECT_EQ(partnerOf(static_cast<_TransIds>(3), u"b2"), u"a2");
    EXPECT_EQ(partnerOf(idTrans1, u"nobody"), u"");
}

TEST_F(FidemarkSupportTest, RecordsAreListedAndCounted)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    SAFEARRAY* ids = nullptr;
    EXPECT_EQ(support_->GetHistoryRecords(idTrans1, &ids), S_OK);
    EXPECT_THAT(take(ids), ElementsAre(u"a1", u"a2", u"a3"));
    LONG count = 0;
    EXPECT_EQ(support_->GetNumOfHistoryRecords(idTrans2, &count), S_OK);
    EXPECT_EQ(count, 3);
}

TEST_F(FidemarkSupportTest, RecordsAreListedByStatus)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    SAFEARRAY* ids = nullptr;
    EXPECT_EQ(support_->GetHistoryRecordsWithFMStatus(idTrans1, rsOutdated, &ids), S_OK);
    EXPECT_THAT(take(ids), ElementsAre(u"a2"));
    EXPECT_EQ(support_->SetRecordStatus(idTrans1, com::Bstr(u"a1").get(), rsOutdated), S_OK);
    EXPECT_EQ(support_->GetHistoryRecordsWithFMStatus(idTrans1, rsOutdated, &ids), S_OK);
    EXPECT_THAT(take(ids), ElementsAre(u"a1", u"a2"));
    EXPECT_EQ(support_->GetHistoryRecordsWithFMStatus(idTrans1, rsExcluded, &ids), S_OK) << "a status without records is not a failure";
    EXPECT_EQ(ids, nullptr);
}

TEST_F(FidemarkSupportTest, OnlyHistoriesSinceVersionTwoAreFilteredByStatus)
{
    const auto outdated = [&] {
        SAFEARRAY* ids = nullptr;
        EXPECT_EQ(support_->Initialize(mapA), S_OK);
        EXPECT_EQ(support_->GetHistoryRecordsWithFMStatus(idTrans1, rsOutdated, &ids), S_OK);
        EXPECT_EQ(support_->Cleanup(), S_OK);
        return take(ids);
    };
    const std::string text = folder.read(historyFile(mapA)), version = " Version=\"4\"";
    ASSERT_NE(text.find(version), std::string::npos);
    for (const std::string former : {"", " Version=\"0\"", " Version=\"1\""}) {
        folder.write(historyFile(mapA).string(), std::string(text).replace(text.find(version), version.size(), former));
        EXPECT_THAT(outdated(), ElementsAre(u"a1", u"a2", u"a3")) << former << ": all records, whatever their status";
    }
    for (const std::string later : {" Version=\"2\"", " Version=\"3\"", " Version=\"4\""}) {
        folder.write(historyFile(mapA).string(), std::string(text).replace(text.find(version), version.size(), later));
        EXPECT_THAT(outdated(), ElementsAre(u"a2")) << later;
    }
}

TEST_F(FidemarkSupportTest, AMapWithoutHistoryHasNoRecords)
{
    ASSERT_EQ(support_->Initialize(mapB), S_OK);
    SAFEARRAY* ids = nullptr;
    EXPECT_EQ(support_->GetHistoryRecords(idTrans1, &ids), E_FAIL);
    EXPECT_EQ(ids, nullptr);
    EXPECT_EQ(support_->GetHistoryRecordsWithFMStatus(idTrans1, rsCurrent, &ids), S_OK);
    EXPECT_EQ(ids, nullptr);
}

TEST_F(FidemarkSupportTest, FieldDataAreHeldBetweenBeginAndEnd)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    com::Bstr text;
    EXPECT_EQ(support_->GetFieldData(ftLastName, text.put()), E_FAIL) << "there was no BeginGetFieldData";
    ASSERT_EQ(support_->BeginGetFieldData(idTrans1, com::Bstr(u"a2").get()), S_OK);
    EXPECT_EQ(support_->GetFieldData(ftLastName, text.put()), S_OK);
    EXPECT_EQ(text.view(), u"Jones");
    EXPECT_EQ(support_->GetFieldData(ftCompany, text.put()), E_FAIL);
    EXPECT_TRUE(text.get() && text.empty()) << "an empty text, not a null one";
    EXPECT_EQ(support_->BeginGetFieldData(idTrans1, com::Bstr(u"a1").get()), S_OK);
    EXPECT_EQ(support_->GetFieldData(ftLastName, text.put()), S_OK);
    EXPECT_EQ(text.view(), u"Smith") << "the new record replaces the former one";
    EXPECT_EQ(support_->EndGetFieldData(), S_OK);
    EXPECT_EQ(support_->GetFieldData(ftLastName, text.put()), E_FAIL);
}

TEST_F(FidemarkSupportTest, AnotherRecordOrMapReplacesTheFormerOne)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    com::Bstr text;
    ASSERT_EQ(support_->BeginGetFieldData(idTrans1, com::Bstr(u"a2").get()), S_OK);
    EXPECT_TRUE(FAILED(support_->BeginGetFieldData(idTrans1, com::Bstr(u"nobody").get())));
    EXPECT_EQ(support_->GetFieldData(ftLastName, text.put()), E_FAIL);
    LONG count = -1;
    ASSERT_EQ(support_->Initialize(mapB), S_OK);
    EXPECT_EQ(support_->GetNumOfHistoryRecords(idTrans1, &count), S_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(partnerOf(idTrans1, u"a1"), u"");
}

TEST_F(FidemarkSupportTest, WithoutAHistoryListsFailAndReadsReturnNothing)
{
    const auto expectClosed = [&] {
        SAFEARRAY* ids = nullptr;
        LONG count = 9;
        EXPECT_EQ(support_->GetHistoryRecords(idTrans1, &ids), E_FAIL);
        EXPECT_EQ(support_->GetHistoryRecordsWithFMStatus(idTrans1, 0, &ids), E_FAIL);
        EXPECT_EQ(support_->GetNumOfHistoryRecords(idTrans1, &count), E_FAIL);
        EXPECT_EQ(count, 0);
        EXPECT_EQ(support_->BeginGetFieldData(idTrans1, com::Bstr(u"a1").get()), E_FAIL);
        EXPECT_TRUE(FAILED(support_->SetRecordStatus(idTrans1, com::Bstr(u"a1").get(), 0)));
        EXPECT_EQ(statusOf(u"a1"), rsNotPresent);
        EXPECT_EQ(partnerOf(idTrans1, u"a1"), u"");
    };
    expectClosed();
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    EXPECT_EQ(support_->Cleanup(), S_OK);
    expectClosed();
    EXPECT_EQ(support_->Cleanup(), S_OK);
}

TEST_F(FidemarkSupportTest, MissingOutParametersAreRefused)
{
    ASSERT_EQ(support_->Initialize(mapA), S_OK);
    for (const HRESULT hr :
         {support_->GetMappedRecordId(idTrans1, nullptr, nullptr), support_->GetRecordStatus(idTrans1, nullptr, nullptr),
          support_->GetHistoryRecords(idTrans1, nullptr), support_->GetFieldData(1, nullptr),
          support_->GetHistoryRecordsWithFMStatus(idTrans1, 0, nullptr), support_->GetNumOfHistoryRecords(idTrans1, nullptr)})
        EXPECT_EQ(hr, E_POINTER);
    com::Bstr mapped;
    LONG status = 0;
    EXPECT_EQ(support_->GetMappedRecordId(idTrans1, nullptr, mapped.put()), S_OK);
    EXPECT_EQ(support_->GetRecordStatus(idTrans1, nullptr, &status), S_OK);
    EXPECT_EQ(status, rsNotPresent);
    EXPECT_TRUE(FAILED(support_->BeginGetFieldData(idTrans1, nullptr)));
}

} // namespace
