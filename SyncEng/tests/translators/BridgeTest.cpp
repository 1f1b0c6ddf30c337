#include "BridgeFixture.h"
#include "files.h"
#include "foundation/SilentMode.h"
#include "translators/CTranslatorBridge.h"

#include <set>

namespace {

using namespace mbtest;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr HRESULT notOpened = static_cast<HRESULT>(0x80040201);

struct GuidOrder {
    bool operator()(const GUID& a, const GUID& b) const { return com::guidText(a) < com::guidText(b); }
};

com::Bstr one() { return com::Bstr(u"one"); }

TEST_F(BridgeTest, AClassThatRefusesITranslatorIsLoadedThroughABridge)
{
    for (const GUID& clsid : {oldNumbers, oldTexts, oldBare}) {
        com::Ptr<ITranslator> direct;
        EXPECT_EQ(com::createInstance(clsid, direct), E_NOINTERFACE) << "the class really has the older contract";
        const auto translator = load(clsid);
        ASSERT_TRUE(translator);
        EXPECT_TRUE(translator.tryAs<ITranslatorInfo>() && translator.tryAs<IFieldList>() && translator.tryAs<IField>() &&
                    translator.tryAs<ITranslatorTest>() && translator.tryAs<IRecordVerifier>());
    }
    EXPECT_THAT(logLines("loading module"), IsEmpty());
}

TEST_F(BridgeTest, ASecondLoadYieldsTheGuidsOfTheFirst)
{
    std::set<GUID, GuidOrder> all;
    for (const GUID& clsid : {oldNumbers, oldTexts}) {
        const auto first = fieldsOf(load(clsid));
        ASSERT_THAT(first, SizeIs(6));
        EXPECT_EQ(fieldsOf(load(clsid)), first);
        com::check(mb::CloseConfigStore());
        com::check(mb::OpenConfigStore(folder.data() / "MBSync.xml"));
        EXPECT_EQ(fieldsOf(load(clsid)), first) << "the GUIDs are in the file";
        all.insert(first.begin(), first.end());
    }
    EXPECT_THAT(all, SizeIs(12)) << "all GUIDs differ";
}

TEST_F(BridgeTest, TheTableOfFieldsIsInTheSectionOfTheClass)
{
    const auto numbers = fieldsOf(load(oldNumbers)), texts = fieldsOf(load(oldTexts));
    EXPECT_EQ(stored(u"Trans1Cfg", oldNumbers, u"FieldIDType"), u"3");
    EXPECT_EQ(stored(u"Trans1Cfg", oldNumbers, u"FieldIDCount"), u"6");
    EXPECT_EQ(stored(u"Trans1Cfg", oldNumbers, u"FieldID0"), com::guidText(numbers[0]) + u"101");
    EXPECT_EQ(stored(u"Trans1Cfg", oldNumbers, u"FieldID6"), u"<none>");
    EXPECT_EQ(stored(u"Trans1Cfg", oldTexts, u"FieldIDType"), u"8");
    EXPECT_EQ(stored(u"Trans1Cfg", oldTexts, u"FieldID0"), com::guidText(texts[0]) + u"given");
    EXPECT_EQ(stored(u"Trans1Cfg", oldTexts, u"FieldID3"), com::guidText(texts[3]) + u"mail}2");
}

TEST_F(BridgeTest, AMissingFieldKeyIsSkippedAndTheOthersKeepTheirGuids)
{
    for (const GUID& clsid : {oldNumbers, oldTexts}) {
        const auto before = fieldsOf(load(clsid));
        com::check(mb::ConfigStore().RemoveKey(u"Trans1Cfg", com::guidText(clsid), u"FieldID2"));
        const auto translator = load(clsid);
        const auto list = translator.as<IFieldList>();
        LONG count = 0;
        EXPECT_EQ(list->GetCount(&count), S_OK);
        EXPECT_EQ(count, 5);
        for (LONG i = 0; i < 6; ++i) {
            GUID field = before[0];
            EXPECT_EQ(list->GetFieldByIndex(i, &field), i == 2 ? REGDB_E_CLASSNOTREG : S_OK);
            EXPECT_EQ(field, i == 2 ? GUID_NULL : before[static_cast<std::size_t>(i)]);
        }
    }
}

TEST_F(BridgeTest, ABrokenFieldKeyIsSkippedAndTheOthersKeepTheirGuids)
{
    const auto before = fieldsOf(load(oldTexts));
    for (const char16_t* broken : {u"", u"given", u"}", u"{nonsense}given", u"{01D00001-1111-4111-8111-01D000000001", u"Old.Texts}x"}) {
        store(oldTexts, u"FieldID0", broken);
        LONG count = 0;
        const auto translator = load(oldTexts);
        EXPECT_EQ(translator.as<IFieldList>()->GetCount(&count), S_OK);
        EXPECT_EQ(count, 5) << com::Bstr(broken).text().size();
        GUID field{};
        EXPECT_EQ(translator.as<IFieldList>()->GetFieldByIndex(1, &field), S_OK);
        EXPECT_EQ(field, before[1]);
    }
}

TEST_F(BridgeTest, ADamagedCountNeitherHangsNorCrashes)
{
    const auto before = fieldsOf(load(oldNumbers));
    store(oldNumbers, u"FieldIDCount", u"2147483647");
    EXPECT_EQ(fieldsOf(load(oldNumbers)), before);
    store(oldNumbers, u"FieldIDCount", u"-5");
    EXPECT_THAT(fieldsOf(load(oldNumbers)), IsEmpty());
    store(oldNumbers, u"FieldIDCount", u"no number");
    EXPECT_THAT(fieldsOf(load(oldNumbers)), SizeIs(6)) << "a count of zero counts as missing, so the table is made again";
}

TEST_F(BridgeTest, ValuesAreReadAndWrittenByTheOldIds)
{
    for (const GUID& clsid : {oldNumbers, oldTexts}) {
        const auto translator = open(clsid, "id\tone\ncreated\tdate:5\nmodified\tdate:7.5\n101\tAnn\n104\tann@example.org\n\n");
        const auto fields = fieldsOf(translator);
        com::Variant value;
        EXPECT_EQ(translator->ReadField(one().get(), fields[3], value.put()), S_OK);
        EXPECT_EQ(value.text(), u"ann@example.org");
        EXPECT_EQ(translator->BeginEditRecord(one().get()), S_OK);
        EXPECT_EQ(translator->WriteField(one().get(), fields[0], com::Variant(u"Anna")), S_OK);
        com::Bstr id = one();
        EXPECT_EQ(translator->SaveRecord(id.inOut()), S_OK);
        EXPECT_EQ(translator->ReadField(one().get(), fields[0], value.put()), S_OK);
        EXPECT_EQ(value.text(), u"Anna");

        com::Bstr added;
        EXPECT_EQ(translator->BeginUpdate(), E_NOTIMPL);
        EXPECT_EQ(translator->BeginAddRecord(added.put()), S_OK);
        EXPECT_EQ(translator->SaveRecord(added.inOut()), S_OK);
        LONG count = 0;
        EXPECT_EQ(translator->GetRecordCount(&count), S_OK);
        EXPECT_EQ(count, 2);
        com::Bstr listed;
        EXPECT_EQ(translator->GetRecordID(1, listed.put()), S_OK);
        EXPECT_EQ(listed.view(), added.view());
        EXPECT_EQ(translator->DeleteRecord(one().get()), S_OK);
        EXPECT_TRUE(FAILED(translator->FindRecord(one().get())));
        EXPECT_EQ(translator->Cleanup(), S_OK);
    }
}

TEST_F(BridgeTest, PropertiesOfAFieldComeFromTheOldFieldObject)
{
    for (const GUID& clsid : {oldNumbers, oldTexts}) {
        const auto translator = load(clsid); // not initialised
        const auto phone = fieldsOf(translator)[4];
        const auto field = translator.as<IField>();
        com::Bstr name;
        LONG type = 0, dataType = 0;
        ULONG flags = 0, length = 9;
        EXPECT_EQ(field->GetName(phone, name.put()), S_OK);
        EXPECT_EQ(name.view(), u"Phone");
        EXPECT_EQ(field->GetFieldType(phone, &type), S_OK);
        EXPECT_EQ(type, ftPhone);
        EXPECT_EQ(field->GetDataType(phone, &dataType), S_OK);
        EXPECT_EQ(dataType, dtString);
        EXPECT_EQ(field->GetFlags(phone, &flags), S_OK);
        EXPECT_EQ(flags, static_cast<ULONG>(ffPhoneNumber));
        EXPECT_EQ(field->GetMaxLength(phone, &length), S_OK);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(field->SetName(phone, name.get()), E_NOTIMPL) << "the old object's result";
        for (const HRESULT hr :
             {field->SetFieldType(phone, 1), field->SetDataType(phone, 1), field->SetMaxLength(phone, 1), field->SetFlags(phone, 1)})
            EXPECT_EQ(hr, E_NOTIMPL);
    }
}

TEST_F(BridgeTest, AnUnknownGuidFailsInEveryCallThatNamesAField)
{
    const auto translator = open(oldNumbers, "id\tone\ncreated\tnull\nmodified\tnull\n\n");
    com::Variant value(u"before");
    EXPECT_EQ(translator->ReadField(one().get(), unknownClass, value.put()), E_FAIL);
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_EQ(translator->WriteField(one().get(), unknownClass, com::Variant(u"x")), E_FAIL);
    const auto field = translator.as<IField>();
    com::Bstr name;
    LONG number = 0;
    ULONG count = 0;
    EXPECT_EQ(field->GetName(unknownClass, name.put()), E_FAIL);
    EXPECT_EQ(field->SetName(unknownClass, name.get()), E_FAIL);
    EXPECT_EQ(field->GetFieldType(unknownClass, &number), E_FAIL);
    EXPECT_EQ(field->SetFieldType(unknownClass, 1), E_FAIL);
    EXPECT_EQ(field->GetDataType(unknownClass, &number), E_FAIL);
    EXPECT_EQ(field->SetDataType(unknownClass, 1), E_FAIL);
    EXPECT_EQ(field->GetMaxLength(unknownClass, &count), E_FAIL);
    EXPECT_EQ(field->SetMaxLength(unknownClass, 1), E_FAIL);
    EXPECT_EQ(field->GetFlags(unknownClass, &count), E_FAIL);
    EXPECT_EQ(field->SetFlags(unknownClass, 1), E_FAIL);
}

TEST_F(BridgeTest, FieldsAreNotFoundByName)
{
    GUID field = unknownClass;
    EXPECT_EQ(load(oldTexts).as<IFieldList>()->GetFieldByName(com::Bstr(u"Phone").get(), &field), E_NOTIMPL);
    EXPECT_EQ(field, GUID_NULL);
    EXPECT_EQ(load(oldTexts).as<IFieldList>()->GetFieldByIndex(99, &field), E_INVALIDARG) << "the old list's result";
}

TEST_F(BridgeTest, ATextDateIsParsed)
{
    DATE date = -1.0;
    EXPECT_EQ(createDate("text:2001-02-03", date), S_OK);
    EXPECT_EQ(date, 36925.0);
    EXPECT_EQ(createDate("text:2/3/2001 12:00", date), S_OK);
    EXPECT_EQ(date, 36925.5);
    EXPECT_EQ(createDate("date:36925.25", date), S_OK);
    EXPECT_EQ(date, 36925.25);
}

TEST_F(BridgeTest, TheModifiedDateIsReadInTheSameWay)
{
    const auto translator = open(oldTexts, "id\tone\ncreated\tnull\nmodified\ttext:2001-02-03\n\n");
    DATE date = -1.0;
    EXPECT_EQ(translator->GetModifiedDate(one().get(), &date), S_OK);
    EXPECT_EQ(date, 36925.0);
}

TEST_F(BridgeTest, ATextThatIsNotADateFailsAndTheDateIsZero)
{
    for (const char* text : {"text:yesterday", "text:2001-02-30", "text:99999999999-1-1", "text:2001-02-03 25:00", "text: ", "text:%s%n",
                             "text:2001-02-03junk"}) {
        DATE date = -1.0;
        EXPECT_TRUE(FAILED(createDate(text, date))) << text;
        EXPECT_EQ(date, 0.0) << text;
    }
}

TEST_F(BridgeTest, AnEmptyTextMeansNoDateButANullTextAndOtherTypesFail)
{
    DATE date = -1.0;
    EXPECT_EQ(createDate("text:", date), S_OK);
    EXPECT_EQ(date, 0.0);
    date = -1.0;
    EXPECT_EQ(createDate("null", date), E_FAIL);
    EXPECT_EQ(date, 0.0);
    date = -1.0;
    EXPECT_EQ(createDate("number", date), E_FAIL);
    EXPECT_EQ(date, 0.0);
}

TEST_F(BridgeTest, InitializePassesTheSilentModeThatWasSetAtTheLoad)
{
    com::Ptr<ITrServices> services;
    ASSERT_EQ(mb::createClass(__uuidof(TrServices), services), S_OK);
    const auto settings = services.as<IDataStream>();
    ASSERT_EQ(settings->SetParams(com::Bstr(u"Trans2Cfg").get(), mapA), S_OK);
    const com::Bstr key(u"Database"), file(platform::textOf(folder.path() / "old.txt"));
    ASSERT_EQ(settings->SetString(key.get(), file.get()), S_OK);
    for (const VARIANT_BOOL silent : {VARIANT_TRUE, VARIANT_FALSE}) {
        mb::SilentMode = silent;
        const auto translator = load(oldNumbers);
        mb::SilentMode = silent == VARIANT_TRUE ? VARIANT_FALSE : VARIANT_TRUE;
        EXPECT_EQ(translator->Initialize(services.get(), nullptr, VARIANT_FALSE), S_OK);
        EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"Silent"), silent == VARIANT_TRUE ? u"-1" : u"0");
        EXPECT_EQ(translator->Cleanup(), S_OK);
    }
    mb::SilentMode = VARIANT_FALSE;
}

TEST_F(BridgeTest, TheErrorAndTheNamesAreThoseOfTheOldTranslator)
{
    const auto translator = load(oldNumbers);
    const com::Bstr file(platform::textOf(folder.path() / "no folder" / "old.txt"));
    EXPECT_TRUE(FAILED(translator.as<ITranslatorTest>()->InitializeDatabaseEx(nullptr, file.get(), nullptr, nullptr)));
    com::Variant code;
    com::Bstr message1, message2, shortName, longName, label, database;
    EXPECT_EQ(translator.as<ITranslatorInfo>()->GetLastError(code.put(), message1.put(), message2.put()), S_OK);
    EXPECT_EQ(code.lVal, 5);
    EXPECT_NE(message1.view().find(file.view()), std::u16string_view::npos);
    EXPECT_EQ(translator.as<ITranslatorTest>()->GetDatabase(database.put()), S_OK);
    EXPECT_EQ(database.view(), file.view());
    EXPECT_EQ(translator.as<ITranslatorInfo>()->GetInfo(shortName.put(), longName.put(), label.put()), S_OK);
    EXPECT_EQ(shortName.view(), u"OldNumbers");
    com::Bstr name;
    EXPECT_EQ(maps()->GetName(oldTexts, VARIANT_FALSE, name.put()), S_OK);
    EXPECT_EQ(name.view(), u"OldTexts");
}

TEST_F(BridgeTest, ARecordOfAnOldTranslatorCountsAsVerified)
{
    VARIANT_BOOL verified = VARIANT_FALSE;
    EXPECT_EQ(load(oldNumbers).as<IRecordVerifier>()->RecordVerified(one().get(), &verified), S_OK);
    EXPECT_EQ(verified, VARIANT_TRUE);
}

// oldBare offers only IOldTranslator.
TEST_F(BridgeTest, WithoutTheOldFieldInterfacesThereAreNoFieldsAndNothingIsStored)
{
    const auto translator = load(oldBare);
    LONG count = 7, type = 0;
    GUID field{};
    com::Bstr text, text2, text3;
    EXPECT_EQ(translator.as<IFieldList>()->GetCount(&count), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(translator.as<IFieldList>()->GetFieldByIndex(0, &field), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(translator.as<IField>()->GetFieldType(unknownClass, &type), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(translator.as<ITranslatorInfo>()->GetInfo(text.put(), text2.put(), text3.put()), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(translator.as<ITranslatorTest>()->InitializeDatabase(nullptr, nullptr, nullptr), notOpened);
    EXPECT_EQ(translator.as<ITranslatorTest>()->InitializeDatabaseEx(nullptr, nullptr, nullptr, nullptr), notOpened);
    EXPECT_EQ(translator.as<ITranslatorTest>()->GetDatabase(text.put()), E_FAIL);
    EXPECT_EQ(stored(u"Trans1Cfg", oldBare, u"FieldIDCount"), u"<none>");
}

TEST_F(BridgeTest, WithoutAnOldTranslatorEveryCallReturnsClassNotRegistered)
{
    com::Ptr<ITranslator> bridge;
    ASSERT_EQ(com::create<mb::CTranslatorBridge>(nullptr, __uuidof(ITranslator), bridge.putVoid()), S_OK);
    com::Bstr id, other;
    LONG number = 0;
    ULONG caps = 0;
    DATE date = 1.0;
    com::Variant value;
    for (const HRESULT hr : {bridge->Initialize(nullptr, nullptr, VARIANT_FALSE),
                             bridge->GetSyncParams(nullptr, id.put(), other.put()),
                             bridge->GetTranslatorCaps(&caps),
                             bridge->SetDatabase(nullptr, nullptr),
                             bridge->Cleanup(),
                             bridge->GetRecordCount(&number),
                             bridge->GetRecordID(0, id.put()),
                             bridge->GetCreateDate(nullptr, &date),
                             bridge->GetModifiedDate(nullptr, &date),
                             bridge->FindRecord(nullptr),
                             bridge->BeginReadRecord(nullptr),
                             bridge->EndReadRecord(nullptr),
                             bridge->BeginUpdate(),
                             bridge->BeginAddRecord(id.put()),
                             bridge->BeginEditRecord(nullptr),
                             bridge->ReadField(nullptr, unknownClass, value.put()),
                             bridge->WriteField(nullptr, unknownClass, value),
                             bridge->SaveRecord(id.put()),
                             bridge->DeleteRecord(nullptr),
                             bridge->EndUpdate(VARIANT_FALSE)})
        EXPECT_EQ(hr, REGDB_E_CLASSNOTREG);
    EXPECT_EQ(date, 0.0);
    VARIANT_BOOL verified = VARIANT_FALSE;
    EXPECT_EQ(bridge.as<IRecordVerifier>()->RecordVerified(nullptr, &verified), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(com::make<mb::CTranslatorBridge>()->start(oldNumbers, nullptr), REGDB_E_CLASSNOTREG) << "without a services object";
}

TEST_F(BridgeTest, MissingOutParametersAreRefused)
{
    const auto translator = open(oldNumbers);
    com::Bstr id;
    for (const HRESULT hr : {translator->GetSyncParams(nullptr, nullptr, id.put()),
                             translator->GetTranslatorCaps(nullptr),
                             translator->GetRecordCount(nullptr),
                             translator->GetRecordID(0, nullptr),
                             translator->GetCreateDate(nullptr, nullptr),
                             translator->GetModifiedDate(nullptr, nullptr),
                             translator->BeginAddRecord(nullptr),
                             translator->ReadField(nullptr, unknownClass, nullptr),
                             translator->SaveRecord(nullptr),
                             translator.as<ITranslatorInfo>()->GetInfo(nullptr, id.put(), id.put()),
                             translator.as<ITranslatorInfo>()->GetLastError(nullptr, id.put(), id.put()),
                             translator.as<IFieldList>()->GetCount(nullptr),
                             translator.as<IFieldList>()->GetFieldByIndex(0, nullptr),
                             translator.as<IFieldList>()->GetFieldByName(nullptr, nullptr),
                             translator.as<IField>()->GetName(unknownClass, nullptr),
                             translator.as<IField>()->GetFieldType(unknownClass, nullptr),
                             translator.as<IField>()->GetDataType(unknownClass, nullptr),
                             translator.as<IField>()->GetMaxLength(unknownClass, nullptr),
                             translator.as<IField>()->GetFlags(unknownClass, nullptr),
                             translator.as<ITranslatorTest>()->GetDatabase(nullptr),
                             translator.as<IRecordVerifier>()->RecordVerified(nullptr, nullptr)})
        EXPECT_EQ(hr, E_POINTER);
}

TEST_F(BridgeTest, AMapOfTwoOldTranslatorsPairsTheFieldsOfEqualType)
{
    GUID map{}, fieldMap{};
    ASSERT_EQ(maps()->Create(oldNumbers, oldTexts, &map), S_OK);
    ASSERT_EQ(maps()->GetFieldMap(map, &fieldMap), S_OK);
    com::TaskArray<GUID> first, second;
    LONG count = 0;
    ASSERT_EQ(fieldMaps()->EnumerateEntriesEx(fieldMap, load(oldNumbers).get(), load(oldTexts).get(), &count, first.put(), second.put()),
              S_OK);
    EXPECT_EQ(count, 6);
    EXPECT_EQ(first.data()[0], fieldsOf(load(oldNumbers))[0]);
    EXPECT_EQ(second.data()[0], fieldsOf(load(oldTexts))[0]);
}

} // namespace
