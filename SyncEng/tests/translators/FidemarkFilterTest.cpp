#include "TranslatorsFixture.h"

#include "foundation/Format.h"
#include <algorithm>
#include <fstream>
#include <functional>

namespace {

using namespace mbtest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class FidemarkFilterTest : public TranslatorsTest {
protected:
    com::Ptr<IFidemarkFilter> opened()
    {
        const auto filter = create<IFidemarkFilter>(__uuidof(TrManager));
        EXPECT_EQ(filter->OpenStore(), S_OK);
        return filter;
    }
    static HRESULT add(const com::Ptr<IFidemarkFilter>& filter, std::u16string_view file, std::u16string_view id)
    {
        return filter->AddEntry(com::Bstr(file).get(), com::Bstr(id).get());
    }
    static std::vector<std::u16string> list(const com::Ptr<IFidemarkFilter>& filter, std::u16string_view file)
    {
        std::vector<std::u16string> ids;
        com::Bstr id;
        const com::Bstr name(file);
        for (ULONG i = 0; SUCCEEDED(filter->EnumerateEntries(name.get(), i, id.put())); ++i) ids.push_back(id.text());
        return ids;
    }
    std::filesystem::path storePath() const { return folder.data() / "CNFilter.xml"; }
};

TEST_F(FidemarkFilterTest, EntriesAreListedByFileInInsertionOrder)
{
    const auto filter = opened();
    for (const char16_t* id : {u"c", u"a", u"b"}) EXPECT_EQ(add(filter, u"one.mbk", id), S_OK);
    EXPECT_EQ(add(filter, u"it's \"two\" & more", u"x"), S_OK);
    EXPECT_THAT(list(filter, u"one.mbk"), ElementsAre(u"c", u"a", u"b"));
    EXPECT_THAT(list(filter, u"it's \"two\" & more"), ElementsAre(u"x"));
    EXPECT_THAT(list(filter, u"unknown"), IsEmpty());
}

TEST_F(FidemarkFilterTest, AnIndexEqualToTheCountFails)
{
    const auto filter = opened();
    ASSERT_EQ(add(filter, u"f", u"a"), S_OK);
    com::Bstr id(u"before");
    EXPECT_EQ(filter->EnumerateEntries(com::Bstr(u"f").get(), 1, id.put()), E_FAIL);
    EXPECT_EQ(id.get(), nullptr);
    EXPECT_EQ(filter->EnumerateEntries(com::Bstr(u"f").get(), 0xFFFFFFFF, id.put()), E_FAIL);
    EXPECT_EQ(filter->EnumerateEntries(com::Bstr(u"f").get(), 0, id.put()), S_OK);
}

TEST_F(FidemarkFilterTest, AddingTheSameIdTwiceLeavesOneKey)
{
    const auto filter = opened();
    ASSERT_EQ(add(filter, u"f", u"a"), S_OK);
    EXPECT_EQ(add(filter, u"f", u"a"), S_OK);
    EXPECT_THAT(list(filter, u"f"), ElementsAre(u"a"));
}

TEST_F(FidemarkFilterTest, WhatIsWrittenIsSeenByTheNextEnumeration)
{
    const auto filter = opened();
    ASSERT_EQ(add(filter, u"f", u"a"), S_OK);
    EXPECT_THAT(list(filter, u"f"), ElementsAre(u"a"));
    ASSERT_EQ(add(filter, u"f", u"b"), S_OK);
    EXPECT_THAT(list(filter, u"f"), ElementsAre(u"a", u"b"));
    EXPECT_EQ(filter->DeleteEntry(com::Bstr(u"f").get(), com::Bstr(u"a").get()), S_OK);
    EXPECT_THAT(list(filter, u"f"), ElementsAre(u"b"));
}

TEST_F(FidemarkFilterTest, AddsReachTheFileAtTheNextDeleteOrAtTheClose)
{
    const auto filter = opened();
    const std::string before = folder.read(storePath());
    ASSERT_EQ(add(filter, u"f", u"a"), S_OK);
    EXPECT_EQ(folder.read(storePath()), before);
    EXPECT_EQ(filter->DeleteEntry(com::Bstr(u"other").get(), com::Bstr(u"none").get()), S_OK);
    const std::string deleted = folder.read(storePath());
    EXPECT_NE(deleted, before);
    ASSERT_EQ(add(filter, u"f", u"b"), S_OK);
    EXPECT_EQ(folder.read(storePath()), deleted);
    EXPECT_EQ(filter->CloseStore(), S_OK);
    EXPECT_THAT(list(opened(), u"f"), ElementsAre(u"a", u"b"));
}

TEST_F(FidemarkFilterTest, EachWayToDeleteReachesTheFileAtOnce)
{
    const auto filter = opened();
    const com::Bstr f(u"f"), a(u"a");
    const std::function<HRESULT()> deletes[] = {[&] { return filter->DeleteEntry(f.get(), a.get()); },
                                                [&] { return filter->DeleteEntry(f.get(), nullptr); },
                                                [&] { return filter->DeleteEntry(nullptr, nullptr); }};
    for (const auto& deleteEntry : deletes) {
        ASSERT_EQ(add(filter, u"f", u"a"), S_OK);
        ASSERT_EQ(add(filter, u"g", u"b"), S_OK);
        const std::string before = folder.read(storePath());
        EXPECT_THAT(list(filter, u"f"), ElementsAre(u"a"));
        EXPECT_EQ(deleteEntry(), S_OK);
        EXPECT_THAT(list(filter, u"f"), IsEmpty());
        EXPECT_NE(folder.read(storePath()), before);
    }
}

TEST_F(FidemarkFilterTest, AnEntryIsAKeyOfItsFileWithTheValue1)
{
    const auto filter = opened();
    ASSERT_EQ(add(filter, u"C:\\f.mbk", u"a"), S_OK);
    EXPECT_EQ(filter->CloseStore(), S_OK);
    mb::StoreFile file;
    std::u16string value;
    ASSERT_EQ(file.Open(storePath(), false), S_OK);
    EXPECT_EQ(file.ReadValue(u"Filter", u"C:\\f.mbk", u"a", value), S_OK);
    EXPECT_EQ(value, u"1");
}

TEST_F(FidemarkFilterTest, OpeningAgainSavesAndClosesTheFormerStore)
{
    const auto filter = opened();
    ASSERT_EQ(add(filter, u"f", u"a"), S_OK);
    EXPECT_EQ(filter->OpenStore(), S_OK);
    EXPECT_THAT(list(filter, u"f"), ElementsAre(u"a"));
}

TEST_F(FidemarkFilterTest, ReleasingTheObjectClosesItsStore)
{
    {
        const auto filter = opened();
        ASSERT_EQ(add(filter, u"f", u"a"), S_OK);
    }
    EXPECT_THAT(list(opened(), u"f"), ElementsAre(u"a"));
}

TEST_F(FidemarkFilterTest, ANullIdRemovesTheFileAndANullFileRemovesAll)
{
    const auto filter = opened();
    for (const char16_t* file : {u"f", u"g", u"h"}) ASSERT_EQ(add(filter, file, u"a"), S_OK);
    EXPECT_EQ(filter->DeleteEntry(com::Bstr(u"g").get(), nullptr), S_OK);
    EXPECT_THAT(list(filter, u"g"), IsEmpty());
    EXPECT_THAT(list(filter, u"f"), ElementsAre(u"a"));
    EXPECT_EQ(filter->DeleteEntry(nullptr, com::Bstr(u"a").get()), S_OK);
    EXPECT_THAT(list(filter, u"f"), IsEmpty());
    EXPECT_THAT(list(filter, u"h"), IsEmpty());
    EXPECT_EQ(filter->CloseStore(), S_OK);
    EXPECT_THAT(list(opened(), u"h"), IsEmpty());
}

TEST_F(FidemarkFilterTest, WithoutAStoreOrAnArgumentNothingIsDone)
{
    const auto filter = create<IFidemarkFilter>(__uuidof(TrManager));
    com::Bstr id;
    const com::Bstr file(u"f");
    EXPECT_EQ(filter->AddEntry(file.get(), file.get()), E_POINTER);
    EXPECT_EQ(filter->EnumerateEntries(file.get(), 0, id.put()), E_POINTER);
    EXPECT_EQ(filter->DeleteEntry(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(filter->CloseStore(), S_OK);
    EXPECT_FALSE(std::filesystem::exists(storePath()));
    ASSERT_EQ(filter->OpenStore(), S_OK);
    EXPECT_EQ(filter->AddEntry(nullptr, file.get()), E_POINTER);
    EXPECT_EQ(filter->AddEntry(file.get(), nullptr), E_POINTER);
    EXPECT_EQ(filter->EnumerateEntries(file.get(), 0, nullptr), E_POINTER);
    EXPECT_EQ(filter->EnumerateEntries(nullptr, 0, id.put()), E_FAIL) << "a null file has no entries";
}

TEST_F(FidemarkFilterTest, ADamagedFileIsKeptAndReplacedByAnEmptyStore)
{
    std::filesystem::create_directories(folder.data());
    std::ofstream(storePath()) << "<broken";
    const auto filter = opened();
    EXPECT_EQ(add(filter, u"f", u"a"), S_OK);
    EXPECT_EQ(filter->CloseStore(), S_OK);
    EXPECT_EQ(folder.read(storePath().string() + ".damaged"), "<broken");
}

} // namespace
