#include "TransferFixture.h"

#include "foundation/Format.h"
#include "registry.h"

namespace mbtest {

TransferTest::TransferTest(const GUID& target) : scenario(hostClass, target), target_(target)
{
    scenario.one().options.makeId = [](int n) { return mb::Format(u"card-%d", n); };
    scenario.one().options.database = u"C:\\Cards\\Mine.mbk";
    scenario.one().options.longName = u"Mirabook 6.0.4 or later";
    scenario.two().options.database = u"Their \"Contacts\"";
    scenario.two().options.longName = u"The other program";
    const auto loader = scenario.create<ITrMapEntry>(__uuidof(TrManager));
    com::check(loader->Install(hostClass));
    com::check(loader->Install(target));
    transferer = scenario.create<ISyncTransfer>(__uuidof(SyncTransfer));
}

std::vector<std::u16string> TransferTest::addCards(std::initializer_list<const char16_t*> lastNames)
{
    std::vector<std::u16string> ids;
    for (const char16_t* name : lastNames) ids.push_back(scenario.one().add({{ftLastName, name}}));
    return ids;
}

HRESULT TransferTest::transferTo(std::u16string_view target, SAFEARRAY* cards, VARIANT_BOOL reverse)
{
    scenario.log().clear();
    const com::Bstr guid(target), file(u"C:\\Cards\\Mine.mbk"), password(u"secret");
    return transferer->Transfer(0, guid.get(), file.get(), password.get(), cards, reverse);
}

HRESULT TransferTest::transfer(const std::vector<std::u16string>& cards, VARIANT_BOOL reverse)
{
    SAFEARRAY* array = com::makeTextArray(cards);
    const HRESULT hr = transferTo(targetText(), array, reverse);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK) << "the caller owns the array again";
    return hr;
}

LastError TransferTest::takeError()
{
    LastError error;
    com::Bstr message1, message2;
    EXPECT_EQ(transferer->GetLastError(error.code.put(), message1.put(), message2.put()), S_OK);
    error.message1 = message1.text();
    error.message2 = message2.text();
    return error;
}

std::multiset<std::u16string> TransferTest::namesIn(const FakeStore& store)
{
    std::multiset<std::u16string> names;
    for (const auto& [id, record] : store.records) {
        const auto name = record.values.find(ftLastName);
        names.insert(name == record.values.end() ? u"" : name->second);
    }
    return names;
}

std::pair<GUID, GUID> TransferTest::translatorsOf(const GUID& map)
{
    std::pair<GUID, GUID> ids{};
    EXPECT_EQ(scenario.maps()->GetTranslators(map, &ids.first, &ids.second), S_OK);
    return ids;
}

std::optional<LONG> TransferTest::option(_SyncOptions id)
{
    com::Variant value;
    if (FAILED(scenario.maps()->GetOption(target_, id, value.put()))) return std::nullopt;
    return value.vt == VT_BOOL ? LONG{value.boolVal} : value.lVal;
}

std::vector<GUID> TransferTest::listedMaps()
{
    com::TaskArray<GUID> maps;
    EXPECT_EQ(scenario.create<ITrManager>(__uuidof(TrManager))->EnumerateMaps(maps.putCount(), maps.put()), S_OK);
    return {maps.items().begin(), maps.items().end()};
}

void TransferTest::setRegistryText(std::u16string_view path, std::u16string_view name, std::u16string_view value)
{
    ASSERT_TRUE(platform::createKeyPath(platform::Root::LocalMachine, path));
    const auto key = platform::RegistryKey::open(platform::Root::LocalMachine, path);
    ASSERT_TRUE(key && key->setText(name, value));
}

} // namespace mbtest
