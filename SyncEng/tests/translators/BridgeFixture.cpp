#include "BridgeFixture.h"

#include "files.h"

namespace mbtest {

BridgeTest::BridgeTest() : plugin_(OLD_PLUGIN, {oldNumbers, oldTexts, oldBare}) {}

std::vector<GUID> BridgeTest::fieldsOf(const com::Ptr<ITranslator>& translator)
{
    const auto list = translator.as<IFieldList>();
    LONG count = -1;
    EXPECT_EQ(list->GetCount(&count), S_OK);
    std::vector<GUID> fields(static_cast<std::size_t>(count));
    for (LONG i = 0; i < count; ++i) EXPECT_EQ(list->GetFieldByIndex(i, &fields[static_cast<std::size_t>(i)]), S_OK) << i;
    return fields;
}

com::Ptr<ITranslator> BridgeTest::open(REFCLSID clsid, const std::string& text)
{
    folder.write("old.txt", text);
    const auto translator = load(clsid);
    const com::Bstr file(platform::textOf(folder.path() / "old.txt"));
    EXPECT_EQ(translator.as<ITranslatorTest>()->InitializeDatabase(file.get(), nullptr, nullptr), S_OK);
    return translator;
}

HRESULT BridgeTest::createDate(const std::string& line, DATE& date)
{
    const auto translator = open(oldNumbers, "id\tone\ncreated\t" + line + "\nmodified\tdate:7.5\n\n");
    return translator->GetCreateDate(com::Bstr(u"one").get(), &date);
}

void BridgeTest::store(const GUID& section, std::u16string_view key, std::u16string_view value)
{
    com::check(mb::ConfigStore().WriteValue(u"Trans1Cfg", com::guidText(section), key, value, false, true));
}

} // namespace mbtest
