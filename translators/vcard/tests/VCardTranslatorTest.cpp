// The plug-in as the engine loads it: by library and class object, with services that record calls.
#include "com.h"

#include "categories.h"
#include "library.h"
#include "registry.h"
#include "SyncEngLib.h"

#include "Charset.h"
#include "PluginTest.h"
#include "Samples.h"
#include "TextMatchers.h"

#include <chrono>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <thread>

namespace mb::vcard {
namespace {

namespace fs = std::filesystem;
using com::Bstr;
using com::Ptr;
using com::Variant;
using mbtest::Holds;
using testing::Contains;
using testing::Not;

constexpr GUID kClass{0x86705195, 0xe5f6, 0x4fbc, {0xad, 0x43, 0xe8, 0x5e, 0xd5, 0x84, 0x3b, 0x9a}};
constexpr GUID kTranslators{0xDCCCC8B9, 0xC75D, 0x44A2, {0x9D, 0x89, 0x9E, 0x7C, 0x78, 0x16, 0x9C, 0x12}};
constexpr auto kFailure = [](std::uint32_t code) { return static_cast<HRESULT>(code); };

std::string cardText(const std::string& name, const std::string& more = {})
{
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + name + ";;;;\r\nFN:" + name + "\r\n" + more + "END:VCARD\r\n";
}

class VCardTranslatorTest : public mbtest::PluginTest {
protected:
    VCardTranslatorTest() : PluginTest(VCARD_PLUGIN, kClass)
    {
        fs::create_directories(cards);
        fs::create_directories(folder.path() / "cache");
        services->values[u"Database"] = cards.u16string();
    }
    void put(const std::string& name, const std::string& bytes) { writeBytes(cards / name, bytes); }
    std::string get(const std::string& name) { return readBytes(cards / name); }
    std::vector<std::string> ids()
    {
        std::vector<std::string> all;
        LONG count = 0;
        EXPECT_EQ(translator->GetRecordCount(&count), S_OK);
        for (LONG i = 0; i < count; ++i) {
            Bstr id;
            EXPECT_EQ(translator->GetRecordID(i, id.put()), S_OK);
            all.push_back(toUtf8(id.view()));
        }
        return all;
    }

    const fs::path cards = folder.path() / "100% cards";
};

TEST_F(VCardTranslatorTest, FieldsAreKnownWithoutInitialize)
{
    const auto list = translator.as<IFieldList>();
    const auto properties = translator.as<IField>();
    LONG count = 0;
    ASSERT_EQ(list->GetCount(&count), S_OK);
    std::set<LONG> types;
    for (LONG i = 0; i < count; ++i) {
        GUID guid{}, byName{};
        Bstr name;
        LONG type = 0;
        ASSERT_EQ(list->GetFieldByIndex(i, &guid), S_OK);
        ASSERT_EQ(properties->GetName(guid, name.put()), S_OK);
        ASSERT_EQ(list->GetFieldByName(name.get(), &byName), S_OK);
        EXPECT_EQ(guid, byName) << toUtf8(name.view());
        ASSERT_EQ(properties->GetFieldType(guid, &type), S_OK);
        EXPECT_TRUE(types.insert(type).second) << type;
    }
    for (LONG type = ftNamePrefix; type <= ftOther; ++type) { EXPECT_EQ(types.contains(type), type != ftRecordStatus) << type; }
    GUID none{};
    EXPECT_TRUE(FAILED(list->GetFieldByIndex(count, &none)));
    EXPECT_TRUE(FAILED(list->GetFieldByIndex(-1, &none)));
    EXPECT_TRUE(FAILED(list->GetFieldByName(Bstr(u"none").get(), &none)));
    EXPECT_EQ(properties->GetFieldType(GUID_NULL, &count), E_INVALIDARG);
    EXPECT_EQ(properties->SetFlags(field(ftPhone), 0), E_NOTIMPL);
}

TEST_F(VCardTranslatorTest, FieldPropertiesMarkPhonesAndDates)
{
    const auto properties = translator.as<IField>();
    ULONG flags = 0, length = 1;
    LONG type = 0;
    EXPECT_EQ(properties->GetFlags(field(ftMobile), &flags), S_OK);
    EXPECT_EQ(flags, static_cast<ULONG>(ffPhoneNumber));
    EXPECT_EQ(properties->GetFlags(field(ftTitle), &flags), S_OK);
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(properties->GetDataType(field(ftBirthday), &type), S_OK);
    EXPECT_EQ(type, dtDateTime);
    EXPECT_EQ(properties->GetDataType(field(ftTitle), &type), S_OK);
    EXPECT_EQ(type, dtString);
    EXPECT_EQ(properties->GetMaxLength(field(ftTitle), &length), S_OK);
    EXPECT_EQ(length, 0u);
}

TEST_F(VCardTranslatorTest, NamesAndCapabilities)
{
    Bstr shortName, longName, type;
    ULONG caps = 0;
    VARIANT_BOOL available = VARIANT_FALSE;
    ASSERT_EQ(translator.as<ITranslatorInfo>()->GetInfo(shortName.put(), longName.put(), type.put()), S_OK);
    EXPECT_EQ(shortName.view(), u"vCard");
    EXPECT_EQ(longName.view(), u"vCard folder or file");
    EXPECT_EQ(type.view(), u"vCard folder");
    EXPECT_EQ(translator->GetTranslatorCaps(&caps), S_OK);
    EXPECT_EQ(caps, static_cast<ULONG>(capImport | capExport | capSynchronize | capTimestamps | capRecordGUIDs | capJPEGFile));
    EXPECT_EQ(translator.as<IPIMSetUp>()->IsPIMAvailable(&available), S_OK);
    EXPECT_EQ(available, VARIANT_TRUE);
    EXPECT_EQ(lastError(), "");
}

TEST_F(VCardTranslatorTest, TheDatabaseIsKeptInTheServices)
{
    Bstr database, description;
    const std::u16string somewhere = (folder.path() / "some" / "where").u16string();
    EXPECT_EQ(translator->SetDatabase(services.get(), Bstr(somewhere).get()), S_OK);
    EXPECT_EQ(services->values[u"Database"], somewhere);
    EXPECT_EQ(translator->GetSyncParams(services.get(), database.put(), description.put()), S_OK);
    EXPECT_EQ(database.view(), somewhere);
    EXPECT_EQ(translator->SetDatabase(services.get(), Bstr(u"relative").get()), S_OK);
    EXPECT_EQ(services->values[u"Database"], (fs::current_path() / "relative").u16string());
    services->values.clear();
    EXPECT_EQ(translator->GetSyncParams(services.get(), database.put(), description.put()), S_OK);
    EXPECT_TRUE(database.empty());
}

TEST_F(VCardTranslatorTest, AMissingDatabaseIsReportedClearly)
{
    services->values[u"Database"] = (folder.path() / "none").u16string();
    EXPECT_EQ(initialize(), kFailure(0x80040202));
    EXPECT_NE(lastError().find((folder.path() / "none").string()), std::string::npos) << lastError();
    services->values.clear();
    EXPECT_EQ(initialize(), kFailure(0x80040202));
    EXPECT_NE(lastError().find("Choose a folder"), std::string::npos) << lastError();
    EXPECT_EQ(translator->Initialize(nullptr, nullptr, VARIANT_FALSE), E_POINTER);
    LONG count = 7;
    EXPECT_EQ(translator->GetRecordCount(&count), kFailure(0x80040207));
    EXPECT_EQ(translator->Cleanup(), S_OK);
}

TEST_F(VCardTranslatorTest, ListsReadsEditsAddsAndDeletes)
{
    put("a.vcf", cardText("A", "TEL;TYPE=CELL:1\r\nX-KEPT;X=y:z\r\n"));
    put("b.vcf", cardText("B"));
    ASSERT_EQ(initialize(), S_OK);
    EXPECT_EQ(ids(), (std::vector<std::string>{"a.vcf", "b.vcf"}));
    EXPECT_EQ(read(Bstr(u"a.vcf"), ftMobile), u"1");
    EXPECT_EQ(read(Bstr(u"a.vcf"), ftFax), u"");

    ASSERT_EQ(translator->BeginUpdate(), S_OK);
    Bstr id(u"a.vcf");
    ASSERT_EQ(translator->BeginEditRecord(id.get()), S_OK);
    EXPECT_EQ(write(id, ftMobile, u"2"), S_OK);
    ASSERT_EQ(translator->SaveRecord(id.inOut()), S_OK);
    EXPECT_EQ(id.view(), u"a.vcf");
    EXPECT_EQ(get("a.vcf"), cardText("A", "TEL;TYPE=CELL:2\r\nX-KEPT;X=y:z\r\n"));
    const Bstr made = add({{ftLastName, u"Müller"}});
    EXPECT_EQ(read(made, ftLastName), u"Müller");
    EXPECT_EQ(translator->DeleteRecord(Bstr(u"b.vcf").get()), S_OK);
    DATE date = 0;
    EXPECT_EQ(translator->GetModifiedDate(made.get(), &date), S_OK);
    EXPECT_GT(date, 45000.0);
    ASSERT_EQ(translator->EndUpdate(VARIANT_FALSE), S_OK);
    EXPECT_EQ(translator->Cleanup(), S_OK);

    translator = plugin.create();
    ASSERT_EQ(initialize(), S_OK);
    EXPECT_EQ(ids().size(), 2u);
    DATE again = 0;
    EXPECT_EQ(translator->GetModifiedDate(made.get(), &again), S_OK);
    EXPECT_EQ(again, date);
    EXPECT_TRUE(FAILED(translator->FindRecord(Bstr(u"b.vcf").get())));
    VARIANT_BOOL verified = VARIANT_FALSE;
    EXPECT_EQ(translator.as<IRecordVerifier>()->RecordVerified(Bstr(u"a.vcf").get(), &verified), S_OK);
    EXPECT_EQ(verified, VARIANT_TRUE);
}

TEST_F(VCardTranslatorTest, ValuesOfOtherTypesAreConverted)
{
    put("a.vcf", cardText("A", "TITLE:x\r\n"));
    ASSERT_EQ(initialize(), S_OK);
    Bstr id(u"a.vcf");
    ASSERT_EQ(translator->BeginEditRecord(id.get()), S_OK);
    Variant date;
    date.vt = VT_DATE;
    date.date = 29301.5; // 1980-03-21, noon
    EXPECT_EQ(translator->WriteField(id.get(), field(ftBirthday), date), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), field(ftRemindDays), Variant(LONG{14})), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), field(ftTitle), Variant()), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), GUID_NULL, Variant()), kFailure(0x8004020C));
    ASSERT_EQ(translator->SaveRecord(id.inOut()), S_OK);
    EXPECT_EQ(get("a.vcf"), cardText("A", "BDAY:1980-03-21\r\nX-MB-REMIND-DAYS:14\r\n"));
}

TEST_F(VCardTranslatorTest, APartOfADateIsNotTakenForADateOfAnotherCountry)
{
    put("a.vcf", cardText("A"));
    ASSERT_EQ(initialize(), S_OK);
    Bstr id(u"a.vcf");
    for (const std::u16string_view text : {u"--04-12", u"1985-04", u"1985"}) {
        ASSERT_EQ(translator->BeginEditRecord(id.get()), S_OK);
        EXPECT_EQ(translator->WriteField(id.get(), field(ftBirthday), Variant(text)), S_OK);
        ASSERT_EQ(translator->SaveRecord(id.inOut()), S_OK);
        EXPECT_EQ(get("a.vcf"), cardText("A", "BDAY:" + toUtf8(text) + "\r\n"));
    }
}

TEST_F(VCardTranslatorTest, ABadFileIsLoggedWithItsLineAndLeftOut)
{
    put("bad%d.vcf", "BEGIN:VCARD\nVERSION:3.0\nEND:VCARD\nEND:VCARD\n");
    put("good.vcf", cardText("G"));
    ASSERT_EQ(initialize(), S_OK);
    EXPECT_EQ(ids(), std::vector<std::string>{"good.vcf"});
    EXPECT_THAT(services->logged, Contains(Holds(u"bad%%d.vcf, line 4")));
    EXPECT_THAT(services->logged, Not(Contains(Holds(u"100% ")))) << "the log uses the text as a format";
    const Bstr id(u"bad%d.vcf");
    DATE date = 0;
    EXPECT_EQ(translator->FindRecord(id.get()), S_OK);
    EXPECT_EQ(translator->GetModifiedDate(id.get(), &date), kFailure(0x80040207));
    EXPECT_NE(lastError().find("line 4"), std::string::npos) << lastError();
    EXPECT_EQ(translator->BeginReadRecord(id.get()), kFailure(0x80040208));
    EXPECT_EQ(translator->BeginEditRecord(id.get()), kFailure(0x8004020B));
    EXPECT_EQ(translator->DeleteRecord(id.get()), kFailure(0x8004020E));
}

TEST_F(VCardTranslatorTest, AWriteAfterAnEditThatCouldNotBeginReportsWhy)
{
    put("bad.vcf", "BEGIN:VCARD\nVERSION:3.0\nEND:VCARD\nEND:VCARD\n");
    put("good.vcf", cardText("G"));
    ASSERT_EQ(initialize(), S_OK);
    const Bstr bad(u"bad.vcf"), good(u"good.vcf");
    ASSERT_EQ(translator->BeginEditRecord(bad.get()), kFailure(0x8004020B));
    const std::string why = lastError();
    EXPECT_NE(why.find("line 4"), std::string::npos) << why;
    EXPECT_EQ(write(bad, ftTitle, u"x"), kFailure(0x8004020C));
    EXPECT_EQ(lastError(), why);
    ASSERT_EQ(translator->BeginEditRecord(good.get()), S_OK);
    EXPECT_EQ(write(good, ftTitle, u"x"), S_OK);
}

TEST_F(VCardTranslatorTest, IdentifiersThatLeaveTheFolderAreRefusedEverywhere)
{
    writeBytes(folder.path() / "outside.vcf", cardText("O"));
    ASSERT_EQ(initialize(), S_OK);
    for (const std::u16string& text :
         {std::u16string(u"../outside.vcf"), std::u16string(u"..\\outside.vcf"), std::u16string(u".hidden.vcf"), std::u16string(u".."),
          std::u16string(u"a.vcf\0", 6), std::u16string()}) {
        Bstr id(text);
        Variant value;
        DATE date = 0;
        VARIANT_BOOL verified = VARIANT_TRUE;
        EXPECT_EQ(translator->FindRecord(id.get()), kFailure(0x80040207));
        EXPECT_EQ(translator->GetModifiedDate(id.get(), &date), kFailure(0x80040207));
        EXPECT_EQ(translator->GetCreateDate(id.get(), &date), kFailure(0x80040207));
        EXPECT_EQ(translator->BeginReadRecord(id.get()), kFailure(0x80040208));
        EXPECT_EQ(translator->EndReadRecord(id.get()), kFailure(0x80040208));
        EXPECT_EQ(translator->BeginEditRecord(id.get()), kFailure(0x8004020B));
        EXPECT_EQ(translator->ReadField(id.get(), field(ftTitle), value.put()), kFailure(0x80040209));
        EXPECT_EQ(write(id, ftTitle, u"x"), kFailure(0x8004020C));
        EXPECT_EQ(translator->SaveRecord(id.inOut()), kFailure(0x8004020D));
        EXPECT_EQ(translator->DeleteRecord(id.get()), kFailure(0x8004020E));
        EXPECT_TRUE(FAILED(translator.as<IRecordVerifier>()->RecordVerified(id.get(), &verified)));
        EXPECT_EQ(verified, VARIANT_FALSE);
    }
    EXPECT_EQ(readBytes(folder.path() / "outside.vcf"), cardText("O"));
}

TEST_F(VCardTranslatorTest, AChangeByAnotherProgramFailsTheSave)
{
    put("a.vcf", cardText("A"));
    ASSERT_EQ(initialize(), S_OK);
    Bstr id(u"a.vcf");
    ASSERT_EQ(translator->BeginEditRecord(id.get()), S_OK);
    EXPECT_EQ(write(id, ftTitle, u"mine"), S_OK);
    put("a.vcf", cardText("theirs"));
    EXPECT_EQ(translator->SaveRecord(id.inOut()), kFailure(0x8004020D));
    EXPECT_NE(lastError().find("a.vcf"), std::string::npos);
    EXPECT_EQ(get("a.vcf"), cardText("theirs"));
}

TEST_F(VCardTranslatorTest, AFileOfManyCardsIsWrittenAtEndUpdate)
{
    put("all.vcf", cardText("1", "UID:u1\r\n") + cardText("2", "UID:u2\r\n"));
    services->values[u"Database"] = (cards / "all.vcf").u16string();
    ASSERT_EQ(initialize(), S_OK);
    EXPECT_EQ(ids(), (std::vector<std::string>{"all.vcf#u1", "all.vcf#u2"}));
    ASSERT_EQ(translator->BeginUpdate(), S_OK);
    const Bstr made = add({{ftLastName, u"3"}});
    EXPECT_EQ(get("all.vcf"), cardText("1", "UID:u1\r\n") + cardText("2", "UID:u2\r\n"));
    ASSERT_EQ(translator->EndUpdate(VARIANT_FALSE), S_OK);
    EXPECT_TRUE(get("all.vcf").starts_with(cardText("1", "UID:u1\r\n") + cardText("2", "UID:u2\r\n") + "BEGIN:VCARD"));
    EXPECT_EQ(read(made, ftLastName), u"3");
}

TEST_F(VCardTranslatorTest, TheContactsUseTheIndexThatTheCategoriesRead)
{
    put("a.vcf", cardText("A"));
    std::this_thread::sleep_for(std::chrono::milliseconds(150)); // the index is kept only if no name changed just before it was made
    const auto categories = plugin.create();
    ASSERT_EQ(categories.as<ICategories>()->InitializeCategories(services.get(), nullptr, VARIANT_FALSE), S_OK);
    put("a.vcf", "no card"); // written in place, so that the list of names does not change
    ASSERT_EQ(initialize(), S_OK);
    EXPECT_EQ(count(), 1) << "a.vcf was read again";
}

TEST_F(VCardTranslatorTest, ATestMayOpenADatabaseByItself)
{
    put("a.vcf", cardText("A"));
    const auto test = translator.as<ITranslatorTest>();
    Bstr database;
    ASSERT_EQ(test->InitializeDatabase(Bstr(cards.u16string()).get(), nullptr, nullptr), S_OK);
    EXPECT_EQ(test->GetDatabase(database.put()), S_OK);
    EXPECT_EQ(database.view(), cards.u16string());
    EXPECT_EQ(ids().size(), 1u);
    put("b.vcf", "x");
    ASSERT_EQ(test->InitializeDatabaseEx(services.get(), database.get(), nullptr, nullptr), S_OK);
    EXPECT_THAT(services->logged, Contains(Holds(u"b.vcf")));
}

TEST_F(VCardTranslatorTest, RegistersItsClassAndCategory)
{
    const std::u16string key = u"CLSID\\" + com::guidText(kClass);
    ASSERT_EQ(call("DllRegisterServer"), S_OK);
    const auto server = platform::RegistryKey::open(platform::Root::ClassesRoot, key + u"\\InprocServer32");
    ASSERT_TRUE(server);
    EXPECT_TRUE(fs::equivalent(server->text(u"").value_or(u""), VCARD_PLUGIN));
    EXPECT_EQ(server->text(u"ThreadingModel"), u"Apartment");
    platform::CategoryClasses translators;
    ASSERT_EQ(translators.open(kTranslators), S_OK);
    CLSID listed{};
    while (listed != kClass && translators.next(&listed) == S_OK) continue;
    EXPECT_EQ(listed, kClass);
    EXPECT_EQ(call("DllUnregisterServer"), S_OK);
    EXPECT_FALSE(platform::RegistryKey::open(platform::Root::ClassesRoot, key));
}

TEST_F(VCardTranslatorTest, TheClassObjectKnowsOnlyItsClass)
{
    Ptr<IClassFactory> factory;
    EXPECT_EQ(plugin.library().function<HRESULT(REFCLSID, REFIID, void**)>("DllGetClassObject")(GUID_NULL, __uuidof(IClassFactory),
                                                                                                factory.putVoid()),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(call("DllCanUnloadNow"), S_FALSE) << "the translator of the test is alive";
}

} // namespace
} // namespace mb::vcard
