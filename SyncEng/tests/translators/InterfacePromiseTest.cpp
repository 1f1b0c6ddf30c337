// The interfaces are a binary promise: plug-ins and hosts by others were compiled against these identifiers, slots and numbers.
#include "interfaces.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

// Returns a method's slot. The compilers of both platforms store it in the pointer to the virtual method.
template <class Method> std::ptrdiff_t slotOf(Method method)
{
    std::ptrdiff_t word = 0;
    std::memcpy(&word, &method, sizeof word);
    return (word & ~std::ptrdiff_t{1}) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

constexpr std::ptrdiff_t behindIUnknown = 3, behindIDispatch = 7;

template <class... Methods> void expectSlots(std::ptrdiff_t first, Methods... methods)
{
    std::ptrdiff_t slot = first;
    const auto expect = [&](std::ptrdiff_t given) { EXPECT_EQ(given, slot++); };
    (expect(slotOf(methods)), ...);
}

template <class I> std::u16string identifierOf() { return com::guidText(__uuidof(I)); }

} // namespace

TEST(InterfacePromise, ATranslatorHasItsTwentyMethodsInTheirSlots)
{
    using I = ITranslator;
    expectSlots(behindIUnknown, &I::Initialize, &I::GetSyncParams, &I::GetTranslatorCaps, &I::SetDatabase, &I::Cleanup, &I::GetRecordCount,
                &I::GetRecordID, &I::GetCreateDate, &I::GetModifiedDate, &I::FindRecord, &I::BeginReadRecord, &I::EndReadRecord,
                &I::BeginUpdate, &I::BeginAddRecord, &I::BeginEditRecord, &I::ReadField, &I::WriteField, &I::SaveRecord, &I::DeleteRecord,
                &I::EndUpdate);
    EXPECT_EQ(identifierOf<ITranslator>(), u"{9580FAF0-F0D0-489A-B9DC-A0E15E9A61CC}");
    EXPECT_EQ(identifierOf<ITrServices>(), u"{5F497C97-BA47-4639-BC2C-244CCE6C7F5C}");
}

TEST(InterfacePromise, OptionalInterfacesHaveTheirSlots)
{
    expectSlots(behindIDispatch, &ITranslatorInfo::GetInfo, &ITranslatorInfo::GetLastError);
    expectSlots(behindIDispatch, &ITranslatorInfoEx::GetInfoEx);
    expectSlots(behindIUnknown, &IFieldList::GetCount, &IFieldList::GetFieldByIndex, &IFieldList::GetFieldByName);
    expectSlots(behindIUnknown, &IField::GetName, &IField::SetName, &IField::GetFieldType, &IField::SetFieldType, &IField::GetDataType,
                &IField::SetDataType, &IField::GetMaxLength, &IField::SetMaxLength, &IField::GetFlags, &IField::SetFlags);
    expectSlots(behindIDispatch, &IRecordUpdater::GetUpdatedRecordId, &IRecordUpdater::SaveUpdatedRecordIds,
                &IRecordUpdater::InitializeWithProgress);
    expectSlots(behindIDispatch, &ICategories::InitializeCategories);
    expectSlots(behindIDispatch, &IDynamicFieldLoader::LoadDynamicFields);
    expectSlots(behindIDispatch, &IFieldValidator::ValidateFieldList);
    expectSlots(behindIDispatch, &IImageSupport::HasFieldValue, &IImageSupport::SetAllowImage, &IImageSupport::BeginReadImageData,
                &IImageSupport::EndReadImageData, &IImageSupport::GetImageDataSize, &IImageSupport::GetImageDataHash);
    expectSlots(behindIDispatch, &IPIMUserAccess::CanRead, &IPIMUserAccess::CanWrite);
    expectSlots(behindIDispatch, &IPIMSetUp::IsPIMAvailable, &IPIMSetUp::InitializeDefault);
    expectSlots(behindIDispatch, &IProductMatcher::MatchInstalledProduct);
    expectSlots(behindIDispatch, &IRecordVerifier::RecordVerified);
    expectSlots(behindIDispatch, &IDuplicateFinder::BeginFindDuplicate, &IDuplicateFinder::FindDuplicate,
                &IDuplicateFinder::EndFindDuplicate);
    expectSlots(behindIDispatch, &ITranslatorTest::InitializeDatabase, &ITranslatorTest::GetDatabase,
                &ITranslatorTest::InitializeDatabaseEx);
}

TEST(InterfacePromise, MapsAndTheirStoreHaveTheirSlots)
{
    expectSlots(behindIUnknown, &ITrManager::EnumerateTranslators, &ITrManager::EnumerateMaps, &ITrManager::DeleteMap,
                &ITrManager::EnumerateTranslatorsEx, &ITrManager::EnumerateMapsEx);
    expectSlots(behindIUnknown, &ITrMapEntry::Install, &ITrMapEntry::Load, &ITrMapEntry::UnInstall);
    using M = ITrMap;
    expectSlots(behindIUnknown, &M::Create, &M::GetName, &M::GetTranslators, &M::GetFieldMap, &M::SetFieldMap, &M::GetOption, &M::SetOption,
                &M::ConfigureTranslator, &M::GetCurrentDatabase, &M::SetDatabase, &M::GetLastSyncDatabase, &M::GetLastSyncTime,
                &M::LoadTranslator, &M::ConfigureTranslator2, &M::CreateEx, &M::GetLastSyncStatus, &M::GetShortLongNameDescription,
                &M::GetConfiguredTranslator, &M::SetLastSyncTime, &M::GetCategoryGuid, &M::SetCategoryGuid, &M::GetHistoryCategories,
                &M::GetNameAvailability, &M::SetLastSyncDatabases, &M::ConfigureFieldMapping, &M::SetFieldMapStatusForHistRecs,
                &M::GetNameImageSupport);
    using F = IFieldMap;
    expectSlots(behindIUnknown, &F::Create, &F::CreateDefaultMap, &F::GetTranslators, &F::AddMapEntry, &F::EnumerateEntries, &F::DeleteMap,
                &F::SetNextAvailableFieldType, &F::GetNextAvailableFieldType, &F::MapEntryExist, &F::SetFieldMapUpdated,
                &F::GetFieldMapUpdated, &F::EnumerateEntriesEx, &F::EnumerateEntriesExSafeArray, &F::EnumerateEntriesExValidate);
    using D = IDataStream;
    expectSlots(behindIUnknown, &D::SetParams, &D::GetString, &D::GetInt, &D::SetString, &D::SetInt, &D::DeleteKey, &D::Clear,
                &D::CleanUpUserCfg, &D::GetGuid, &D::SetGuid, &D::GetHistoryVersion);
}

TEST(InterfacePromise, TheFieldTypesHaveTheirNumbers)
{
    constexpr LONG inOrder[] = {ftNamePrefix, ftFirstName,      ftMiddleName,   ftLastName,       ftNameSuffix,
                                ftTitle,      ftCompany,        ftStreet1,      ftCity1,          ftState1,
                                ftZipCode1,   ftCountry1,       ftStreet2,      ftCity2,          ftState2,
                                ftZipCode2,   ftCountry2,       ftNotes,        ftCategories,     ftPhone,
                                ftFax,        ftHomePhone,      ftDirectPhone,  ftMobile,         ftMainPhone,
                                ftOtherFax,   ftPager,          ftOtherPhone,   ftEmail1,         ftEmail2,
                                ftEmail3,     ftEmail4,         ftEmail5,       ftEmail6,         ftEmail7,
                                ftWebPage,    ftCustom1,        ftCustom2,      ftCustom3,        ftImage1,
                                ftImage2,     ftRecordStatus,   ftBirthday,     ftRemindBirthDay, ftRemindDays,
                                ftIMAIM,      ftIMMSN,          ftIMYahoo,      ftIMICQ,          ftIM,
                                ftStreet3,    ftCity3,          ftState3,       ftZipCode3,       ftCountry3,
                                ftCustom4,    ftCustom5,        ftCustom6,      ftCustom7,        ftCustom8,
                                ftCustom9,    ftPrivateStatus,  ftHomeFax,      ftPhoneTelex,     ftPhoneSales,
                                ftReferredBy, ftSpouseName,     ftDepartment,   ftCustom10,       ftOffice,
                                ftProfession, ftManager,        ftAssistant,    ftNickName,       ftAccount,
                                ftGender,     ftHobby,          ftWebPage2,     ftDisplayName,    ftPhone3,
                                ftPhoneFax3,  ftPhoneAssistant, ftPhoneCompany, ftPhoneCar,       ftPhoneCallback,
                                ftPhoneTDD,   ftPhoneRadio,     ftPhoneISDN,    ftMiscPhone1,     ftMiscPhone2,
                                ftMiscPhone3, ftOther};
    LONG number = 1;
    for (const LONG type : inOrder) EXPECT_EQ(type, number++);
    EXPECT_EQ(number, 93);
    EXPECT_EQ(ftDetails, 1000);
    EXPECT_EQ(ftKind, 1001);
    EXPECT_EQ(ftImageSize1, 2000);
    EXPECT_EQ(ftImageSize2, 2001);
    EXPECT_EQ(ftImageHash1, 2002);
    EXPECT_EQ(ftImageHash2, 2003);
    EXPECT_EQ(ftDynamicStart, 3000);
}

TEST(InterfacePromise, TheOtherEnumerationsHaveTheirNumbers)
{
    const auto expectNumbers = [](std::initializer_list<std::pair<LONG, LONG>> numbers) {
        for (const auto& [given, promised] : numbers) EXPECT_EQ(given, promised);
    };
    expectNumbers({{capImport, 1},
                   {capExport, 2},
                   {capSynchronize, 4},
                   {capChangeProcessing, 8},
                   {capSyncSemantics, 16},
                   {capTimestamps, 32},
                   {capRecordGUIDs, 64},
                   {capTransactions, 128},
                   {capCustomFields, 256},
                   {capDIBImage, 512},
                   {capBMPFile, 1024},
                   {capJPEGFile, 2048},
                   {capForceManualSync, 4096}});
    expectNumbers({{dtInteger, 1}, {dtDouble, 2}, {dtString, 3}, {dtDateTime, 4}, {dtBinary, 5}, {dtImage, 6}});
    expectNumbers(
        {{ffModified, 1}, {ffCustomLabel, 2}, {ffOptional, 4}, {ffVersionDependent, 8}, {ffReplaceNewLine, 16}, {ffPhoneNumber, 32}});
    expectNumbers({{rsCurrent, 0}, {rsOutdated, 1}, {rsUnreachable, -6}, {rsNotPresent, -1}, {rsExcluded, 100}});
    expectNumbers({{soConfirmAdds, 1},
                   {soConfirmUpdates, 2},
                   {soConfirmDeletes, 3},
                   {soConflictResolution, 4},
                   {soDelConflictResolution, 5},
                   {soSyncType, 6},
                   {soSyncVerified, 7},
                   {soSyncImages, 8},
                   {soSyncImageOptionChanged, 9}});
    expectNumbers({{croAddAll, 1}, {croDeleteAll, 2}, {croNotify, 3}, {croTrans1Wins, 4}, {croTrans2Wins, 5}, {croMerge, 6}});
    expectNumbers({{stImportToTrans1, 1}, {stExportFromTrans1, 2}, {stSynchronize, 3}, {idTrans1, 1}, {idTrans2, 2}});
    expectNumbers({{spAnalysis, 1}, {spSync, 2}, {spUpdateFMStatus, 3}, {spAnalysisCategory, 4}, {spSyncCategory, 5}});
}
