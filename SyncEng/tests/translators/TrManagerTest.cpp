#include "TranslatorsFixture.h"

#include "error_text.h"
#include "foundation/Format.h"
#include "RegisteredPlugin.h"
#include "registry.h"
#include "text.h"
#include "ThrowingClass.h"

namespace {

using namespace mbtest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

class TrManagerTest : public TranslatorsTest {
protected:
    using Enumeration = HRESULT (STDMETHODCALLTYPE ITrManager::*)(LONG*, GUID**);
    std::vector<GUID> list(Enumeration enumeration)
    {
        LONG count = -1;
        com::TaskArray<GUID> ids;
        EXPECT_EQ(((*manager().get()).*enumeration)(&count, ids.put()), S_OK);
        EXPECT_EQ(ids.data() != nullptr, count > 0);
        return {ids.data(), ids.data() + std::max<LONG>(count, 0)};
    }
    static std::string utf8(REFGUID guid) { return platform::utf8(com::guidText(guid)); }
};

TEST_F(TrManagerTest, WithoutTranslatorsTheListIsEmptyAndTheLogHasOneLine)
{
    EXPECT_THAT(list(&ITrManager::EnumerateTranslators), IsEmpty());
    EXPECT_THAT(logLines("pEnum->Next"), ElementsAre("pEnum->Next returns S_FALSE. Enum number: 0"));
}

TEST_F(TrManagerTest, InstalledTranslatorsAreListedWithALineEach)
{
    EXPECT_EQ(loader()->Install(pluginClass1), S_OK);
    EXPECT_EQ(loader()->Install(unknownClass), S_OK);
    const auto found = list(&ITrManager::EnumerateTranslators);
    EXPECT_THAT(found, UnorderedElementsAre(pluginClass1, unknownClass)) << "no class is created, so none is left out";
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_THAT(logLines("pEnum->Next"), ElementsAre("pEnum->Next succeeded. Enum number: 0. Class id: " + utf8(found[0]),
                                                     "pEnum->Next succeeded. Enum number: 1. Class id: " + utf8(found[1]),
                                                     "pEnum->Next returns S_FALSE. Enum number: 2"));
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(TrManagerTest, AnUninstalledTranslatorIsNotListed)
{
    ASSERT_EQ(loader()->Install(pluginClass1), S_OK);
    ASSERT_EQ(loader()->Install(pluginClass2), S_OK);
    EXPECT_EQ(loader()->UnInstall(pluginClass1), S_OK);
    EXPECT_THAT(list(&ITrManager::EnumerateTranslators), ElementsAre(pluginClass2));
}

TEST_F(TrManagerTest, InstallingTwiceListsOnce)
{
    ASSERT_EQ(loader()->Install(pluginClass1), S_OK);
    ASSERT_EQ(loader()->Install(pluginClass1), S_OK);
    EXPECT_THAT(list(&ITrManager::EnumerateTranslators), ElementsAre(pluginClass1));
}

TEST_F(TrManagerTest, ClassesOfOtherKindsAreNotListed)
{
    ASSERT_TRUE(platform::createKeyPath(platform::Root::ClassesRoot, u"CLSID\\" + com::guidText(unknownClass) + u"\\InprocServer32"));
    ASSERT_TRUE(platform::createKeyPath(platform::Root::ClassesRoot, u"CLSID\\not a class"));
    EXPECT_THAT(list(&ITrManager::EnumerateTranslators), IsEmpty());
}

TEST_F(TrManagerTest, MapsAreListedInCreationOrder)
{
    EXPECT_THAT(list(&ITrManager::EnumerateMaps), IsEmpty());
    writePair(mapB);
    writePair(mapA);
    EXPECT_THAT(list(&ITrManager::EnumerateMaps), ElementsAre(mapB, mapA));
    EXPECT_THAT(list(&ITrManager::EnumerateMapsEx), ElementsAre(mapB, mapA));
}

TEST_F(TrManagerTest, EnumerateTranslatorsExListsMaps)
{
    ASSERT_EQ(loader()->Install(pluginClass1), S_OK);
    writePair(mapA);
    writePair(mapB);
    EXPECT_THAT(list(&ITrManager::EnumerateTranslatorsEx), ElementsAre(mapA, mapB));
}

TEST_F(TrManagerTest, MapsOfAClosedStoreCannotBeListed)
{
    ASSERT_EQ(mb::CloseConfigStore(), S_OK);
    LONG count = 9;
    GUID* ids = nullptr;
    EXPECT_EQ(manager()->EnumerateMaps(&count, &ids), E_POINTER);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(ids, nullptr);
}

TEST_F(TrManagerTest, ALoadedTranslatorIsNotInitialised)
{
    EXPECT_TRUE(load(pluginClass1));
    EXPECT_THAT(takeCalls(), ElementsAre("1 Create"));
}

TEST_F(TrManagerTest, LoadingAnUnregisteredClassFailsAndIsLogged)
{
    com::Ptr<ITranslator> translator;
    EXPECT_EQ(loader()->Load(unknownClass, translator.put()), REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(translator);
    EXPECT_THAT(logLines("loading module"), ElementsAre("Error -2147221164 occurred while loading module " + utf8(unknownClass)));
}

TEST_F(TrManagerTest, AClassThatSucceedsWithoutAnObjectFailsAndIsLogged)
{
    plugin1->givesNothing = true;
    com::Ptr<ITranslator> translator;
    EXPECT_TRUE(FAILED(loader()->Load(pluginClass1, translator.put())));
    EXPECT_FALSE(translator);
    EXPECT_THAT(logLines("loading module " + utf8(pluginClass1)), SizeIs(1));
}

TEST_F(TrManagerTest, AClassThatThrowsFailsAndIsLogged)
{
    calls->throwOn("1 Create", 1);
    com::Ptr<ITranslator> translator;
    EXPECT_TRUE(FAILED(loader()->Load(pluginClass1, translator.put())));
    EXPECT_FALSE(translator);
    EXPECT_THAT(logLines("loading module"), SizeIs(1));
    keptByRuntime = mbtest::keptOfThrowingClass;
}

TEST_F(TrManagerTest, AClassThatIsNotATranslatorFails)
{
    plugin1->refuse<ITranslator>();
    com::Ptr<ITranslator> translator;
    EXPECT_TRUE(FAILED(loader()->Load(pluginClass1, translator.put())));
    EXPECT_FALSE(translator);
}

TEST_F(TrManagerTest, DeletingAnUnknownMapSucceedsAndLeavesNoFile)
{
    EXPECT_EQ(manager()->DeleteMap(unknownClass), S_OK);
    EXPECT_FALSE(std::filesystem::exists(historyFile(unknownClass)));
}

TEST_F(TrManagerTest, DeletingAMapRemovesOnlyItsOwnFieldMapSettingsAndHistory)
{
    GUID doomed{}, kept{};
    for (GUID* map : {&doomed, &kept}) {
        ASSERT_EQ(maps()->Create(pluginClass1, pluginClass2, map), S_OK);
        for (const char16_t* type : {u"Trans1Cfg", u"Trans2Cfg"})
            ASSERT_EQ(mb::ConfigStore().WriteValue(type, com::guidText(*map), u"Key", u"value", false, true), S_OK);
        writeHistory(*map);
    }
    GUID doomedFields{}, keptFields{};
    ASSERT_EQ(maps()->GetFieldMap(doomed, &doomedFields), S_OK);
    ASSERT_EQ(maps()->GetFieldMap(kept, &keptFields), S_OK);

    EXPECT_EQ(manager()->DeleteMap(doomed), S_OK);
    ASSERT_EQ(mb::ConfigStore().Revert(), S_OK) << "from here on the saved file is read";
    EXPECT_THAT(list(&ITrManager::EnumerateMaps), ElementsAre(kept));
    EXPECT_EQ(stored(u"FieldMap", doomedFields, u"Trans1"), u"<none>");
    EXPECT_NE(stored(u"FieldMap", keptFields, u"Trans1"), u"<none>");
    for (const char16_t* type : {u"Trans1Cfg", u"Trans2Cfg"}) {
        EXPECT_EQ(stored(type, doomed, u"Key"), u"<none>");
        EXPECT_EQ(stored(type, kept, u"Key"), u"value");
    }
    EXPECT_FALSE(std::filesystem::exists(historyFile(doomed)));
    EXPECT_TRUE(std::filesystem::exists(historyFile(kept)));
}

TEST_F(TrManagerTest, AMapWithoutFieldMapCanBeDeleted)
{
    writePair(mapA);
    writeHistory(mapA);
    EXPECT_EQ(manager()->DeleteMap(mapA), S_OK);
    EXPECT_THAT(list(&ITrManager::EnumerateMaps), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(historyFile(mapA)));
}

TEST_F(TrManagerTest, DeletingAMapReturnsTheResultOfOpeningItsHistory)
{
    writePair(mapA);
    std::filesystem::create_directories(historyFile(mapA)); // a folder where the file should be
    EXPECT_TRUE(FAILED(manager()->DeleteMap(mapA)));
    EXPECT_NE(platform::takeErrorText().find(com::guidText(mapA)), std::u16string::npos) << "the error text names the file";
    EXPECT_THAT(list(&ITrManager::EnumerateMaps), IsEmpty()) << "the other steps are done";
}

TEST_F(TrManagerTest, MissingOutParametersAreRefused)
{
    LONG count = 0;
    EXPECT_EQ(manager()->EnumerateTranslators(&count, nullptr), E_POINTER);
    EXPECT_EQ(manager()->EnumerateMaps(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(loader()->Load(pluginClass1, nullptr), E_POINTER);
}

// With a real plug-in, loaded from its file.
TEST_F(TrManagerTest, APluginFileThatRegistersItselfIsFoundLoadedAndMapped)
{
    constexpr GUID vCardClass{0x86705195, 0xe5f6, 0x4fbc, {0xad, 0x43, 0xe8, 0x5e, 0xd5, 0x84, 0x3b, 0x9a}};
    const mbtest::RegisteredPlugin plugin(VCARD_PLUGIN, {vCardClass});
    const auto found = list(&ITrManager::EnumerateTranslators);
    ASSERT_THAT(found, SizeIs(1));
    com::Bstr name;
    EXPECT_EQ(maps()->GetName(found[0], VARIANT_FALSE, name.put()), S_OK);
    EXPECT_EQ(name.view(), u"vCard");
    GUID map{}, fields{};
    ASSERT_EQ(maps()->Create(found[0], found[0], &map), S_OK);
    ASSERT_EQ(maps()->GetFieldMap(map, &fields), S_OK);
    LONG count = 0;
    com::TaskArray<GUID> ids1, ids2;
    EXPECT_EQ(fieldMaps()->EnumerateEntriesEx(fields, load(found[0]).get(), load(found[0]).get(), &count, ids1.put(), ids2.put()), S_OK);
    ASSERT_GT(count, 10);
    for (LONG i = 0; i < count; ++i) EXPECT_EQ(ids1.data()[i], ids2.data()[i]);
}

} // namespace
