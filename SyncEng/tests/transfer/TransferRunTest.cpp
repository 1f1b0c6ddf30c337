#include "files.h"
#include "foundation/ClassTable.h"
#include "foundation/SilentMode.h"
#include "registry.h"
#include "store/ConfigStore.h"
#include "store/CSyncHistory.h"
#include "store/StoreLock.h"
#include "text.h"
#include "TransferFixture.h"

#include <future>
#include <thread>

namespace {

using namespace mbtest;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Names = std::multiset<std::u16string>;
constexpr HRESULT runAgain = static_cast<HRESULT>(0x80040212), refused = static_cast<HRESULT>(0x80040202);

class TransferRunTest : public TransferTest {
protected:
    std::u16string setting(const char16_t* key)
    {
        com::Ptr<ITrServices> services = scenario.create<ITrServices>(__uuidof(TrServices));
        const auto settings = services.as<IDataStream>();
        EXPECT_EQ(settings->SetParams(com::Bstr(u"Trans1Cfg").get(), fakeClass2), S_OK);
        com::Bstr value;
        (void)settings->GetString(com::Bstr(key).get(), value.put());
        return value.text();
    }
    // Returns the records of side 1 in the transfer's history, in the section with or without the suffix.
    std::vector<std::u16string> knownCards(bool suffixed)
    {
        mb::CSyncHistory history(nullptr);
        com::check(history.Open(fakeClass2));
        if (suffixed) history.SetSectionSuffix(scenario.one().options.database, scenario.two().options.database);
        std::vector<std::u16string> ids;
        (void)history.ListRecords(u"Trans1", ids);
        return ids;
    }
};

TEST_F(TransferRunTest, AFirstTransferCreatesTheHiddenMapAndCopiesOnlyTheSelectedCards)
{
    const auto ids = addCards({u"Adams", u"Brown", u"Clark"});
    ASSERT_EQ(transfer({ids[2], ids[0]}), S_OK);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams", u"Clark"}));
    EXPECT_THAT(listedMaps(), ElementsAre(fakeClass2)) << "its identifier is the target's class";
    EXPECT_EQ(translatorsOf(fakeClass2), std::pair(hostClass, fakeClass2));
    EXPECT_EQ(option(soSyncType), stExportFromTrans1);
    EXPECT_THAT(scenario.log().violations, IsEmpty());
    EXPECT_THAT(scenario.log().starting("1 BeginUpdate"), IsEmpty()) << "the card file is not written";
}

TEST_F(TransferRunTest, ATransferTakesDetailsAlongAndLeavesTheTargetsOwnLines)
{
    scenario.one().addDetailsField();
    scenario.two().addDetailsField();
    const auto ids = addCards({u"Adams", u"Brown"});
    scenario.one().set(ids[0], ftDetails, u"TZ:1\nUID:7\nVERSION:3.0");
    ASSERT_EQ(transfer({ids[0]}), S_OK);
    const std::u16string copy = scenario.two().order.back();
    EXPECT_EQ(scenario.two().get(copy, ftDetails), u"TZ:1\nUID:7\nVERSION:3.0");
    scenario.two().set(copy, ftDetails, u"TZ:1\nX-OWN:1");
    scenario.one().set(ids[0], ftDetails, u"TZ:2");
    ASSERT_EQ(scenario.maps()->SetOption(fakeClass2, soCardVersion, com::Variant(LONG{cv40})), S_OK);
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_EQ(scenario.two().get(copy, ftDetails), u"X-OWN:1\nTZ:2");
    EXPECT_EQ(scenario.two().get(scenario.two().order.back(), ftDetails), u"VERSION;PREF=1:4.0") << "the hidden map has options too";
}

TEST_F(TransferRunTest, AFirstTransferThatFailsLeavesNoHiddenMap)
{
    const auto ids = addCards({u"Adams"});
    for (const char* method : {"2 Initialize", "1 Initialize", "2 BeginUpdate"}) {
        scenario.log().failOn(method, scenario.log().count(method) + 1, refused);
        EXPECT_EQ(transfer(ids), refused) << method;
        EXPECT_THAT(listedMaps(), IsEmpty()) << method;
        EXPECT_EQ(setting(u"Database"), u"") << method;
        EXPECT_FALSE(std::filesystem::exists(scenario.folder.data() / (com::guidText(fakeClass2) + u".xml"))) << method;
    }
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(listedMaps(), ElementsAre(fakeClass2));
}

TEST_F(TransferRunTest, AFirstTransferThatFailsAfterItWroteKeepsItsMapAndCopiesNothingTwice)
{
    const auto ids = addCards({u"Adams", u"Brown"});
    scenario.log().failOn("2 BeginAddRecord", 2, E_ABORT);
    EXPECT_EQ(transfer(ids), E_ABORT);
    ASSERT_EQ(namesIn(scenario.two()), (Names{u"Adams"}));
    EXPECT_THAT(listedMaps(), ElementsAre(fakeClass2));
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams", u"Brown"}));
}

TEST_F(TransferRunTest, AFirstTransferWhoseCardFileIsInUseIsRefusedAndLeavesNoHiddenMap)
{
    const auto ids = addCards({u"Adams"});
    std::promise<HRESULT> taken;
    std::promise<void> done;
    std::thread holder([&] {
        mb::StoreLock lock;
        taken.set_value(lock.takeStore({hostClass, u"C:\\Cards\\Mine.mbk"}, false));
        done.get_future().wait();
    });
    EXPECT_EQ(taken.get_future().get(), S_OK);
    scenario.log().clear();
    EXPECT_EQ(transfer(ids), mb::codeInUse);
    EXPECT_THAT(scenario.log().starting("1 Initialize"), IsEmpty());
    EXPECT_THAT(listedMaps(), IsEmpty());
    EXPECT_THAT(platform::utf8(takeError().message1), HasSubstr("Mine.mbk"));
    done.set_value();
    holder.join();
    EXPECT_EQ(transfer(ids), S_OK);
}

TEST_F(TransferRunTest, ALaterTransferThatFailsKeepsTheMap)
{
    const auto ids = addCards({u"Adams"});
    ASSERT_EQ(transfer({}), S_OK);
    scenario.log().failOn("2 Initialize", scenario.log().count("2 Initialize") + 1, refused);
    EXPECT_EQ(transfer(ids), refused);
    EXPECT_THAT(listedMaps(), ElementsAre(fakeClass2));
}

// A map that is created again loses its history, and the next transfer would copy every card again.
TEST_F(TransferRunTest, AMapWhoseTranslatorsCannotBeReadIsNotMadeAnew)
{
    const auto ids = addCards({u"Adams"});
    ASSERT_EQ(transfer(ids), S_OK);
    const std::u16string section = com::guidText(fakeClass2);
    const auto write = [&](const char16_t* key, std::u16string_view text) {
        ASSERT_EQ(mb::ConfigStore().WriteValue(u"TrMap", section, key, text, false, true), S_OK);
    };
    for (const char16_t* key : {u"Trans1", u"Trans2"}) {
        std::u16string before, after;
        ASSERT_EQ(mb::ConfigStore().ReadValue(u"TrMap", section, key, before), S_OK);
        write(key, u"damaged");
        GUID none{};
        const HRESULT unreadable = com::parseGuid(u"damaged", &none);
        EXPECT_EQ(transfer(ids), unreadable);
        EXPECT_EQ(takeError().message1, u"The settings of the transfer could not be read. Nothing was transferred.");
        EXPECT_EQ(transferer->ConfigureTranslator(0, com::Bstr(targetText()).get()), unreadable);
        EXPECT_EQ(transferer->SetSyncImages(com::Bstr(targetText()).get(), VARIANT_FALSE), S_OK) << "SetSyncImages never fails";
        EXPECT_EQ(mb::ConfigStore().ReadValue(u"TrMap", section, key, after), S_OK);
        EXPECT_EQ(after, u"damaged");
        write(key, before);
    }
    EXPECT_EQ(knownCards(true), ids);
    EXPECT_EQ(setting(u"Database"), u"C:\\Cards\\Mine.mbk");
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(scenario.writes(), IsEmpty());
}

TEST_F(TransferRunTest, TheCardFileAndItsPasswordReachTheHostsTranslatorBeforeItStarts)
{
    ASSERT_EQ(transfer({}), S_OK);
    EXPECT_EQ(setting(u"Database"), u"C:\\Cards\\Mine.mbk");
    EXPECT_EQ(setting(u"Password"), u"secret");
    EXPECT_EQ(setting(u"SavePassword"), u"1");
}

TEST_F(TransferRunTest, ASecondTransferOfUnchangedCardsWritesNothing)
{
    const auto ids = addCards({u"Adams", u"Brown"});
    ASSERT_EQ(transfer(ids), S_OK);
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(scenario.writes(), IsEmpty());
    EXPECT_THAT(scenario.log().starting("1 GetRecordID"), IsEmpty()) << "the store's records are not listed";
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams", u"Brown"}));
}

// For example, a translator that now resolves symbolic links in its path.
TEST_F(TransferRunTest, ADatabaseThatIsToldByAnotherSpellingGoesOnWithItsHistory)
{
    const auto cards = addCards({u"Lovelace", u"Hopper"});
    ASSERT_EQ(transfer(cards), S_OK);
    scenario.one().options.database = u"D:\\Real\\Mine.mbk";
    EXPECT_EQ(transfer(cards), S_OK);
    EXPECT_EQ(scenario.two().records.size(), 2u);
    EXPECT_THAT(scenario.writes(), IsEmpty());
}

TEST_F(TransferRunTest, AChangedCardIsUpdatedAndANewOneAdded)
{
    auto ids = addCards({u"Adams", u"Brown", u"Clark"});
    ASSERT_EQ(transfer({ids[0], ids[1]}), S_OK);
    scenario.one().set(ids[0], ftLastName, u"Adams-Smith");
    scenario.one().set(ids[1], ftLastName, u"not selected now");
    ASSERT_EQ(transfer({ids[0], ids[2]}), S_OK);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams-Smith", u"Brown", u"Clark"}));
}

TEST_F(TransferRunTest, ACardThatWasDeletedInTheTargetIsAddedAgain)
{
    const auto ids = addCards({u"Adams"});
    ASSERT_EQ(transfer(ids), S_OK);
    scenario.two().remove(scenario.two().order.front());
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams"}));
}

TEST_F(TransferRunTest, CardsThatAreNotSelectedAreNeitherDeletedNorRead)
{
    const auto ids = addCards({u"Adams", u"Brown"});
    ASSERT_EQ(transfer(ids), S_OK);
    scenario.one().remove(ids[0]);
    ASSERT_EQ(transfer({ids[1]}), S_OK);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams", u"Brown"}));
    EXPECT_THAT(scenario.log().starting("1 BeginReadRecord"), IsEmpty());
}

TEST_F(TransferRunTest, TheSameCardTwiceOrInAnotherCaseIsCopiedOnce)
{
    const auto ids = addCards({u"Adams"});
    ASSERT_EQ(transfer({ids[0], u"CARD-1", ids[0]}), S_OK);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams"}));
}

TEST_F(TransferRunTest, AChangedFieldMapWritesEveryFieldAgainAndClearsItsMark)
{
    const auto ids = addCards({u"Adams"});
    ASSERT_EQ(transfer(ids), S_OK);
    const std::u16string section = u"Trans1c:\\cards\\mine.mbktheir \"contacts\"";
    ASSERT_EQ(scenario.maps()->SetFieldMapStatusForHistRecs(fakeClass2, com::Bstr(section).get(), VARIANT_TRUE), S_OK);
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(scenario.log().starting("2 BeginEditRecord"), SizeIs(1)) << "although the card did not change";
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(scenario.writes(), IsEmpty());
}

TEST_F(TransferRunTest, ATransferReadsOnlyTheSelectedCardsHoweverManyThereAre)
{
    const auto ids = addCards({u"Adams", u"Brown"});
    const auto callsTo = [&](const char16_t* database) {
        scenario.two().options.database = database;
        EXPECT_EQ(transfer(ids), S_OK);
        return scenario.log().lines.size();
    };
    (void)callsTo(u"makes the map");
    const std::size_t anew = callsTo(u"new"), unchanged = callsTo(u"new");
    for (int i = 0; i < 1000; ++i) (void)scenario.one().add({{ftLastName, u"Many"}});
    EXPECT_EQ(callsTo(u"new"), unchanged);
    EXPECT_EQ(callsTo(u"newer"), anew);
}

TEST_F(TransferRunTest, TheHistoryOfATransferLiesUnderTheTwoDatabases)
{
    const auto ids = addCards({u"Adams"});
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(knownCards(true), ElementsAre(ids[0]));
    EXPECT_THAT(knownCards(false), IsEmpty());
    scenario.two().options.database = u"Another database";
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(scenario.log().starting("2 BeginAddRecord"), SizeIs(1)) << "the card was never transferred to that database";
    scenario.two().options.database = u"Their \"Contacts\"";
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(scenario.writes(), IsEmpty()) << "the history of the first database is still there";
}

TEST_F(TransferRunTest, ReverseCopiesTheTargetsRecordsAndDoesNotWriteTheTarget)
{
    const auto ids = addCards({u"Adams"});
    ASSERT_EQ(transfer(ids), S_OK);
    scenario.two().set(scenario.two().order.front(), ftLastName, u"Adams, edited there");
    (void)scenario.two().add({{ftLastName, u"New there"}});
    ASSERT_EQ(transfer({}, VARIANT_TRUE), S_OK);
    EXPECT_EQ(option(soSyncType), stImportToTrans1);
    EXPECT_EQ(namesIn(scenario.one()), (Names{u"Adams, edited there", u"New there"}));
    EXPECT_THAT(scenario.log().starting("2 BeginUpdate"), IsEmpty());
    ASSERT_EQ(transfer({}, VARIANT_TRUE), S_OK);
    EXPECT_THAT(scenario.writes(), IsEmpty());
}

TEST_F(TransferRunTest, AnyValueFrom65535UpIsReverseAndOthersAreNot)
{
    ASSERT_EQ(transfer({}, VARIANT_TRUE), S_OK);
    EXPECT_EQ(option(soSyncType), stImportToTrans1);
    ASSERT_EQ(transfer({}, 1), S_OK);
    EXPECT_EQ(option(soSyncType), stExportFromTrans1);
}

TEST_F(TransferRunTest, ATargetWithoutADatabaseIsAskedToConfigureItself)
{
    ASSERT_EQ(transfer({}), S_OK);
    EXPECT_THAT(scenario.log().starting("2 Initialize"), ElementsAre("2 Initialize"));
    scenario.two().options.database.clear();
    ASSERT_EQ(transfer({}), S_OK);
    EXPECT_THAT(scenario.log().starting("2 Initialize"), ElementsAre("2 Initialize reconfigure"));
    EXPECT_THAT(scenario.log().starting("1 Initialize"), ElementsAre("1 Initialize"));
}

TEST_F(TransferRunTest, ATargetThatAsksForAnotherRunGetsIt)
{
    const auto ids = addCards({u"Adams"});
    scenario.log().failOn("2 Initialize", 1, runAgain);
    scenario.log().failOn("2 Initialize", 2, runAgain);
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_THAT(scenario.log().starting("2 Initialize"), SizeIs(3));
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams"}));
}

TEST_F(TransferRunTest, TheRunIsSilentAndDoesNotSynchroniseCategories)
{
    for (FakeStore* store : {&scenario.one(), &scenario.two()}) store->options.categories = true;
    (void)scenario.one().addCategory(u"Friends");
    ASSERT_EQ(transfer(addCards({u"Adams"})), S_OK);
    EXPECT_TRUE(scenario.two().categories.empty());
    EXPECT_THAT(scenario.log().starting("2 InitializeCategories"), IsEmpty());
    EXPECT_EQ(mb::SilentMode, VARIANT_FALSE) << "the run ends silent mode";
}

TEST_F(TransferRunTest, ProgressGoesToTheFirstSinkOfTheTransfer)
{
    const auto first = com::make<EventSinkFake>(), second = com::make<EventSinkFake>();
    com::Ptr<IConnectionPoint> point;
    ASSERT_EQ(transferer.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point.put()), S_OK);
    DWORD cookie1 = 0, cookie2 = 0;
    ASSERT_EQ(point->Advise(com::Ptr<ISyncEvents>(first).get(), &cookie1), S_OK);
    ASSERT_EQ(point->Advise(com::Ptr<ISyncEvents>(second).get(), &cookie2), S_OK);
    ASSERT_EQ(transfer(addCards({u"Adams"})), S_OK);
    EXPECT_THAT(first->progress, Contains(spSync));
    EXPECT_EQ(second->calls, 0);
    EXPECT_EQ(point->Unadvise(cookie1), S_OK);
    EXPECT_EQ(point->Unadvise(cookie2), S_OK);
}

TEST_F(TransferRunTest, TheSinkMayCancelAndWhatWasWrittenStays)
{
    const auto sink = com::make<EventSinkFake>();
    sink->cancelAtWrite = 1;
    com::Ptr<IConnectionPoint> point;
    ASSERT_EQ(transferer.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point.put()), S_OK);
    DWORD cookie = 0;
    ASSERT_EQ(point->Advise(com::Ptr<ISyncEvents>(sink).get(), &cookie), S_OK);
    const auto ids = addCards({u"Adams", u"Brown"});
    EXPECT_EQ(transfer(ids), E_ABORT);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams"}));
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams", u"Brown"})) << "the next transfer continues";
}

TEST_F(TransferRunTest, ATransferDoesNotChangeTheHistoriesOfOrdinaryMaps)
{
    const auto ids = addCards({u"Adams", u"Brown"});
    ASSERT_EQ(scenario.sync(), S_OK);
    const auto file = scenario.folder.data() / platform::pathOf(com::guidText(scenario.map()) + u".xml");
    const std::string before = scenario.folder.read(file);
    ASSERT_FALSE(before.empty());
    ASSERT_EQ(transfer({ids[0]}), S_OK);
    ASSERT_EQ(transfer({}, VARIANT_TRUE), S_OK);
    EXPECT_EQ(scenario.folder.read(file), before);
}

TEST_F(TransferRunTest, AFailureOfTheTargetIsReturnedAndItsDetailsCanBeReadOnce)
{
    scenario.two().options.errorCode = 17;
    scenario.two().options.errorMessage1 = u"The target is locked.";
    scenario.two().options.errorMessage2 = u"Close the other program.";
    scenario.log().failOn("2 Initialize", 1, refused);
    EXPECT_EQ(transfer(addCards({u"Adams"})), refused);
    LastError error = takeError();
    EXPECT_EQ(error.code.lVal, 17);
    EXPECT_EQ(error.message1, u"The target is locked.");
    EXPECT_EQ(error.message2, u"Close the other program.");

    com::Variant code(u"as it came");
    com::Bstr message1(u"one"), message2(u"two");
    EXPECT_EQ(transferer->GetLastError(&code, message1.inOut(), message2.inOut()), S_OK);
    EXPECT_EQ(code.text(), u"as it came") << "a second call returns nothing";
    EXPECT_EQ(message1.view(), u"one");
    EXPECT_EQ(message2.view(), u"two");
}

TEST_F(TransferRunTest, ANewCallForgetsTheFormerFailure)
{
    scenario.two().options.errorMessage1 = u"It broke.";
    scenario.log().failOn("2 Initialize", 1, refused);
    ASSERT_EQ(transfer({}), refused);
    ASSERT_EQ(transfer({}), S_OK);
    const LastError error = takeError();
    EXPECT_EQ(error.code.vt, VT_EMPTY);
    EXPECT_EQ(error.message1, u"");
}

// For example, a locked card file or a wrong password.
TEST_F(TransferRunTest, ACardFileThatCannotBeOpenedIsReportedAndNothingIsWritten)
{
    scenario.one().options.errorMessage1 = u"The password is wrong.";
    scenario.log().failOn("1 Initialize", 1, refused);
    EXPECT_EQ(transfer(addCards({u"Adams"})), refused);
    EXPECT_EQ(takeError().message1, u"The password is wrong.");
    EXPECT_THAT(scenario.log().starting("2 Initialize"), IsEmpty());
    EXPECT_TRUE(scenario.two().records.empty());
    EXPECT_THAT(scenario.log().starting("1 Cleanup"), SizeIs(1)) << "both translators are still cleaned up";
    EXPECT_THAT(scenario.log().starting("2 Cleanup"), SizeIs(1));
}

TEST_F(TransferRunTest, AMissingCardFailsTheTransferAndKeepsTheCopiedCards)
{
    const auto ids = addCards({u"Adams", u"Brown"});
    EXPECT_TRUE(FAILED(transfer({ids[0], u"nobody", ids[1]})));
    EXPECT_EQ(namesIn(scenario.one()), (Names{u"Adams", u"Brown"}));
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams", u"Brown"})) << "the cards before it were copied and linked";
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_EQ(namesIn(scenario.two()), (Names{u"Adams", u"Brown"})) << "and are not copied twice";
}

TEST_F(TransferRunTest, ATargetThatRefusesACardFailsAndTheNextTransferContinues)
{
    const auto ids = addCards({u"Adams", u"Brown"});
    scenario.log().failOn("2 SaveRecord", 2, refused);
    EXPECT_EQ(transfer(ids), refused);
    ASSERT_EQ(transfer(ids), S_OK);
    EXPECT_EQ(namesIn(scenario.two()).count(u"Adams"), 1u);
    EXPECT_GE(namesIn(scenario.two()).count(u"Brown"), 1u);
}

TEST_F(TransferRunTest, ATargetThatMayNotBeWrittenFails)
{
    scenario.two().options.userAccess = true;
    scenario.two().options.canWrite = false;
    EXPECT_EQ(transfer(addCards({u"Adams"})), E_FAIL);
    EXPECT_TRUE(scenario.two().records.empty());
}

TEST_F(TransferRunTest, AMalformedTargetIsRefusedAndCreatesNoMap)
{
    SAFEARRAY* none = com::makeTextArray({});
    for (const char16_t* text : {u"", u"nonsense", u"{FA4E0002-2222-4222-8222-22222222222}", u"{00000000-0000-0000-0000-000000000000}",
                                 u"FA4E0002-2222-4222-8222-222222222222", u"{FA4E0002-2222-4222-8222-2222222222ZZ}"}) {
        EXPECT_TRUE(FAILED(transferTo(text, none))) << com::Bstr(text).text().size();
        const com::Bstr guid(text);
        VARIANT_BOOL images = VARIANT_FALSE;
        EXPECT_TRUE(FAILED(transferer->ConfigureTranslator(0, guid.get())));
        EXPECT_TRUE(FAILED(transferer->ConfigureFieldMapping(0, guid.get())));
        EXPECT_EQ(transferer->GetSyncImages(guid.get(), &images), S_OK);
        EXPECT_EQ(images, VARIANT_TRUE);
        EXPECT_EQ(transferer->SetSyncImages(guid.get(), VARIANT_FALSE), S_OK);
    }
    EXPECT_EQ(SafeArrayDestroy(none), S_OK);
    EXPECT_THAT(listedMaps(), IsEmpty());
}

TEST_F(TransferRunTest, NullArgumentsAreAnEmptySelectionOrAreRefused)
{
    (void)addCards({u"Adams"});
    EXPECT_EQ(transferTo(targetText(), nullptr), S_OK);
    EXPECT_TRUE(scenario.two().records.empty()) << "a null array selects no card, not all cards";
    EXPECT_TRUE(FAILED(transferer->Transfer(0, nullptr, nullptr, nullptr, nullptr, VARIANT_FALSE)));
    const com::Bstr guid(targetText());
    EXPECT_EQ(transferer->Transfer(0, guid.get(), nullptr, nullptr, nullptr, VARIANT_FALSE), S_OK) << "a null file means the former one";
    EXPECT_TRUE(FAILED(transferer->ConfigureTranslator(0, nullptr)));
    EXPECT_TRUE(FAILED(transferer->ConfigureFieldMapping(0, nullptr)));
    EXPECT_EQ(transferer->GetSyncImages(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(transferer->SetSyncImages(nullptr, VARIANT_TRUE), S_OK);
    EXPECT_EQ(transferer->GetLastError(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(transferer->GetTranslators(nullptr, nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(transferer->GetTranslatorsEx(nullptr, nullptr, nullptr, nullptr, nullptr), E_POINTER);
}

TEST_F(TransferRunTest, AnArrayOfAnotherTypeIsRefused)
{
    SAFEARRAY* numbers = SafeArrayCreateVector(VT_I4, 0, 3);
    ASSERT_NE(numbers, nullptr);
    EXPECT_EQ(transferTo(targetText(), numbers), E_INVALIDARG);
    EXPECT_EQ(SafeArrayDestroy(numbers), S_OK);
}

TEST_F(TransferRunTest, WithoutASynchronizerTheTransferFails)
{
    static constexpr com::ClassEntry missing[] = {
        {&__uuidof(Synchronizer), u"", u"", [](IUnknown*, REFIID, void** out) noexcept -> HRESULT {
             *out = nullptr;
             return CLASS_E_CLASSNOTAVAILABLE;
         }}};
    const mb::ClassOverride hidden(missing);
    EXPECT_EQ(transfer({}), CLASS_E_CLASSNOTAVAILABLE);
}

class OutlookExpressTransferTest : public TransferTest {
protected:
    static constexpr GUID outlookExpress{0xA268D411, 0x2A98, 0x40B8, {0x80, 0x71, 0xB9, 0x48, 0x9A, 0x5D, 0xE4, 0xB2}};
    OutlookExpressTransferTest() : TransferTest(outlookExpress) {}
    static std::optional<std::u16string> stored()
    {
        const auto key = platform::RegistryKey::open(platform::Root::CurrentUser, u"Software\\Zorel\\MBSyncEng");
        return key ? key->text(u"OutlookExpressDB") : std::nullopt;
    }
};

TEST_F(OutlookExpressTransferTest, TheDatabaseIsWrittenToTheRegistryForTheTranslator)
{
    scenario.two().options.database = u"C:\\Book.wab";
    ASSERT_EQ(transfer({}), S_OK);
    EXPECT_EQ(stored(), u"C:\\Book.wab");
    scenario.two().options.database.clear();
    ASSERT_EQ(transfer({}), S_OK);
    EXPECT_EQ(stored(), u"C:\\Book.wab") << "an empty text writes nothing";
}

} // namespace
