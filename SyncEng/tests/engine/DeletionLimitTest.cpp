// A run that would empty a store is refused before it writes, where the map has a limit.
#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::person;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr HRESULT refused = static_cast<HRESULT>(0x80040240);

// A host that is asked about the limit and answers as the test says.
class LimitReview final : public com::Object<ISyncEvents, IDeletionGuard> {
public:
    explicit LimitReview(IUnknown* outer) noexcept : Object(outer) {}
    bool allow = false;
    std::vector<std::string> asked;
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress, DOUBLE) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR, DOUBLE) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE OnDeletionLimit(_TransIds side, LONG linked, LONG deletions, LONG limit, VARIANT_BOOL* pAllow) override
    {
        asked.push_back(std::to_string(side) + ": " + std::to_string(deletions) + " of " + std::to_string(linked) + ", " +
                        std::to_string(limit));
        *pAllow = allow ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
};

class DeletionLimit : public testing::Test {
protected:
    void fill(int count, LONG limit)
    {
        for (int i = 0; i < count; ++i) s.one().add(person(u"A", (u"Name " + std::u16string(1, static_cast<char16_t>(u'a' + i))).c_str()));
        setLimit(limit);
        ASSERT_EQ(s.sync(), S_OK);
    }
    void setLimit(LONG limit)
    {
        s.makeMap();
        ASSERT_EQ(s.maps()->SetOption(s.map(), soDeletionLimit, com::Variant(limit)), S_OK);
    }
    void removeFromOne(int count)
    {
        for (int i = 0; i < count; ++i) s.one().remove(std::u16string(s.one().order.front()));
    }
    HRESULT syncWith(LimitReview* review)
    {
        const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
        com::Ptr<IConnectionPoint> point;
        DWORD cookie = 0;
        com::check(synchronizer.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point.put()));
        com::check(point->Advise(static_cast<ISyncEvents*>(review), &cookie));
        com::check(synchronizer->Initialize(nullptr, VARIANT_FALSE));
        const HRESULT hr = synchronizer->Synchronize(s.map(), VARIANT_TRUE);
        (void)point->Unadvise(cookie);
        return hr;
    }
    SyncScenario s;
};

} // namespace

TEST_F(DeletionLimit, RefusesARunThatWouldEmptyAStoreAndNamesTheEmptiedOne)
{
    fill(4, 50);
    removeFromOne(4);
    EXPECT_EQ(s.sync(), refused);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_THAT(s.two().records, SizeIs(4));
    EXPECT_EQ(s.lastError().first.find(u"First no longer has 4 of the 4 records that it shared with Second (store of A)"), 0u);
    VARIANT_BOOL good = VARIANT_TRUE;
    EXPECT_EQ(s.maps()->GetLastSyncStatus(s.map(), &good), S_OK);
    EXPECT_EQ(good, VARIANT_TRUE) << "a refusal leaves the status of the last run";
}

TEST_F(DeletionLimit, AllowsTheShareThatItNames)
{
    fill(4, 50);
    removeFromOne(2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(2));
}

TEST_F(DeletionLimit, DoesNotHoldAStoreOfThreeRecords)
{
    fill(3, 50);
    removeFromOne(2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
}

// As a folder where no drive is mounted, or a file of contacts that was made anew.
TEST_F(DeletionLimit, HoldsWhereAStoreHasNoRecordAnyMoreHoweverFewItHad)
{
    fill(1, 50);
    removeFromOne(1);
    EXPECT_EQ(s.sync(), refused);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_NE(s.lastError().first.find(u"has no record at all"), std::u16string::npos);
}

TEST_F(DeletionLimit, AnEmptiedStoreIsPutToTheHost)
{
    fill(2, 50);
    removeFromOne(2);
    const auto review = com::make<LimitReview>();
    EXPECT_EQ(syncWith(review.get()), refused);
    review->allow = true;
    EXPECT_EQ(syncWith(review.get()), S_OK);
    EXPECT_THAT(s.two().records, IsEmpty());
    EXPECT_THAT(review->asked, ElementsAre("2: 2 of 2, 50", "2: 2 of 2, 50"));
}

TEST_F(DeletionLimit, AStoreThatBothSidesEmptiedIsNoReasonToRefuse)
{
    fill(2, 50);
    removeFromOne(2);
    while (!s.two().order.empty()) s.two().remove(std::u16string(s.two().order.front()));
    EXPECT_EQ(s.sync(), S_OK);
    s.expectInStep();
}

TEST_F(DeletionLimit, TheLastCategoryMayBeDeleted)
{
    s.one().options.categories = s.two().options.categories = true;
    s.one().addCategory(u"Friends");
    setLimit(50);
    ASSERT_EQ(s.sync(), S_OK);
    ASSERT_THAT(s.two().categories, SizeIs(1));
    s.one().categories.clear();
    s.one().categoryOrder.clear();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().categories, IsEmpty());
}

TEST_F(DeletionLimit, IsOffForAMapThatDoesNotSetIt)
{
    for (const char16_t* last : {u"a", u"b", u"c", u"d", u"e"}) s.one().add(person(u"A", last));
    ASSERT_EQ(s.sync(), S_OK);
    removeFromOne(5);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, IsEmpty());
}

TEST_F(DeletionLimit, DoesNotCountWhatBothSidesDeleted)
{
    fill(6, 50);
    removeFromOne(4);
    while (s.two().order.size() > 2) s.two().remove(std::u16string(s.two().order.front()));
    EXPECT_EQ(s.sync(), S_OK);
    s.expectInStep();
}

TEST_F(DeletionLimit, MayBeLiftedOnceByTheHost)
{
    fill(5, 50);
    removeFromOne(4);
    const auto review = com::make<LimitReview>();
    EXPECT_EQ(syncWith(review.get()), refused);
    EXPECT_THAT(s.two().records, SizeIs(5));
    review->allow = true;
    EXPECT_EQ(syncWith(review.get()), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_THAT(review->asked, ElementsAre("2: 4 of 5, 50", "2: 4 of 5, 50"));
}

TEST_F(DeletionLimit, HoldsForCategoriesToo)
{
    s.one().options.categories = s.two().options.categories = true;
    for (const char16_t* name : {u"Friends", u"Work", u"Club", u"Family"}) s.one().addCategory(name);
    setLimit(50);
    ASSERT_EQ(s.sync(), S_OK);
    ASSERT_THAT(s.two().categories, SizeIs(4));
    s.one().categories.clear();
    s.one().categoryOrder.clear();
    EXPECT_EQ(s.sync(), refused);
    EXPECT_THAT(s.two().categories, SizeIs(4));
}
