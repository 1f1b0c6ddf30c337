#include "MapName.h"

#include "Failure.h"
#include <gtest/gtest.h>

using namespace mbhost;

namespace {

GUID guid(std::u16string_view text)
{
    GUID parsed{};
    com::check(com::parseGuid(text, &parsed));
    return parsed;
}

const GUID first = guid(u"{5F49AA00-0000-0000-0000-000000000001}"), second = guid(u"{5F49BB00-0000-0000-0000-000000000002}"),
           third = guid(u"{C0000000-0000-0000-0000-000000000003}");
const std::vector<GUID> maps{first, second, third};

// The failure of resolveMap() for the text.
Failure failureOf(const std::string& text)
{
    try {
        (void)resolveMap(maps, text);
    } catch (const Failure& e) {
        return e;
    }
    return Failure("it resolved", exitDone);
}

TranslatorInfo translator(const char* name, const char* longName, const GUID& clsid) { return {clsid, name, longName, true}; }

const std::vector<TranslatorInfo> translators{translator("vCard", "vCard folder or file", first),
                                              translator("Ärzte", "The doctors' list", second)};

} // namespace

TEST(ResolveMapTest, AcceptsAnIdentifierOrItsBeginning)
{
    EXPECT_EQ(resolveMap(maps, "{5F49AA00-0000-0000-0000-000000000001}"), first);
    EXPECT_EQ(resolveMap(maps, "5F49BB00-0000-0000-0000-000000000002"), second);
    EXPECT_EQ(resolveMap(maps, "c"), third);
    EXPECT_EQ(resolveMap(maps, "{5f49b"), second);
}

TEST(ResolveMapTest, AnAmbiguousBeginningIsWrongUsageAndListsTheMapsThatFit)
{
    const Failure failure = failureOf("5f49");
    EXPECT_EQ(failure.code(), exitUsage);
    const std::string sentence = failure.what();
    EXPECT_NE(sentence.find("{5F49AA00-"), std::string::npos);
    EXPECT_NE(sentence.find("{5F49BB00-"), std::string::npos);
    EXPECT_EQ(sentence.find("{C0000000-"), std::string::npos);
}

TEST(ResolveMapTest, AnUnknownNameFailsAndIsNamed)
{
    for (const char* text : {"7", "", "{}", "5F49AA00-0000-0000-0000-0000000000019"}) {
        EXPECT_EQ(failureOf(text).code(), exitFailed) << text;
        EXPECT_NE(std::string(failureOf(text).what()).find('"' + std::string(text) + '"'), std::string::npos) << text;
    }
}

TEST(ResolveMapTest, AnEmptyNameFitsNoMapEvenIfThereIsOnlyOne) { EXPECT_THROW((void)resolveMap({first}, ""), Failure); }

TEST(ResolveTranslatorTest, AcceptsEitherNameIgnoringCaseOrTheClass)
{
    EXPECT_EQ(resolveTranslator(translators, "VCARD").clsid, first);
    EXPECT_EQ(resolveTranslator(translators, "the DOCTORS' list").clsid, second);
    EXPECT_EQ(resolveTranslator(translators, "ÄRZTE").clsid, second);
    EXPECT_EQ(resolveTranslator(translators, "{5f49bb00-0000-0000-0000-000000000002}").clsid, second);
}

TEST(ResolveTranslatorTest, AnUnknownNameListsTheRegisteredPlugins)
{
    try {
        (void)resolveTranslator(translators, "Outlook\x1b");
        FAIL() << "it resolved";
    } catch (const Failure& e) {
        const std::string sentence = e.what();
        EXPECT_NE(sentence.find("vCard"), std::string::npos);
        EXPECT_NE(sentence.find("Ärzte"), std::string::npos);
        EXPECT_EQ(sentence.find('\x1b'), std::string::npos);
    }
}

TEST(ResolveTranslatorTest, WithoutPluginsItTellsHowToRegisterOne)
{
    try {
        (void)resolveTranslator({}, "vCard");
        FAIL() << "it resolved";
    } catch (const Failure& e) {
        EXPECT_NE(std::string(e.what()).find("mb register"), std::string::npos);
    }
}

TEST(StoreNameTest, IsNameAndDatabaseWithoutControlCharacters)
{
    MapInfo map{first, {translators[0], translators[1]}, {"/a\x1b[2J", "/b"}};
    EXPECT_EQ(storeName(map, 0), "vCard=/a\uFFFD[2J");
    EXPECT_EQ(storeName(map, 1), "Ärzte=/b");
}

TEST(StoreNameTest, WithoutItsPluginTheDatabaseIsNotKnown)
{
    TranslatorInfo gone;
    gone.name = guidName(gone.clsid);
    MapInfo map{first, {translators[0], gone}, {"/a", ""}};
    EXPECT_EQ(storeName(map, 1), guidName(gone.clsid) + " (no plug-in is registered)");
}
