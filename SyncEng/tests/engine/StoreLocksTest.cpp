// Runs of maps that share a store are kept apart; runs of other maps are not.
#include "dialogs/Dialog.h"
#include "engine/EngineCodes.h"
#include "engine/RunLocks.h"
#include "FakeServices.h"
#include "files.h"
#include "foundation/ClassTable.h"
#include "FrontEndFake.h"
#include "People.h"
#include "SyncScenario.h"
#include "text.h"
#include "translators/SideSettings.h"

#include <condition_variable>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <mutex>
#include <optional>
#include <thread>

namespace {

using mb::codeInUse;
using mb::ContactStore;
using mb::RunLocks;
using mbtest::person;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

ContactStore storeNamed(const std::u16string& database) { return {mbtest::fakeClass1, database}; }

class UnreadableSettings final : public mbtest::FakeServices {
public:
    using FakeServices::FakeServices;
    HRESULT STDMETHODCALLTYPE GetString(BSTR, BSTR*) override { return E_ACCESSDENIED; }
};

HRESULT createNone(IUnknown*, REFIID, void**) noexcept { return E_OUTOFMEMORY; }

constexpr com::ClassEntry unreadableRows{&__uuidof(DataStream), u"", u"", com::create<UnreadableSettings>},
    missingRows{&__uuidof(TrServices), u"", u"", createNone};

class StoreLocks : public testing::Test {
protected:
    StoreLocks()
    {
        s.makeMap();
        s.one().add(person(u"Ada", u"Lovelace"));
    }
    void setDatabase(const GUID& map, _TransIds side, const std::u16string& name)
    {
        com::Ptr<IDataStream> settings;
        ASSERT_EQ(mb::MakeSettings(map, side, settings), S_OK);
        ASSERT_EQ(settings->SetString(com::Bstr(u"Database").get(), com::Bstr(name).get()), S_OK);
    }
    [[nodiscard]] std::u16string place(const char* name) const { return platform::textOf(s.folder.path() / name); }
    // Does this while another thread holds the locks of these stores.
    static void whileInUse(const std::vector<ContactStore>& stores, const std::function<void()>& work, bool mayAsk = false)
    {
        std::promise<HRESULT> taken;
        std::promise<void> done;
        std::thread holder([&] {
            RunLocks locks;
            taken.set_value(locks.take(stores, mayAsk));
            done.get_future().wait();
        });
        EXPECT_EQ(taken.get_future().get(), S_OK);
        work();
        done.set_value();
        holder.join();
    }
    // What another thread gets that wants the store now.
    static HRESULT takenElsewhere(const ContactStore& store)
    {
        HRESULT hr = S_OK;
        std::thread([&] {
            RunLocks locks;
            hr = locks.take({store}, false);
        }).join();
        return hr;
    }
    SyncScenario s;
};

} // namespace

TEST_F(StoreLocks, OfARunRefuseAMapThatSharesAStoreBeforeItsTranslatorsAreStarted)
{
    setDatabase(s.map(), idTrans1, place("First"));
    setDatabase(s.map(), idTrans2, place("Shared"));
    whileInUse({storeNamed(place("Shared"))}, [&] {
        EXPECT_EQ(s.sync(), codeInUse);
        EXPECT_THAT(s.log().lines, IsEmpty());
        EXPECT_THAT(platform::utf8(s.lastError().first), HasSubstr(", process "));
        EXPECT_THAT(platform::utf8(s.lastError().first), HasSubstr(platform::utf8(place("Shared"))));
        EXPECT_EQ(takenElsewhere(storeNamed(place("First"))), S_OK) << "a refused run holds nothing";
    });
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_EQ(takenElsewhere(storeNamed(place("Shared"))), S_OK);
}

// The store that they name would be opened without its lock.
TEST_F(StoreLocks, AreNotLeftOutWhereTheSettingsCannotBeRead)
{
    for (const auto& rows : {unreadableRows, missingRows}) {
        const mb::ClassOverride broken(std::span(&rows, 1));
        EXPECT_TRUE(FAILED(s.sync()));
        EXPECT_THAT(s.log().lines, IsEmpty());
        EXPECT_THAT(platform::utf8(s.lastError().first), HasSubstr("could not be read"));
    }
    EXPECT_EQ(s.sync(), S_OK);
}

TEST_F(StoreLocks, OfOtherStoresLetAMapRun)
{
    setDatabase(s.map(), idTrans1, place("First"));
    setDatabase(s.map(), idTrans2, place("Second"));
    whileInUse({storeNamed(place("Third")), storeNamed(place("Fourth"))}, [&] { EXPECT_EQ(s.sync(), S_OK); });
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST_F(StoreLocks, TellWhetherTheRunThatHoldsThemMayWaitForItsUser)
{
    setDatabase(s.map(), idTrans2, place("Shared"));
    for (const bool mayAsk : {false, true})
        whileInUse(
            {storeNamed(place("Shared"))},
            [&] {
                EXPECT_EQ(s.sync(), codeInUse);
                EXPECT_EQ(s.lastCode().lVal, mayAsk ? codeInUse : mb::codeInUseSilently);
            },
            mayAsk);
}

TEST_F(StoreLocks, RefuseAReSyncWithoutMakingAReSyncOfTheNextRun)
{
    setDatabase(s.map(), idTrans2, place("Shared"));
    ASSERT_EQ(s.sync(), S_OK);
    whileInUse({storeNamed(place("Shared"))}, [&] { EXPECT_EQ(s.resync(), codeInUse); });
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), Not(HasSubstr("First time synchronization")));
}

// Its settings name no database, so its name is known only once the translator has told it.
TEST_F(StoreLocks, OfAStoreThatOnlyItsTranslatorCanNameAreTakenBeforeARecordIsRead)
{
    s.two().options.database = place("Shared");
    whileInUse({storeNamed(place("Shared"))}, [&] {
        EXPECT_EQ(s.sync(), codeInUse);
        EXPECT_THAT(s.log().starting("2 GetSyncParams"), SizeIs(1));
        EXPECT_THAT(s.log().starting("2 Cleanup"), SizeIs(1));
        EXPECT_THAT(s.log().starting("1 GetRecordCount"), IsEmpty());
        EXPECT_THAT(platform::utf8(s.lastError().first), HasSubstr(", process "));
    });
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
    whileInUse({storeNamed(place("Shared"))}, [&] {
        EXPECT_EQ(s.sync(), codeInUse);
        EXPECT_THAT(s.log().lines, IsEmpty()) << "the last run has recorded the name";
    });
}

TEST_F(StoreLocks, AreHeldWhileAQuestionWaitsForItsAnswer)
{
    setDatabase(s.map(), idTrans2, place("Shared"));
    mbtest::FrontEndFake user;
    HRESULT meanwhile = S_OK;
    user.script.emplace_back([&](mb::Dialog& dialog) {
        meanwhile = takenElsewhere(storeNamed(place("Shared")));
        dialog.press(mb::idOk);
    });
    EXPECT_EQ(s.syncAsking(), S_OK);
    EXPECT_EQ(meanwhile, codeInUse);
    EXPECT_EQ(takenElsewhere(storeNamed(place("Shared"))), S_OK);
}

TEST_F(StoreLocks, AreHeldToTheEndOfARunThatStartsOver)
{
    setDatabase(s.map(), idTrans2, place("Shared"));
    s.log().failOn("1 Initialize", 1, mb::codeRunAgain);
    HRESULT meanwhile = S_OK;
    s.two().options.rewrite = [&](LONG, const std::u16string& text) {
        meanwhile = takenElsewhere(storeNamed(place("Shared")));
        return text;
    };
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 Initialize"), SizeIs(2));
    EXPECT_EQ(meanwhile, codeInUse);
}

TEST_F(StoreLocks, LetTheirThreadRunAnotherMapInTheMidstOfARun)
{
    const GUID other = s.addMap();
    for (const GUID& map : {s.map(), other}) setDatabase(map, idTrans2, place("Shared"));
    std::optional<HRESULT> inner, afterInner;
    s.two().options.rewrite = [&](LONG, const std::u16string& text) {
        if (inner) return text;
        inner = E_FAIL;
        const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
        EXPECT_EQ(synchronizer->Initialize(nullptr, VARIANT_FALSE), S_OK);
        inner = synchronizer->Synchronize(other, VARIANT_TRUE);
        afterInner = takenElsewhere(storeNamed(place("Shared")));
        EXPECT_EQ(synchronizer->Cleanup(), S_OK);
        return text;
    };
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(inner, S_OK);
    EXPECT_EQ(afterInner, codeInUse) << "the outer run goes on";
}

TEST_F(StoreLocks, AreTakenInOneOrderForAllRuns)
{
    const std::vector<ContactStore> ab{storeNamed(place("A")), storeNamed(place("B"))}, ba{ab[1], ab[0]};
    whileInUse(ab, [&] {
        RunLocks one, other;
        EXPECT_EQ(one.take(ab, false), codeInUse);
        EXPECT_EQ(other.take(ba, false), codeInUse);
        EXPECT_EQ(one.failure(), other.failure()) << "both were refused the same store first";
    });
}

namespace {

// Two threads wait for each other. std::barrier of this compiler sometimes loses a wake-up under Wine.
class Meeting {
public:
    void arrive_and_wait()
    {
        std::unique_lock lock(mutex_);
        const int round = round_;
        if (++arrived_ == 2) {
            arrived_ = 0;
            ++round_;
            both_.notify_all();
            return;
        }
        both_.wait(lock, [&] { return round_ != round; });
    }

private:
    std::mutex mutex_;
    std::condition_variable both_;
    int arrived_ = 0, round_ = 0;
};

} // namespace

TEST_F(StoreLocks, LetOneOfTwoRunsWithTheSameStoresGoOn)
{
    const std::vector<ContactStore> ab{storeNamed(place("A")), storeNamed(place("B"))}, ba{ab[1], ab[0]};
    constexpr int rounds = 300;
    Meeting meet;
    std::vector<HRESULT> results[2];
    const auto takeAndRelease = [&](const std::vector<ContactStore>& stores, std::vector<HRESULT>& given) {
        for (int round = 0; round < rounds; ++round) {
            RunLocks locks;
            meet.arrive_and_wait();
            given.push_back(locks.take(stores, false));
            meet.arrive_and_wait();
        }
    };
    std::thread second([&] { takeAndRelease(ba, results[1]); });
    takeAndRelease(ab, results[0]);
    second.join();
    for (int round = 0; round < rounds; ++round) {
        const HRESULT one = results[0][round], other = results[1][round];
        EXPECT_TRUE((one == S_OK && other == codeInUse) || (one == codeInUse && other == S_OK)) << round;
    }
}

TEST_F(StoreLocks, AreAllTakenOrNone)
{
    RunLocks locks;
    ASSERT_EQ(locks.take({storeNamed(place("Held"))}, false), S_OK);
    for (const char* inUse : {"A", "B", "C"})
        whileInUse({storeNamed(place(inUse))}, [&] {
            EXPECT_EQ(locks.take({storeNamed(place("A")), storeNamed(place("B")), storeNamed(place("C"))}, false), codeInUse);
            for (const char* each : {"A", "B", "C"})
                EXPECT_EQ(takenElsewhere(storeNamed(place(each))), std::string(each) == inUse ? codeInUse : S_OK) << each;
        });
    EXPECT_EQ(takenElsewhere(storeNamed(place("Held"))), codeInUse);
    EXPECT_EQ(locks.take({{}}, false), S_OK) << "a store without a name";
}
