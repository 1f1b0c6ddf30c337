#include "TranslatorsFixture.h"

namespace {

using namespace mbtest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TrMapTranslatorsTest : public TranslatorsTest {
protected:
    TrMapTranslatorsTest() { writePair(mapA); }
    com::Ptr<ITrMap> map = maps();

    struct Configured {
        HRESULT hr;
        com::Bstr database, message1, message2;
        com::Variant code;
    };
    Configured configure(_TransIds side)
    {
        Configured c{};
        c.hr = map->ConfigureTranslator(mapA, side, nullptr, c.database.put());
        EXPECT_NE(c.database.get(), nullptr);
        return c;
    }
    Configured configure2(_TransIds side)
    {
        Configured c{};
        c.hr = map->ConfigureTranslator2(mapA, side, nullptr, c.database.put(), c.code.put(), c.message1.put(), c.message2.put());
        return c;
    }
};

TEST_F(TrMapTranslatorsTest, ALoadedTranslatorIsInitialisedWithTheSettingsOfItsSide)
{
    com::Ptr<ITranslator> translator1, translator2;
    EXPECT_EQ(map->LoadTranslator(mapA, idTrans1, nullptr, VARIANT_FALSE, translator1.put()), S_OK);
    EXPECT_EQ(map->LoadTranslator(mapA, idTrans2, nullptr, VARIANT_TRUE, translator2.put()), S_OK);
    EXPECT_TRUE(translator1);
    EXPECT_TRUE(translator2);
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create", "1 Initialize", "2 Create", "2 Initialize reconfig")) << "Cleanup is the caller's";
    EXPECT_EQ(stored(u"Trans1Cfg", mapA, u"Initialized"), u"1");
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"Initialized"), u"2");
    EXPECT_EQ(stored(u"Trans1Cfg", mapB, u"Initialized"), u"<none>");
}

TEST_F(TrMapTranslatorsTest, ATranslatorThatCannotInitialiseIsNotHandedOut)
{
    calls->failOn("1 Initialize", 1, E_ACCESSDENIED);
    calls->throwOn("1 Initialize", 2);
    for (const HRESULT expected : {E_ACCESSDENIED, E_UNEXPECTED}) {
        com::Ptr<ITranslator> translator;
        EXPECT_EQ(map->LoadTranslator(mapA, idTrans1, nullptr, VARIANT_FALSE, translator.put()), expected);
        EXPECT_FALSE(translator);
    }
}

TEST_F(TrMapTranslatorsTest, AnUnknownMapHasNoTranslators)
{
    com::Ptr<ITranslator> translator;
    EXPECT_EQ(map->LoadTranslator(mapB, idTrans1, nullptr, VARIANT_FALSE, translator.put()), E_FAIL);
    EXPECT_EQ(map->GetConfiguredTranslator(mapB, idTrans1, translator.put()), E_FAIL);
    const com::Bstr text(u"x");
    EXPECT_EQ(map->SetDatabase(mapB, idTrans1, text.get()), E_FAIL);
    com::Bstr database1, database2;
    EXPECT_EQ(map->GetCurrentDatabase(mapB, database1.put(), database2.put()), E_FAIL);
    EXPECT_EQ(map->ConfigureTranslator(mapB, idTrans1, nullptr, database1.put()), E_FAIL);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(TrMapTranslatorsTest, ConfiguringReinitialisesReadsTheDatabaseAndCleansUp)
{
    const Configured c = configure(idTrans2);
    EXPECT_EQ(c.hr, S_OK);
    EXPECT_EQ(c.database.view(), u"The database");
    EXPECT_THAT(takeCalls(), ElementsAre("2 Create", "2 Initialize reconfig", "2 GetSyncParams", "2 Cleanup"));
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"Asked"), u"2");
}

TEST_F(TrMapTranslatorsTest, TheCodeOfAReinitialisedTranslatorIsAcceptedAndReturned)
{
    calls->failOn("1 Initialize", 1, initializedAnew);
    const Configured c = configure(idTrans1);
    EXPECT_EQ(c.hr, initializedAnew);
    EXPECT_EQ(c.database.view(), u"The database");
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create", "1 Initialize reconfig", "1 GetSyncParams", "1 Cleanup"));
}

TEST_F(TrMapTranslatorsTest, AConfigurationThatFailsGivesNoDatabaseAndCleansUp)
{
    calls->failOn("1 Initialize", 1, E_ABORT);
    const Configured aborted = configure(idTrans1);
    EXPECT_EQ(aborted.hr, E_ABORT);
    EXPECT_EQ(aborted.database.view(), u"");
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create", "1 Initialize reconfig", "1 Cleanup"));

    calls->failOn("1 GetSyncParams", 1, E_ACCESSDENIED);
    const Configured unasked = configure(idTrans1);
    EXPECT_EQ(unasked.hr, E_ACCESSDENIED);
    EXPECT_EQ(unasked.database.view(), u"");
    EXPECT_EQ(takeCalls().back(), "1 Cleanup");
}

TEST_F(TrMapTranslatorsTest, AFailureReadsTheTranslatorsErrorBeforeCleanup)
{
    calls->failOn("1 Initialize", 1, E_ACCESSDENIED);
    const Configured c = configure2(idTrans1);
    EXPECT_EQ(c.hr, E_ACCESSDENIED);
    EXPECT_EQ(c.code.vt, VT_I4);
    EXPECT_EQ(c.code.lVal, 7);
    EXPECT_EQ(c.message1.view(), u"It broke");
    EXPECT_EQ(c.message2.view(), u"Mend it");
    EXPECT_EQ(c.database.view(), u"");
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create", "1 Initialize reconfig", "1 GetLastError", "1 Cleanup"));
}

TEST_F(TrMapTranslatorsTest, TheSilentFailureReadsNoErrorText)
{
    calls->failOn("1 Initialize", 1, noErrorText);
    const Configured c = configure2(idTrans1);
    EXPECT_EQ(c.hr, noErrorText);
    EXPECT_EQ(c.code.vt, VT_EMPTY);
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create", "1 Initialize reconfig", "1 Cleanup"));
}

TEST_F(TrMapTranslatorsTest, ASuccessReadsNoErrorText)
{
    const Configured c = configure2(idTrans1);
    EXPECT_EQ(c.hr, S_OK);
    EXPECT_EQ(c.database.view(), u"The database");
    EXPECT_EQ(calls->count("GetLastError"), 0);
}

TEST_F(TrMapTranslatorsTest, AnErrorTextThatCannotBeReadDoesNotChangeTheFailure)
{
    for (const int n : {1, 2}) calls->failOn("1 Initialize", n, E_ACCESSDENIED);
    calls->throwOn("1 GetLastError", 1);
    const Configured thrown = configure2(idTrans1);
    EXPECT_EQ(thrown.hr, E_ACCESSDENIED);
    EXPECT_EQ(thrown.code.vt, VT_EMPTY);
    plugin1->refuse<ITranslatorInfo>();
    EXPECT_EQ(configure2(idTrans1).hr, E_ACCESSDENIED);
    EXPECT_EQ(takeCalls().back(), "1 Cleanup");
}

TEST_F(TrMapTranslatorsTest, ATranslatorThatCannotBeLoadedIsNotAskedForItsError)
{
    plugin1->givesNothing = true;
    const Configured c = configure2(idTrans1);
    EXPECT_TRUE(FAILED(c.hr));
    EXPECT_EQ(c.database.view(), u"");
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create"));
}

TEST_F(TrMapTranslatorsTest, TheCurrentDatabasesAreReadFromUninitialisedTranslators)
{
    plugin2->database = u"The other";
    com::Bstr database1, database2;
    EXPECT_EQ(map->GetCurrentDatabase(mapA, database1.put(), database2.put()), S_OK);
    EXPECT_EQ(database1.view(), u"The database");
    EXPECT_EQ(database2.view(), u"The other");
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create", "1 GetSyncParams", "2 Create", "2 GetSyncParams"));
    EXPECT_EQ(stored(u"Trans1Cfg", mapA, u"Asked"), u"1");
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"Asked"), u"2");
}

TEST_F(TrMapTranslatorsTest, ASideThatFailsHasNoDatabaseAndDoesNotDisturbTheOther)
{
    plugin1->givesNothing = true;
    com::Bstr database1, database2;
    EXPECT_EQ(map->GetCurrentDatabase(mapA, database1.put(), database2.put()), S_OK);
    EXPECT_EQ(database1.view(), u"");
    EXPECT_EQ(database2.view(), u"The database");
    plugin1->givesNothing = false;
    calls->throwOn("2 GetSyncParams", 2);
    EXPECT_EQ(map->GetCurrentDatabase(mapA, database1.put(), database2.put()), S_OK);
    EXPECT_EQ(database1.view(), u"The database");
    EXPECT_EQ(database2.view(), u"");
}

TEST_F(TrMapTranslatorsTest, ANullDatabaseIsTheEmptyText)
{
    plugin1->nullTexts = true;
    com::Bstr database1, database2;
    EXPECT_EQ(map->GetCurrentDatabase(mapA, database1.put(), database2.put()), S_OK);
    EXPECT_NE(database1.get(), nullptr);
    EXPECT_EQ(database1.view(), u"");
}

TEST_F(TrMapTranslatorsTest, TheDatabaseIsSetOnAnUninitialisedTranslator)
{
    const com::Bstr text(u"Elsewhere");
    EXPECT_EQ(map->SetDatabase(mapA, idTrans2, text.get()), S_OK);
    EXPECT_EQ(plugin2->database, u"Elsewhere");
    EXPECT_THAT(takeCalls(), ElementsAre("2 Create", "2 SetDatabase"));
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"Set"), u"2");
    calls->failOn("2 SetDatabase", 2, E_ACCESSDENIED);
    EXPECT_EQ(map->SetDatabase(mapA, idTrans2, text.get()), E_ACCESSDENIED);
}

TEST_F(TrMapTranslatorsTest, AConfiguredTranslatorIsOnlyCreated)
{
    com::Ptr<ITranslator> translator;
    EXPECT_EQ(map->GetConfiguredTranslator(mapA, idTrans2, translator.put()), S_OK);
    EXPECT_TRUE(translator);
    EXPECT_THAT(takeCalls(), ElementsAre("2 Create"));
    plugin1->givesNothing = true;
    EXPECT_TRUE(FAILED(map->GetConfiguredTranslator(mapA, idTrans1, translator.put())));
    EXPECT_FALSE(translator);
}

TEST_F(TrMapTranslatorsTest, AnyNumberButTheFirstMeansTheSecondSide)
{
    com::Ptr<ITranslator> translator;
    EXPECT_EQ(map->LoadTranslator(mapA, static_cast<_TransIds>(3), nullptr, VARIANT_FALSE, translator.put()), S_OK);
    EXPECT_EQ(stored(u"Trans2Cfg", mapA, u"Initialized"), u"2");
}

TEST_F(TrMapTranslatorsTest, MissingOutParametersAreRefused)
{
    com::Bstr text;
    EXPECT_EQ(map->LoadTranslator(mapA, idTrans1, nullptr, VARIANT_FALSE, nullptr), E_POINTER);
    EXPECT_EQ(map->GetConfiguredTranslator(mapA, idTrans1, nullptr), E_POINTER);
    EXPECT_EQ(map->ConfigureTranslator(mapA, idTrans1, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(map->ConfigureTranslator2(mapA, idTrans1, nullptr, text.put(), nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(map->GetCurrentDatabase(mapA, text.put(), nullptr), E_POINTER);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

} // namespace
