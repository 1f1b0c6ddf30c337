#include "FakeServices.h"
#include "FakeTranslator.h"
#include "MemoryStore.h"
#include "RegisteredMap.h"
#include "TestFolder.h"

#include <gmock/gmock.h>

namespace mb::plugin {
namespace {

using mbtest::FakeValues;

MemoryStore* opened = nullptr; // filled by the test, owned by the translator that opens it

std::unique_ptr<RecordStore> takeStore(const std::string&, Report) { return std::unique_ptr<RecordStore>(std::exchange(opened, nullptr)); }
// Not takeStore itself: the translator recognises categories by the function's address.
std::unique_ptr<RecordStore> takeCategories(const std::string& database, Report report) { return takeStore(database, std::move(report)); }

constexpr GUID fieldBase{0x51D60000, 0, 0x4E1B, {0x9A, 0x10, 0x3C, 0x55, 0x7E, 0x20, 0x61, 0x0B}};

constexpr PluginInfo finding{u"Memory", u"Memory", u"Memory", fieldBase, memoryFields, takeStore, takeCategories, true, nullptr, true};
constexpr PluginInfo notFinding{u"Memory", u"Memory", u"Memory", fieldBase, memoryFields, takeStore};

class Translator final : public StoreTranslator {
public:
    explicit Translator(IUnknown* outer) noexcept : StoreTranslator(outer, finding) {}
};
class PlainTranslator final : public StoreTranslator {
public:
    explicit PlainTranslator(IUnknown* outer) noexcept : StoreTranslator(outer, notFinding) {}
};

GUID ownField(LONG type)
{
    GUID guid = fieldBase;
    guid.Data2 = static_cast<std::uint16_t>(type);
    return guid;
}

class StoreDuplicates : public testing::Test {
protected:
    StoreDuplicates()
    {
        services_->values[u"Database"] = u"memory";
        other_->addImageFields();
        com::check(mbtest::createFake({"1", other_, log_}, nullptr, __uuidof(ITranslator), translator1_.putVoid()));
        com::check(translator1_->Initialize(nullptr, nullptr, VARIANT_FALSE));
    }
    ~StoreDuplicates() override { delete std::exchange(opened, nullptr); }

    template <class T> com::Ptr<ITranslator> make() { return com::make<T>(); }
    // Returns a translator whose store contains these records.
    com::Ptr<ITranslator> open(const std::vector<MemoryRecord>& records)
    {
        auto translator = make<Translator>();
        opened = new MemoryStore;
        opened->records = records;
        EXPECT_EQ(translator->Initialize(services_.get(), nullptr, VARIANT_FALSE), S_OK);
        return translator;
    }
    // Returns a map in which each type is mapped to itself.
    mbtest::RegisteredMap map(const std::vector<LONG>& types)
    {
        std::vector<std::pair<GUID, GUID>> pairs;
        for (const LONG type : types) pairs.emplace_back(other_->guidOf(type), ownField(type));
        return {folder_.path(), pairs};
    }
    HRESULT begin(const com::Ptr<ITranslator>& translator, const GUID& map, const std::vector<std::u16string>& known = {})
    {
        SAFEARRAY* const array = known.empty() ? nullptr : com::makeTextArray(known);
        const HRESULT hr = translator.as<IDuplicateFinder>()->BeginFindDuplicate(map, translator1_.get(), array);
        if (array) SafeArrayDestroy(array);
        return hr;
    }
    HRESULT find(const com::Ptr<ITranslator>& translator, const std::u16string& id, std::u16string& found)
    {
        const com::Bstr leftOver(u"left over"); // the caller keeps ownership: the method overwrites the pointer without freeing it
        BSTR named = leftOver.get();
        const HRESULT hr = translator.as<IDuplicateFinder>()->FindDuplicate(translator1_.get(), com::Bstr(id).get(), nullptr, &named);
        found = com::textOf(named);
        if (named != leftOver.get()) SysFreeString(named);
        return hr;
    }
    std::u16string find(const com::Ptr<ITranslator>& translator, const std::u16string& id)
    {
        std::u16string found;
        EXPECT_EQ(find(translator, id, found), S_OK);
        return found;
    }
    static HRESULT end(const com::Ptr<ITranslator>& translator) { return translator.as<IDuplicateFinder>()->EndFindDuplicate(); }

    mbtest::TestFolder folder_;
    com::Ptr<mbtest::FakeServices> services_ = com::make<mbtest::FakeServices>();
    std::shared_ptr<mbtest::FakeStore> other_ = std::make_shared<mbtest::FakeStore>(u"A");
    std::shared_ptr<mbtest::CallLog> log_ = std::make_shared<mbtest::CallLog>();
    com::Ptr<ITranslator> translator1_;
};

TEST_F(StoreDuplicates, FindsUnknownEqualRecordsUntilTheSearchEnds)
{
    const auto registered = map({ftLastName, ftEmail1});
    const auto id = other_->add({{ftLastName, u"Smith"}, {ftEmail1, u"b@example.org"}, {ftTitle, u"not mapped"}});
    const auto translator = open({{"first", {{ftLastName, u"Smith"}, {ftEmail1, u"a@example.org"}}, {}},
                                  {"known", {{ftLastName, u"Smith"}, {ftEmail1, u"b@example.org"}}, {}},
                                  {"third", {{ftLastName, u"Smith"}, {ftEmail1, u"b@example.org"}}, {}}});
    ASSERT_EQ(begin(translator, registered.id(), {u"KNOWN"}), S_OK);
    EXPECT_EQ(find(translator, id), u"third");
    EXPECT_EQ(find(translator, id), u"") << "each record is named once";
    EXPECT_EQ(end(translator), S_OK);
    std::u16string found;
    EXPECT_TRUE(FAILED(find(translator, id, found)));
    EXPECT_EQ(found, u"");
    EXPECT_EQ(end(translator), S_OK) << "an end without a begin is allowed";
}

TEST_F(StoreDuplicates, ASearchThatCouldNotBeginFindsNothing)
{
    const auto id = other_->add({{ftLastName, u"Smith"}});
    const auto translator = open({{"1", {{ftLastName, u"Smith"}}, {}}});
    std::u16string found;
    EXPECT_EQ(begin(translator, com::newGuid()), REGDB_E_CLASSNOTREG) << "the engine is not registered";
    EXPECT_TRUE(FAILED(find(translator, id, found)));
    {
        const auto images = map({ftImage1});
        EXPECT_TRUE(FAILED(begin(translator, images.id())));
        EXPECT_TRUE(FAILED(find(translator, id, found)));
        EXPECT_TRUE(FAILED(begin(translator, com::newGuid()))) << "an unknown map";
    }
    const auto registered = map({ftLastName});
    ASSERT_EQ(begin(translator, registered.id()), S_OK);
    EXPECT_EQ(find(translator, id), u"1");
    EXPECT_TRUE(FAILED(begin(translator, com::newGuid())));
    EXPECT_TRUE(FAILED(find(translator, id, found))) << "the previous search has ended";
}

TEST_F(StoreDuplicates, AnAbortOfTheOtherTranslatorIsReturned)
{
    const auto registered = map({ftLastName});
    const auto id = other_->add({{ftLastName, u"Smith"}});
    const auto translator = open({{"1", {{ftLastName, u"Smith"}}, {}}});
    ASSERT_EQ(begin(translator, registered.id()), S_OK);
    std::u16string found;
    for (const char* method : {"1 BeginReadRecord", "1 ReadField"}) {
        log_->failOn(method, log_->count(method) + 1, E_ABORT);
        EXPECT_EQ(find(translator, id, found), E_ABORT) << method;
        EXPECT_EQ(found, u"");
    }
    EXPECT_EQ(find(translator, id), u"1");
}

TEST_F(StoreDuplicates, ARunWithoutImagesComparesNone)
{
    const auto registered = map({ftLastName, ftImage1});
    const auto id = other_->add({{ftLastName, u"Smith"}, {ftImage1, u"ab"}});
    const auto translator = open({{"1", {{ftLastName, u"Smith"}}, {}}});
    ASSERT_EQ(begin(translator, registered.id()), S_OK);
    EXPECT_EQ(find(translator, id), u"") << "only one of the records has an image";
    ASSERT_EQ(translator.as<IImageSupport>()->SetAllowImage(VARIANT_FALSE), S_OK);
    ASSERT_EQ(begin(translator, registered.id()), S_OK);
    EXPECT_EQ(find(translator, id), u"1");
    ASSERT_EQ(translator.as<IImageSupport>()->SetAllowImage(VARIANT_TRUE), S_OK);
    other_->options.images = false;
    ASSERT_EQ(begin(translator, registered.id()), S_OK);
    EXPECT_EQ(find(translator, id), u"1") << "translator 1 takes no images";
}

TEST_F(StoreDuplicates, IsOfferedOnlyIfThePluginEnablesIt)
{
    EXPECT_TRUE(make<Translator>().tryAs<IDuplicateFinder>());
    EXPECT_FALSE(make<PlainTranslator>().tryAs<IDuplicateFinder>());
}

TEST_F(StoreDuplicates, IsNotOfferedForCategories)
{
    const auto registered = map({ftLastName});
    const auto translator = make<Translator>();
    const auto early = translator.as<IDuplicateFinder>();
    opened = new MemoryStore;
    opened->add("Friends", {{ftLastName, u"Friends"}});
    ASSERT_EQ(translator.as<ICategories>()->InitializeCategories(services_.get(), nullptr, VARIANT_FALSE), S_OK);
    EXPECT_FALSE(translator.tryAs<IDuplicateFinder>());
    EXPECT_EQ(early->BeginFindDuplicate(registered.id(), translator1_.get(), nullptr), E_NOTIMPL);
}

TEST_F(StoreDuplicates, ClosingTheStoreEndsTheSearch)
{
    const auto registered = map({ftLastName});
    const auto id = other_->add({{ftLastName, u"Smith"}});
    const auto translator = open({{"1", {{ftLastName, u"Smith"}}, {}}});
    ASSERT_EQ(begin(translator, registered.id()), S_OK);
    ASSERT_EQ(translator->Cleanup(), S_OK);
    std::u16string found;
    EXPECT_TRUE(FAILED(find(translator, id, found)));
    EXPECT_TRUE(FAILED(begin(translator, registered.id()))) << "no store is open";
}

TEST_F(StoreDuplicates, NullPointersAreRefused)
{
    const auto registered = map({ftLastName});
    const auto translator = open({});
    const auto finder = translator.as<IDuplicateFinder>();
    com::Bstr id(u"1"), found;
    EXPECT_EQ(finder->BeginFindDuplicate(registered.id(), nullptr, nullptr), E_POINTER);
    EXPECT_EQ(finder->FindDuplicate(nullptr, id.get(), nullptr, found.put()), E_POINTER);
    EXPECT_EQ(finder->FindDuplicate(translator1_.get(), id.get(), nullptr, nullptr), E_POINTER);
}

TEST_F(StoreDuplicates, ARecordIsReportedAsMissingOnlyIfTheStoreCouldLookForIt)
{
    auto translator = make<Translator>();
    EXPECT_EQ(translator->FindRecord(com::Bstr(u"A1").get()), static_cast<HRESULT>(Step::Open)) << "no store is open";
    MemoryStore* store = opened = new MemoryStore;
    store->add("A1", {});
    ASSERT_EQ(translator->Initialize(services_.get(), nullptr, VARIANT_FALSE), S_OK);
    EXPECT_EQ(translator->FindRecord(com::Bstr(u"A1").get()), S_OK);
    EXPECT_EQ(translator->FindRecord(com::Bstr(u"A2").get()), static_cast<HRESULT>(Step::Find));
    store->cannotLook = true;
    EXPECT_EQ(translator->FindRecord(com::Bstr(u"A1").get()), E_UNEXPECTED);
}

TEST_F(StoreDuplicates, AFailedLookupOfANewIdentifierIsReported)
{
    auto translator = make<Translator>();
    const auto updater = translator.as<IRecordUpdater>();
    const com::Bstr id(u"A1");
    com::Bstr renamed;
    EXPECT_EQ(updater->GetUpdatedRecordId(id.get(), renamed.put()), static_cast<HRESULT>(Step::Open)) << "no store is open";
    MemoryStore* store = opened = new MemoryStore;
    ASSERT_EQ(translator->Initialize(services_.get(), nullptr, VARIANT_FALSE), S_OK);
    EXPECT_EQ(updater->GetUpdatedRecordId(id.get(), renamed.put()), S_OK);
    EXPECT_TRUE(renamed.empty());
    store->cannotLook = true;
    EXPECT_EQ(updater->GetUpdatedRecordId(id.get(), renamed.put()), E_UNEXPECTED);
}

} // namespace
} // namespace mb::plugin
