#include "ConformanceTest.h"

namespace mbtest {
namespace {

class PluginOpening : public Conformance {};

} // namespace

TEST_P(Conformance, AnEmptyStoreHasNoRecords)
{
    Translator translator = open();
    EXPECT_TRUE(ids(translator).empty());
    com::Bstr id;
    EXPECT_TRUE(FAILED(translator->GetRecordID(0, id.put())));
    close(translator);
}

TEST_P(PluginOpening, AStoreWithoutADatabaseReportsWhatIsMissing)
{
    for (const bool absent : {true, false}) {
        subject().services->values.clear();
        if (!absent) subject().services->values[u"Database"] = u"";
        Translator translator = subject().create();
        EXPECT_TRUE(FAILED(translator->Initialize(subject().services.get(), nullptr, VARIANT_FALSE)));
        com::Variant code;
        com::Bstr message1, message2;
        EXPECT_EQ(translator.as<ITranslatorInfo>()->GetLastError(code.put(), message1.put(), message2.put()), S_OK);
        EXPECT_GT(message1.view().size(), 10u);
        (void)translator->Cleanup(); // is also called after a failure
    }
}

TEST_P(PluginOpening, ADatabaseInAMissingFolderIsRefusedAndNothingIsCreated)
{
    const auto path = subject().folder.path() / "none" / "deeper" / "store";
    subject().services->values[u"Database"] = path.u16string();
    Translator translator = subject().create();
    EXPECT_TRUE(FAILED(translator->Initialize(subject().services.get(), nullptr, VARIANT_FALSE)));
    (void)translator->Cleanup();
    EXPECT_FALSE(std::filesystem::exists(subject().folder.path() / "none"));
}

TEST_P(PluginOpening, AStoreThatIsGoneIsRefusedByARunAndNotCreatedAnew)
{
    const std::filesystem::path path = subject().services->values[u"Database"];
    std::filesystem::remove_all(path);
    Translator translator = subject().create();
    EXPECT_TRUE(FAILED(translator->Initialize(subject().services.get(), nullptr, VARIANT_FALSE)));
    (void)translator->Cleanup();
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_P(Conformance, TheDatabaseCanBeReadAndSetWithoutAnOpenStore)
{
    const Translator translator = subject().create();
    com::Bstr database, description;
    const auto path = subject().folder.path() / "other" / u"st\u00F6re";
    EXPECT_EQ(translator->SetDatabase(subject().services.get(), bstr(path.u16string()).get()), S_OK);
    EXPECT_EQ(translator->GetSyncParams(subject().services.get(), database.put(), description.put()), S_OK);
    EXPECT_EQ(database.view(), path.u16string());
    EXPECT_FALSE(description.empty());
}

TEST_P(Conformance, TheCapabilitiesAllowSynchronisation)
{
    const Translator translator = subject().create();
    ULONG caps = 0;
    EXPECT_EQ(translator->GetTranslatorCaps(&caps), S_OK);
    EXPECT_NE(caps & (capRecordGUIDs | capTimestamps), 0u) << "without both no record can be linked";
}

TEST_P(Conformance, EveryCallFailsBeforeTheStoreIsOpened)
{
    const Translator translator = subject().create();
    LONG count = 0;
    com::Bstr id;
    com::Variant value;
    EXPECT_TRUE(FAILED(translator->GetRecordCount(&count)));
    EXPECT_TRUE(FAILED(translator->GetRecordID(0, id.put())));
    EXPECT_TRUE(FAILED(translator->FindRecord(bstr(u"A000001").get())));
    EXPECT_TRUE(FAILED(translator->BeginReadRecord(bstr(u"A000001").get())));
    EXPECT_TRUE(FAILED(translator->ReadField(bstr(u"A000001").get(), fields_[0].guid, value.put())));
    EXPECT_TRUE(FAILED(translator->BeginAddRecord(id.put())));
    EXPECT_TRUE(FAILED(translator->DeleteRecord(bstr(u"A000001").get())));
    EXPECT_TRUE(FAILED(translator->BeginUpdate()));
}

TEST_P(Conformance, AfterCleanupANewObjectCanBeUsed)
{
    Translator first = open();
    const std::u16string id = addAlone(first, {{fieldOf(ftLastName), u"Lovelace"}});
    EXPECT_EQ(first->Cleanup(), S_OK);
    LONG count = 0;
    EXPECT_TRUE(FAILED(first->GetRecordCount(&count))) << "the object is closed";
    EXPECT_TRUE(FAILED(first->FindRecord(bstr(id).get())));
    EXPECT_EQ(first->Cleanup(), S_OK);
    Translator second = open();
    EXPECT_EQ(ids(second), std::vector{id});
    close(second);
}

TEST_P(Conformance, CleanupOfAnObjectThatWasNeverOpenedIsHarmless) { EXPECT_EQ(subject().create()->Cleanup(), S_OK); }

TEST_P(Conformance, AnObjectThatIsReleasedWithoutCleanupLosesNoSavedRecord)
{
    std::u16string id;
    {
        const Translator translator = open();
        id = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    }
    Translator again = open();
    EXPECT_EQ(ids(again), std::vector{id});
    close(again);
}

INSTANTIATE_TEST_SUITE_P(All, PluginOpening, testing::ValuesIn(plugins()), nameOf);

} // namespace mbtest
