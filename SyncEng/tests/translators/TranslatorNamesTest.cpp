#include "TranslatorsFixture.h"

#include "registry.h"

namespace {

using namespace mbtest;

class TranslatorNamesTest : public TranslatorsTest {
protected:
    com::Ptr<ITrMap> map = maps();
    std::u16string name(const GUID& clsid, bool longName = false)
    {
        com::Bstr text;
        EXPECT_EQ(map->GetName(clsid, longName ? VARIANT_TRUE : VARIANT_FALSE, text.put()), S_OK);
        EXPECT_NE(text.get(), nullptr) << "an empty text is not a null pointer";
        return text.text();
    }
    std::vector<std::u16string> names(const GUID& clsid)
    {
        com::Bstr shortName, longName, description;
        EXPECT_EQ(map->GetShortLongNameDescription(clsid, shortName.put(), longName.put(), description.put()), S_OK);
        return {shortName.text(), longName.text(), description.text()};
    }
    static void registerName(const GUID& clsid, std::u16string_view text)
    {
        const std::u16string path = u"CLSID\\" + com::guidText(clsid);
        ASSERT_TRUE(platform::createKeyPath(platform::Root::ClassesRoot, path));
        ASSERT_TRUE(platform::RegistryKey::open(platform::Root::ClassesRoot, path)->setText(u"", text));
    }
    static GUID guid(std::u16string_view text)
    {
        GUID parsed{};
        com::check(com::parseGuid(text, &parsed));
        return parsed;
    }
};

TEST_F(TranslatorNamesTest, TheTranslatorNamesItself)
{
    EXPECT_EQ(name(pluginClass1), u"Short");
    EXPECT_EQ(name(pluginClass1, true), u"Long");
}

TEST_F(TranslatorNamesTest, KnownProductsHaveNamesWithoutTheirTranslator)
{
    struct Row {
        const char16_t *clsid, *shortName, *longName;
    };
    constexpr Row rows[] = {
        {u"{C8679015-906F-4A0A-8777-FAD945B2DDB6}", u"Mirabook", u"Mirabook 6.0.4 or later"},
        {u"{3D52B2B7-74EB-4DDA-8E54-566B1361665C}", u"Outlook", u"Microsoft Outlook 2002 or later"},
        {u"{297D3C58-569B-4F38-AC59-D4E278D54779}", u"Lotus Notes", u"Lotus Notes 4.6 or later"},
        {u"{0282754C-AEEB-4933-9DAD-DDBD74287C7B}", u"ACT! 6.x and earlier", u"ACT! 4.0 or later"},
        {u"{2C0C63AE-10AA-4867-92A5-657DBB182E97}", u"GoldMine", u"GoldMine 5.0 or later"},
        {u"{75391971-8D5D-4C27-9759-3A6C5EC9ABB6}", u"GoldMine", u"GoldMine 5.0 or later"},
        {u"{5C06CD02-1F21-46BC-AC38-63A9B0B73569}", u"GoldMine Corporate", u"GoldMine Corporate Edition"},
        {u"{4F275941-3608-45D0-96DE-534BC61D1CA1}", u"GoldMine Corporate", u"GoldMine Corporate Edition"},
        {u"{A268D411-2A98-40B8-8071-B9489A5DE4B2}", u"Outlook Express", u"Microsoft Outlook Express 5.0 or later"},
        {u"{3485B3B6-4564-4A6E-BEB0-FCD519DD9573}", u"ACT! 2005 to 2008", u"ACT! 2005 to 2008"},
        {u"{65C874BD-DBED-44AC-A551-BF64CAAF652D}", u"ACT! 2009 or later", u"ACT! 2009 or later"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(name(guid(row.clsid)), row.shortName);
        EXPECT_EQ(name(guid(row.clsid), true), row.longName);
        EXPECT_EQ(names(guid(row.clsid)), (std::vector<std::u16string>{row.shortName, row.longName, row.longName}));
    }
}

TEST_F(TranslatorNamesTest, AnyOtherClassIsNamedByTheRegistryOrNotAtAll)
{
    EXPECT_EQ(name(unknownClass), u"");
    EXPECT_EQ(names(unknownClass), (std::vector<std::u16string>{u"", u"", u""}));
    registerName(unknownClass, u"A Translator Class");
    EXPECT_EQ(name(unknownClass), u"A Translator Class");
    EXPECT_EQ(name(unknownClass, true), u"A Translator Class");
}

TEST_F(TranslatorNamesTest, ATranslatorThatFailsOrGivesNoNameIsNamedByTheRegistry)
{
    registerName(pluginClass1, u"Registered");
    calls->failOn("1 GetInfo", 1, E_FAIL);
    calls->throwOn("1 GetInfo", 2);
    EXPECT_EQ(name(pluginClass1), u"Registered");
    EXPECT_EQ(name(pluginClass1), u"Registered");
    EXPECT_EQ(name(pluginClass1), u"Short");
    plugin1->nullTexts = true;
    EXPECT_EQ(name(pluginClass1), u"Registered");
    EXPECT_EQ(names(pluginClass1), (std::vector<std::u16string>{u"Registered", u"Registered", u""}));
    plugin1->refuse<ITranslatorInfo>();
    EXPECT_EQ(name(pluginClass1), u"Registered");
    plugin1->refused.clear();
    plugin1->givesNothing = true;
    EXPECT_EQ(name(pluginClass1), u"Registered");
}

TEST_F(TranslatorNamesTest, TheDescriptionComesFromTheNewerInterfaceOrIsTheLongName)
{
    EXPECT_EQ(names(pluginClass1), (std::vector<std::u16string>{u"Short", u"Long", u"Described"}));
    EXPECT_EQ(calls->count("GetInfo"), 0);
    calls->failOn("1 GetInfoEx", 2, E_FAIL);
    EXPECT_EQ(names(pluginClass1), (std::vector<std::u16string>{u"Short", u"Long", u"Long"}));
    plugin1->refuse<ITranslatorInfoEx>();
    EXPECT_EQ(names(pluginClass1), (std::vector<std::u16string>{u"Short", u"Long", u"Long"}));
    plugin1->refuse<ITranslatorInfo>();
    EXPECT_EQ(names(pluginClass1), (std::vector<std::u16string>{u"", u"", u""}));
}

TEST_F(TranslatorNamesTest, AvailabilityIsReportedByTheTranslator)
{
    const auto availability = [&](const GUID& clsid, std::u16string_view expectedName) {
        com::Bstr text;
        LONG available = 9;
        EXPECT_EQ(map->GetNameAvailability(clsid, VARIANT_TRUE, text.put(), &available), S_OK);
        EXPECT_EQ(text.view(), expectedName);
        return available;
    };
    EXPECT_EQ(availability(pluginClass1, u"Long"), 1);
    EXPECT_EQ(calls->count("1 Create"), 1) << "the object that was created for the name is asked";
    plugin1->available = false;
    EXPECT_EQ(availability(pluginClass1, u"Long"), 0);
    plugin1->available = true;
    calls->throwOn("1 IsPIMAvailable", 3);
    EXPECT_EQ(availability(pluginClass1, u"Long"), 0);
    plugin1->refuse<ITranslatorInfo>();
    EXPECT_EQ(availability(pluginClass1, u""), 1) << "without such an object a new one is created";
    plugin1->refuse<IPIMSetUp>();
    EXPECT_EQ(availability(pluginClass1, u""), 0);
    EXPECT_EQ(availability(unknownClass, u""), 0);
}

TEST_F(TranslatorNamesTest, ImageSupportIsWhetherTheClassOffersIt)
{
    const auto supports = [&](const GUID& clsid) {
        com::Bstr text;
        VARIANT_BOOL images = 5;
        EXPECT_EQ(map->GetNameImageSupport(clsid, VARIANT_FALSE, text.put(), &images), S_OK);
        return images;
    };
    EXPECT_EQ(supports(pluginClass1), VARIANT_TRUE);
    plugin1->refuse<ITranslatorInfo>();
    EXPECT_EQ(supports(pluginClass1), VARIANT_TRUE);
    plugin1->refuse<IImageSupport>();
    EXPECT_EQ(supports(pluginClass1), VARIANT_FALSE);
    EXPECT_EQ(supports(unknownClass), VARIANT_FALSE);
}

TEST_F(TranslatorNamesTest, MissingOutParametersAreRefused)
{
    com::Bstr text;
    EXPECT_EQ(map->GetName(pluginClass1, VARIANT_TRUE, nullptr), E_POINTER);
    EXPECT_EQ(map->GetShortLongNameDescription(pluginClass1, text.put(), nullptr, nullptr), E_POINTER);
    EXPECT_EQ(map->GetNameAvailability(pluginClass1, VARIANT_TRUE, text.put(), nullptr), E_POINTER);
    EXPECT_EQ(map->GetNameImageSupport(pluginClass1, VARIANT_TRUE, nullptr, nullptr), E_POINTER);
}

} // namespace
