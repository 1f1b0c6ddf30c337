// The plug-in as the engine loads it: by library and class object, used only through its interfaces.
#include "PluginTest.h"
#include "registry.h"
#include "Support.h"
#include "text.h"

#include <cmath>
#include <ctime>
#include <fstream>
#include <set>

namespace mb::cardfile {
namespace {

using com::Bstr;
using com::Ptr;
using com::Variant;

constexpr GUID cardFileClass{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};
constexpr GUID otherField{0x11111111, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1}};
constexpr HRESULT failure(std::uint32_t code) { return static_cast<HRESULT>(code); }

class CardFileTranslatorTest : public mbtest::PluginTest {
protected:
    CardFileTranslatorTest() : PluginTest(CARDFILE_PLUGIN, cardFileClass)
    {
        services->values[u"Database"] = file.u16string();
        CardFile::make(file.string());
    }
    void TearDown() override
    {
        PluginTest::TearDown();
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code error;
            EXPECT_FALSE(fs::read_symlink(entry, error).string().starts_with(folder.path().string())) << "a file was left open";
        }
    }
    void reopen()
    {
        EXPECT_EQ(translator->Cleanup(), S_OK);
        translator = plugin.create();
        ASSERT_EQ(initialize(), S_OK) << lastError();
    }
    DATE modified(const Bstr& id)
    {
        DATE date = 0;
        EXPECT_EQ(translator->GetModifiedDate(id.get(), &date), S_OK) << lastError();
        return date;
    }

    fs::path file = folder.path() / "data" / "100% cards";
};

TEST_F(CardFileTranslatorTest, FieldsAreKnownWithoutAnOpenStore)
{
    fs::remove(file);
    const auto list = translator.as<IFieldList>();
    const auto properties = translator.as<IField>();
    const std::set<LONG> phones{ftPhone,    ftFax,        ftHomePhone,      ftDirectPhone,  ftMobile,     ftMainPhone,
                                ftOtherFax, ftPager,      ftOtherPhone,     ftHomeFax,      ftPhoneTelex, ftPhoneSales,
                                ftPhone3,   ftPhoneFax3,  ftPhoneAssistant, ftPhoneCompany, ftPhoneCar,   ftPhoneCallback,
                                ftPhoneTDD, ftPhoneRadio, ftPhoneISDN,      ftMiscPhone1,   ftMiscPhone2, ftMiscPhone3};
    LONG n = 0;
    ASSERT_EQ(list->GetCount(&n), S_OK);
    std::set<LONG> types;
    for (LONG i = 0; i < n; ++i) {
        GUID guid{}, byName{};
        Bstr name;
        LONG type = 0, dataType = 0;
        ULONG length = 1, flags = 1;
        ASSERT_EQ(list->GetFieldByIndex(i, &guid), S_OK);
        ASSERT_EQ(properties->GetName(guid, name.put()), S_OK);
        ASSERT_EQ(list->GetFieldByName(name.get(), &byName), S_OK);
        EXPECT_EQ(guid, byName) << platform::utf8(name.view());
        ASSERT_EQ(properties->GetFieldType(guid, &type), S_OK);
        types.insert(type);
        EXPECT_EQ(properties->GetDataType(guid, &dataType), S_OK);
        const bool isImage = type == ftImage1 || type == ftImage2;
        EXPECT_EQ(dataType, type == ftBirthday ? dtDateTime : isImage ? dtImage : dtString) << type;
        EXPECT_EQ(properties->GetMaxLength(guid, &length), S_OK);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(properties->GetFlags(guid, &flags), S_OK);
        EXPECT_EQ(flags, phones.contains(type) ? ULONG{ffPhoneNumber} : 0u) << type;
    }
    std::set<LONG> expected{ftDetails, ftKind};
    for (LONG type = ftNamePrefix; type <= ftOther; ++type)
        if (type != ftRecordStatus) expected.insert(type);
    EXPECT_EQ(types, expected);
    EXPECT_FALSE(fs::exists(file)) << "listing fields opens nothing";
}

TEST_F(CardFileTranslatorTest, UnknownFieldsAndIndexesAreRefused)
{
    const auto list = translator.as<IFieldList>();
    const auto properties = translator.as<IField>();
    GUID guid = otherField;
    LONG n = 0, type = 0;
    ULONG flags = 0;
    Bstr name;
    ASSERT_EQ(list->GetCount(&n), S_OK);
    for (const LONG index : {LONG{-1}, n, LONG{INT32_MAX}, LONG{INT32_MIN}}) EXPECT_EQ(list->GetFieldByIndex(index, &guid), E_INVALIDARG);
    EXPECT_EQ(list->GetFieldByName(nullptr, &guid), E_FAIL);
    EXPECT_EQ(list->GetFieldByName(Bstr(u"no such field").get(), &guid), E_FAIL);
    EXPECT_EQ(properties->GetName(otherField, name.put()), E_INVALIDARG);
    EXPECT_EQ(properties->GetFieldType(otherField, &type), E_INVALIDARG);
    EXPECT_EQ(properties->GetDataType(otherField, &type), E_INVALIDARG);
    EXPECT_EQ(properties->GetMaxLength(otherField, &flags), E_INVALIDARG);
    EXPECT_EQ(properties->GetFlags(otherField, &flags), E_INVALIDARG);
    GUID status = field(ftCustom3);
    status.Data2 = ftRecordStatus;
    EXPECT_EQ(properties->GetFieldType(status, &type), E_INVALIDARG) << "a card has no status";
}

TEST_F(CardFileTranslatorTest, NamesAndCapabilities)
{
    Bstr shortName, longName, type;
    ULONG caps = 0;
    VARIANT_BOOL available = VARIANT_FALSE;
    EXPECT_EQ(translator.as<ITranslatorInfo>()->GetInfo(shortName.put(), longName.put(), type.put()), S_OK);
    EXPECT_EQ(shortName.view(), u"Mirabook");
    EXPECT_EQ(longName.view(), u"Mirabook 6.0.4 or later");
    EXPECT_FALSE(type.empty());
    EXPECT_EQ(translator->GetTranslatorCaps(&caps), S_OK);
    EXPECT_EQ(caps & (capSynchronize | capTimestamps | capRecordGUIDs), ULONG{capSynchronize | capTimestamps | capRecordGUIDs});
    EXPECT_EQ(translator.as<IPIMSetUp>()->IsPIMAvailable(&available), S_OK);
    EXPECT_EQ(available, VARIANT_TRUE);
}

TEST_F(CardFileTranslatorTest, EveryFieldIsReadBackAsWritten)
{
    ASSERT_EQ(initialize(), S_OK) << lastError();
    std::map<LONG, std::u16string> values;
    for (LONG type = ftNamePrefix; type <= ftOther; ++type)
        if (type != ftImage1 && type != ftImage2 && type != ftRecordStatus)
            values[type] = u"Wért \U0001F600 中文 " + platform::utf16(std::to_string(type));
    values[ftBirthday] = u"1815-12-10";
    values[ftNotes] = u"one\r\ntwo\r\n" + std::u16string(200'000, u'ß');
    const Bstr id = add(values);
    reopen();
    ASSERT_EQ(translator->BeginReadRecord(id.get()), S_OK);
    for (const auto& [type, text] : values) {
        Variant value;
        ASSERT_EQ(translator->ReadField(id.get(), field(type), value.put()), S_OK);
        EXPECT_EQ(value.text(), text) << type;
    }
    EXPECT_EQ(translator->EndReadRecord(id.get()), S_OK);
}

TEST_F(CardFileTranslatorTest, ValuesOfOtherTypesAreConverted)
{
    ASSERT_EQ(initialize(), S_OK);
    const Bstr id = add({{ftTitle, u"x"}, {ftNotes, u"y"}});
    ASSERT_EQ(translator->BeginEditRecord(id.get()), S_OK);
    Variant date, nullText;
    date.vt = VT_DATE;
    date.date = 29301.5; // 1980-03-21, noon
    nullText.vt = VT_BSTR;
    nullText.bstrVal = nullptr;
    EXPECT_EQ(translator->WriteField(id.get(), field(ftBirthday), date), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), field(ftRemindDays), Variant(LONG{14})), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), field(ftTitle), Variant()), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), field(ftNotes), nullText), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), otherField, Variant()), failure(0x8004020C));
    Bstr saved = id;
    ASSERT_EQ(translator->SaveRecord(saved.inOut()), S_OK);
    EXPECT_EQ(saved.view(), id.view());
    EXPECT_EQ(read(id, ftBirthday), u"1980-03-21");
    EXPECT_EQ(read(id, ftRemindDays), u"14");
    EXPECT_EQ(read(id, ftTitle), u"");
    EXPECT_EQ(read(id, ftNotes), u"");
}

TEST_F(CardFileTranslatorTest, TheCallsOfARunAddEditAndDelete)
{
    ASSERT_EQ(initialize(), S_OK);
    const Bstr old = add({{ftLastName, u"Hopper"}}), gone = add({{ftLastName, u"Gone"}});
    reopen();
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(translator->FindRecord(old.get()), S_OK);
    const DATE before = modified(old);

    ASSERT_EQ(translator->BeginUpdate(), S_OK);
    Bstr id;
    ASSERT_EQ(translator->BeginAddRecord(id.put()), S_OK);
    EXPECT_EQ(write(id, ftLastName, u"Lovelace"), S_OK);
    ASSERT_EQ(translator->SaveRecord(id.inOut()), S_OK);
    EXPECT_EQ(read(id, ftLastName), u"Lovelace");
    Bstr edited = old;
    ASSERT_EQ(translator->BeginEditRecord(edited.get()), S_OK);
    EXPECT_EQ(write(edited, ftFirstName, u"Grace"), S_OK);
    ASSERT_EQ(translator->SaveRecord(edited.inOut()), S_OK);
    EXPECT_EQ(edited.view(), old.view());
    EXPECT_EQ(read(old, ftFirstName), u"Grace");
    EXPECT_EQ(translator->DeleteRecord(gone.get()), S_OK);
    const DATE after = modified(old);
    EXPECT_GT(after, before);
    ASSERT_EQ(translator->EndUpdate(VARIANT_FALSE), S_OK);

    reopen();
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(modified(old), after) << "the date is the same in the next run, to the last bit";
    EXPECT_EQ(read(old, ftLastName), u"Hopper");
    EXPECT_EQ(translator->FindRecord(gone.get()), failure(0x80040207));
    DATE created = 0;
    EXPECT_EQ(translator->GetCreateDate(id.get(), &created), S_OK);
    EXPECT_EQ(created, modified(id));
    const double today = 25'569.0 + static_cast<double>(std::time(nullptr)) / 86'400.0;
    EXPECT_LT(std::abs(created - today), 0.01);
}

TEST_F(CardFileTranslatorTest, QuickChangesHaveDifferentDates)
{
    ASSERT_EQ(initialize(), S_OK);
    const Bstr id = add({{ftLastName, u"0"}});
    ASSERT_EQ(translator->BeginUpdate(), S_OK);
    DATE before = modified(id);
    for (int i = 1; i < 50; ++i) {
        Bstr edited = id;
        ASSERT_EQ(translator->BeginEditRecord(id.get()), S_OK);
        ASSERT_EQ(write(id, ftLastName, platform::utf16(std::to_string(i))), S_OK);
        ASSERT_EQ(translator->SaveRecord(edited.inOut()), S_OK);
        EXPECT_GT(modified(id), before);
        before = modified(id);
    }
    ASSERT_EQ(translator->EndUpdate(VARIANT_FALSE), S_OK);
}

TEST_F(CardFileTranslatorTest, AnAbortedUpdateLeavesNothing)
{
    ASSERT_EQ(initialize(), S_OK);
    const Bstr kept = add({{ftLastName, u"Hopper"}});
    ASSERT_EQ(translator->BeginUpdate(), S_OK);
    const Bstr id = add({{ftLastName, u"Lovelace"}});
    EXPECT_EQ(translator->DeleteRecord(kept.get()), S_OK);
    ASSERT_EQ(translator->EndUpdate(VARIANT_TRUE), S_OK);
    EXPECT_EQ(count(), 1);
    EXPECT_NE(translator->FindRecord(id.get()), S_OK);
    reopen();
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(read(kept, ftLastName), u"Hopper");
}

TEST_F(CardFileTranslatorTest, AnUpdateThatTheEngineLeavesOpenKeepsWhatWasSaved)
{
    ASSERT_EQ(initialize(), S_OK);
    ASSERT_EQ(translator->BeginUpdate(), S_OK);
    const Bstr id = add({{ftLastName, u"Lovelace"}});
    Bstr unsaved;
    ASSERT_EQ(translator->BeginAddRecord(unsaved.put()), S_OK);
    EXPECT_EQ(write(unsaved, ftLastName, u"unsaved"), S_OK);
    reopen();
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(read(id, ftLastName), u"Lovelace");
}

TEST_F(CardFileTranslatorTest, IdentifiersAreFoundInLowerCase)
{
    ASSERT_EQ(initialize(), S_OK);
    const Bstr id = add({{ftLastName, u"Lovelace"}}), lower(platform::lowered(id.view()));
    ASSERT_NE(lower.view(), id.view());
    EXPECT_EQ(translator->FindRecord(lower.get()), S_OK);
    EXPECT_EQ(read(lower, ftLastName), u"Lovelace");
    EXPECT_EQ(modified(lower), modified(id));
}

TEST_F(CardFileTranslatorTest, UnknownRecordsAreRefusedByEveryMethod)
{
    ASSERT_EQ(initialize(), S_OK);
    add({{ftLastName, u"Lovelace"}});
    for (const std::u16string& text : {std::u16string(), std::u16string(u"{00000000-0000-0000-0000-000000000000}"),
                                       std::u16string(u"a\0b", 3), std::u16string(50'000, u'x'), std::u16string{0xD800}}) {
        Bstr id(text);
        Variant value;
        DATE date = 1;
        VARIANT_BOOL verified = VARIANT_TRUE;
        EXPECT_EQ(translator->FindRecord(id.get()), failure(0x80040207));
        EXPECT_EQ(translator->GetModifiedDate(id.get(), &date), failure(0x80040207));
        EXPECT_EQ(translator->GetCreateDate(id.get(), &date), failure(0x80040207));
        EXPECT_EQ(date, 0.0);
        EXPECT_EQ(translator->BeginReadRecord(id.get()), failure(0x80040208));
        EXPECT_EQ(translator->BeginEditRecord(id.get()), failure(0x8004020B));
        EXPECT_EQ(translator->ReadField(id.get(), field(ftTitle), value.put()), failure(0x80040209));
        EXPECT_EQ(write(id, ftTitle, u"x"), failure(0x8004020C));
        EXPECT_EQ(translator->SaveRecord(id.inOut()), failure(0x8004020D));
        EXPECT_EQ(translator->DeleteRecord(id.get()), failure(0x8004020E));
        EXPECT_FALSE(lastError().empty());
        EXPECT_TRUE(FAILED(translator.as<IRecordVerifier>()->RecordVerified(id.get(), &verified)));
        EXPECT_EQ(verified, VARIANT_FALSE);
    }
    Bstr id;
    EXPECT_EQ(translator->GetRecordID(-1, id.put()), failure(0x80040207));
    EXPECT_EQ(translator->GetRecordID(1, id.put()), failure(0x80040207));
    EXPECT_EQ(translator->SaveRecord(id.inOut()), failure(0x8004020D)) << "a null identifier is the empty text";
}

TEST_F(CardFileTranslatorTest, NullOutPointersAreRefused)
{
    ASSERT_EQ(initialize(), S_OK);
    const Bstr id = add({{ftLastName, u"Lovelace"}});
    Bstr text;
    Variant value;
    EXPECT_EQ(translator->Initialize(nullptr, nullptr, VARIANT_FALSE), E_POINTER);
    EXPECT_EQ(translator->GetSyncParams(nullptr, text.put(), text.put()), E_POINTER);
    EXPECT_EQ(translator->GetSyncParams(services.get(), nullptr, text.put()), E_POINTER);
    EXPECT_EQ(translator->GetSyncParams(services.get(), text.put(), nullptr), E_POINTER);
    EXPECT_EQ(translator->SetDatabase(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(translator->GetTranslatorCaps(nullptr), E_POINTER);
    EXPECT_EQ(translator->GetRecordCount(nullptr), E_POINTER);
    EXPECT_EQ(translator->GetRecordID(0, nullptr), E_POINTER);
    EXPECT_EQ(translator->GetCreateDate(id.get(), nullptr), E_POINTER);
    EXPECT_EQ(translator->GetModifiedDate(id.get(), nullptr), E_POINTER);
    EXPECT_EQ(translator->BeginAddRecord(nullptr), E_POINTER);
    EXPECT_EQ(translator->ReadField(id.get(), field(ftTitle), nullptr), E_POINTER);
    EXPECT_EQ(translator->SaveRecord(nullptr), E_POINTER);
    const auto info = translator.as<ITranslatorInfo>();
    EXPECT_EQ(info->GetInfo(nullptr, text.put(), text.put()), E_POINTER);
    EXPECT_EQ(info->GetLastError(nullptr, text.put(), text.put()), E_POINTER);
    EXPECT_EQ(info->GetLastError(value.put(), nullptr, text.put()), E_POINTER);
    const auto list = translator.as<IFieldList>();
    EXPECT_EQ(list->GetCount(nullptr), E_POINTER);
    EXPECT_EQ(list->GetFieldByIndex(0, nullptr), E_POINTER);
    EXPECT_EQ(list->GetFieldByName(nullptr, nullptr), E_POINTER);
    const auto properties = translator.as<IField>();
    EXPECT_EQ(properties->GetName(field(ftTitle), nullptr), E_POINTER);
    EXPECT_EQ(properties->GetFieldType(field(ftTitle), nullptr), E_POINTER);
    EXPECT_EQ(properties->GetDataType(field(ftTitle), nullptr), E_POINTER);
    EXPECT_EQ(properties->GetMaxLength(field(ftTitle), nullptr), E_POINTER);
    EXPECT_EQ(properties->GetFlags(field(ftTitle), nullptr), E_POINTER);
    EXPECT_EQ(translator.as<IRecordVerifier>()->RecordVerified(id.get(), nullptr), E_POINTER);
    EXPECT_EQ(translator.as<IPIMSetUp>()->IsPIMAvailable(nullptr), E_POINTER);
    EXPECT_EQ(translator.as<ITranslatorTest>()->GetDatabase(nullptr), E_POINTER);
    EXPECT_EQ(read(id, ftLastName), u"Lovelace") << "the store is open as before";
}

TEST_F(CardFileTranslatorTest, WithoutAnOpenStoreEveryStepFailsAndCleanupDoesNot)
{
    Bstr id(u"x"), text;
    LONG n = 7;
    DATE date = 0;
    EXPECT_EQ(translator->GetRecordCount(&n), failure(0x80040207));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(translator->GetRecordID(0, text.put()), failure(0x80040207));
    EXPECT_EQ(translator->GetModifiedDate(id.get(), &date), failure(0x80040207));
    EXPECT_EQ(translator->BeginUpdate(), failure(0x8004020F));
    EXPECT_EQ(translator->BeginAddRecord(text.put()), failure(0x8004020A));
    EXPECT_EQ(translator->EndUpdate(VARIANT_FALSE), failure(0x8004020F));
    EXPECT_EQ(translator->Cleanup(), S_OK);
    EXPECT_EQ(translator->Cleanup(), S_OK);
}

TEST_F(CardFileTranslatorTest, OnlyASetUpMakesTheFile)
{
    const HRESULT notOpened = failure(0x80040202);
    fs::remove(file);
    EXPECT_EQ(initialize(), notOpened);
    EXPECT_NE(lastError().find(file.string() + "\" is missing"), std::string::npos) << lastError();
    EXPECT_EQ(translator.as<ICategories>()->InitializeCategories(services.get(), nullptr, VARIANT_FALSE), notOpened);
    EXPECT_EQ(translator.as<ITranslatorTest>()->InitializeDatabase(Bstr(file.u16string()).get(), nullptr, nullptr), notOpened);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(translator->Initialize(services.get(), nullptr, VARIANT_TRUE), S_OK) << lastError();
    EXPECT_EQ(count(), 0);
    const Bstr id = add({{ftLastName, u"Lovelace"}});
    reopen();
    EXPECT_EQ(translator->Initialize(services.get(), nullptr, VARIANT_TRUE), S_OK) << lastError();
    EXPECT_EQ(read(id, ftLastName), u"Lovelace") << "a second set-up keeps the cards";
}

TEST_F(CardFileTranslatorTest, AFileThatIsNotACardFileFailsInitializeWithAMessage)
{
    std::ofstream(file) << "BEGIN:VCARD\nEND:VCARD\n" << std::string(2000, ' ');
    EXPECT_EQ(initialize(), failure(0x80040202));
    EXPECT_NE(lastError().find(file.string()), std::string::npos) << lastError();
    services->values.clear();
    EXPECT_EQ(initialize(), failure(0x80040202));
    EXPECT_NE(lastError().find("No card file is chosen"), std::string::npos) << lastError();
    EXPECT_EQ(translator->Cleanup(), S_OK);
}

TEST_F(CardFileTranslatorTest, AnErrorTextBelongsToTheLastFailure)
{
    ASSERT_EQ(initialize(), S_OK);
    const Bstr id = add({{ftLastName, u"Lovelace"}});
    EXPECT_TRUE(FAILED(translator->BeginReadRecord(Bstr(u"nobody").get())));
    EXPECT_NE(lastError().find("nobody"), std::string::npos);
    ASSERT_EQ(translator->BeginEditRecord(id.get()), S_OK);
    VARIANT array;
    VariantInit(&array);
    array.vt = VT_ARRAY | VT_BSTR;
    EXPECT_TRUE(FAILED(translator->WriteField(id.get(), field(ftTitle), array)));
    EXPECT_EQ(lastError().find("nobody"), std::string::npos) << lastError();
}

TEST_F(CardFileTranslatorTest, TheDatabaseIsKeptInTheServices)
{
    Bstr database, description;
    EXPECT_EQ(translator->SetDatabase(services.get(), Bstr(u"relative").get()), S_OK);
    EXPECT_EQ(services->values[u"Database"], (fs::current_path() / "relative").u16string());
    EXPECT_EQ(translator->GetSyncParams(services.get(), database.put(), description.put()), S_OK);
    EXPECT_EQ(database.view(), (fs::current_path() / "relative").u16string());
    EXPECT_EQ(description.view(), u"Mirabook 6.0.4 or later");
    EXPECT_FALSE(fs::exists("relative")) << "setting a database does not create it";
    services->values.clear();
    EXPECT_EQ(translator->GetSyncParams(services.get(), database.put(), description.put()), S_OK);
    EXPECT_TRUE(database.empty());
}

TEST_F(CardFileTranslatorTest, ATestMayOpenADatabaseByItself)
{
    const auto test = translator.as<ITranslatorTest>();
    Bstr database;
    ASSERT_EQ(test->InitializeDatabase(Bstr(file.u16string()).get(), nullptr, nullptr), S_OK) << lastError();
    EXPECT_EQ(test->GetDatabase(database.put()), S_OK);
    EXPECT_EQ(database.view(), file.u16string());
    const Bstr id = add({{ftLastName, u"Lovelace"}});
    ASSERT_EQ(test->InitializeDatabaseEx(services.get(), database.get(), nullptr, nullptr), S_OK);
    EXPECT_EQ(count(), 1);
    VARIANT_BOOL verified = VARIANT_FALSE;
    EXPECT_EQ(translator.as<IRecordVerifier>()->RecordVerified(id.get(), &verified), S_OK);
    EXPECT_EQ(verified, VARIANT_TRUE);
}

TEST_F(CardFileTranslatorTest, TwoTranslatorsOnOneFileSeeEachOthersCards)
{
    ASSERT_EQ(initialize(), S_OK);
    const Bstr id = add({{ftLastName, u"Lovelace"}});
    const Ptr<ITranslator> first = std::exchange(translator, plugin.create());
    ASSERT_EQ(initialize(), S_OK);
    EXPECT_EQ(read(id, ftLastName), u"Lovelace");
    const Bstr second = add({{ftLastName, u"Hopper"}});
    EXPECT_EQ(translator->Cleanup(), S_OK);
    EXPECT_EQ(first->Cleanup(), S_OK);
    reopen();
    EXPECT_EQ(count(), 2);
}

TEST_F(CardFileTranslatorTest, AnObjectThatIsDroppedWithoutCleanupClosesItsFile)
{
    ASSERT_EQ(initialize(), S_OK);
    add({{ftLastName, u"Lovelace"}});
    translator.reset();
    EXPECT_EQ(call("DllCanUnloadNow"), S_OK);
    std::set<fs::path> left;
    for (const auto& entry : fs::directory_iterator(file.parent_path())) left.insert(entry.path());
    EXPECT_EQ(left, std::set<fs::path>{file});
}

TEST_F(CardFileTranslatorTest, RegistersItsClassAndCategoryAndLeavesNothing)
{
    const std::u16string key = u"CLSID\\" + com::guidText(cardFileClass);
    ASSERT_EQ(call("DllRegisterServer"), S_OK);
    {
        const auto server = platform::RegistryKey::open(platform::Root::ClassesRoot, key + u"\\InprocServer32");
        ASSERT_TRUE(server);
        EXPECT_EQ(server->text(u""), fs::canonical(CARDFILE_PLUGIN).u16string());
        EXPECT_EQ(server->text(u"ThreadingModel"), u"Apartment");
        EXPECT_TRUE(platform::RegistryKey::open(platform::Root::ClassesRoot,
                                                key + u"\\Implemented Categories\\{DCCCC8B9-C75D-44A2-9D89-9E7C78169C12}"));
    }
    EXPECT_EQ(call("DllRegisterServer"), S_OK) << "registering twice is allowed";
    EXPECT_EQ(call("DllUnregisterServer"), S_OK);
    for (const std::u16string& name :
         {key, std::u16string(u"MBCardFile.CardFileTranslator"), std::u16string(u"MBCardFile.CardFileTranslator.1")})
        EXPECT_FALSE(platform::RegistryKey::open(platform::Root::ClassesRoot, name)) << platform::utf8(name);
}

TEST_F(CardFileTranslatorTest, TheClassObjectKnowsOnlyItsClass)
{
    Ptr<IClassFactory> factory;
    const auto getClassObject = plugin.library().function<HRESULT(REFCLSID, REFIID, void**)>("DllGetClassObject");
    EXPECT_EQ(getClassObject(GUID_NULL, __uuidof(IClassFactory), factory.putVoid()), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(getClassObject(cardFileClass, __uuidof(IClassFactory), nullptr), E_POINTER);
    EXPECT_EQ(call("DllCanUnloadNow"), S_FALSE) << "the translator of the test is alive";
}

} // namespace
} // namespace mb::cardfile
