// A map has one run at a time, and nobody else changes its history meanwhile.
#include "dialogs/Dialog.h"
#include "FrontEndFake.h"
#include "People.h"
#include "store/StoreLock.h"
#include "SyncScenario.h"
#include "text.h"

#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <thread>

namespace {

using mb::codeInUse;
using mb::StoreLock;
using mbtest::person;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::SizeIs;

// Does this while another thread holds the map's lock.
void whileInUse(const GUID& map, const std::function<void()>& work)
{
    std::promise<HRESULT> taken;
    std::promise<void> done;
    std::thread holder([&] {
        StoreLock lock;
        taken.set_value(lock.takeMap(map));
        done.get_future().wait();
    });
    EXPECT_EQ(taken.get_future().get(), S_OK);
    work();
    done.set_value();
    holder.join();
}

// What another thread gets that wants to run the map now.
HRESULT takenElsewhere(const GUID& map)
{
    HRESULT hr = S_OK;
    std::thread([&] {
        StoreLock lock;
        hr = lock.takeMap(map);
    }).join();
    return hr;
}

} // namespace

TEST(MapLock, ARunOfAMapThatIsInUseDoesNothingAndNamesWhoHasIt)
{
    SyncScenario s;
    s.makeMap();
    s.one().add(person(u"Ada", u"Lovelace"));
    whileInUse(s.map(), [&] {
        EXPECT_EQ(s.sync(), codeInUse);
        EXPECT_THAT(s.two().records, SizeIs(0));
        EXPECT_THAT(s.log().lines, SizeIs(0)) << "no translator was started";
        EXPECT_THAT(platform::utf8(s.lastError().first), HasSubstr(", process "));
        EXPECT_EQ(s.lastCode().lVal, codeInUse);
    });
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(MapLock, AReSyncThatWasRefusedDoesNotMakeAReSyncOfTheNextRun)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(s.sync(), S_OK);
    whileInUse(s.map(), [&] { EXPECT_EQ(s.resync(), codeInUse); });
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), Not(HasSubstr("First time synchronization")));
}

TEST(MapLock, TheThreadThatHoldsAMapMayRunIt)
{
    SyncScenario s;
    s.makeMap();
    StoreLock lock;
    ASSERT_EQ(lock.takeMap(s.map()), S_OK);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(takenElsewhere(s.map()), codeInUse);
}

TEST(MapLock, AnotherMapRunsMeanwhile)
{
    SyncScenario s;
    s.makeMap();
    const GUID other = s.addMap();
    whileInUse(s.map(), [&] { EXPECT_EQ(s.syncMap(other), S_OK); });
}

TEST(MapLock, AQuestionThatWaitsForItsAnswerHoldsTheMap)
{
    SyncScenario s;
    mbtest::FrontEndFake user;
    s.makeMap();
    s.one().add(person(u"Ada", u"Lovelace"));
    HRESULT meanwhile = S_OK;
    user.script.emplace_back([&](mb::Dialog& dialog) {
        meanwhile = takenElsewhere(s.map());
        dialog.press(mb::idOk);
    });
    EXPECT_EQ(s.syncAsking(), S_OK);
    EXPECT_EQ(meanwhile, codeInUse);
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_EQ(takenElsewhere(s.map()), S_OK);
}

TEST(MapLock, ARunThatStartsOverHoldsTheMapToItsEnd)
{
    SyncScenario s;
    s.makeMap();
    s.one().add(person(u"Ada", u"Lovelace"));
    s.log().failOn("1 Initialize", 1, static_cast<HRESULT>(0x80040212)); // run again
    HRESULT meanwhile = S_OK;
    s.two().options.rewrite = [&](LONG, const std::u16string& text) {
        meanwhile = takenElsewhere(s.map());
        return text;
    };
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 Initialize"), SizeIs(2));
    EXPECT_EQ(meanwhile, codeInUse);
}

TEST(MapLock, AMapIsNotRemovedWhileItIsInUse)
{
    SyncScenario s;
    s.makeMap();
    ASSERT_EQ(s.sync(), S_OK);
    const auto manager = s.create<ITrManager>(__uuidof(TrManager));
    whileInUse(s.map(), [&] { EXPECT_EQ(manager->DeleteMap(s.map()), codeInUse); });
    EXPECT_TRUE(std::filesystem::exists(s.historyFile()));
    EXPECT_EQ(manager->DeleteMap(s.map()), S_OK);
    EXPECT_FALSE(std::filesystem::exists(s.historyFile()));
}

TEST(MapLock, WhatARunRemembersIsNotChangedWhileItRuns)
{
    SyncScenario s;
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(s.sync(), S_OK);
    const auto view = s.create<IFidemarkSupport>(__uuidof(TrManager));
    ASSERT_EQ(view->Initialize(s.map()), S_OK);
    const com::Bstr id(ada), name(u"x"), section(u"Trans1");
    whileInUse(s.map(), [&] {
        EXPECT_EQ(s.maps()->SetLastSyncTime(s.map(), 1.0), codeInUse);
        EXPECT_EQ(s.maps()->SetLastSyncDatabases(s.map(), name.get(), name.get()), codeInUse);
        EXPECT_EQ(s.maps()->SetFieldMapStatusForHistRecs(s.map(), section.get(), VARIANT_TRUE), codeInUse);
        EXPECT_EQ(view->SetRecordStatus(idTrans1, id.get(), 1), codeInUse);
        LONG known = 0, missing = 0;
        com::Bstr message;
        EXPECT_EQ(s.create<IStoreMove>(__uuidof(TrManager))
                      ->MoveStore(s.map(), idTrans1, name.get(), VARIANT_TRUE, &known, &missing, message.put()),
                  codeInUse);
        EXPECT_THAT(platform::utf8(message.view()), HasSubstr(", process "));
    });
    EXPECT_EQ(view->SetRecordStatus(idTrans1, id.get(), 1), S_OK);
}

// A host may keep its view of a history open over many runs.
TEST(MapLock, AStatusThatIsSetInAnOldViewKeepsWhatARunHasWrittenSince)
{
    SyncScenario s;
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    ASSERT_EQ(s.sync(), S_OK);
    const auto view = s.create<IFidemarkSupport>(__uuidof(TrManager));
    ASSERT_EQ(view->Initialize(s.map()), S_OK);
    s.one().add(person(u"Grace", u"Hopper"));
    ASSERT_EQ(s.sync(), S_OK);
    EXPECT_EQ(view->SetRecordStatus(idTrans1, com::Bstr(ada).get(), 1), S_OK);
    EXPECT_THAT(s.rememberedRecords(idTrans1), SizeIs(2));
    s.expectInStep();
}
