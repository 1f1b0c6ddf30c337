#include "store/StoreFile.h"

#include "TestFolder.h"

#include <gtest/gtest.h>

namespace mb {
namespace {

class StoreFileTest : public testing::Test {
protected:
    StoreFileTest() { EXPECT_EQ(store.Open(file, true), S_OK); }
    std::string onDisk() { return folder.read(file); }
    std::u16string value(std::u16string_view type, std::u16string_view section, std::u16string_view key)
    {
        std::u16string text;
        return SUCCEEDED(store.ReadValue(type, section, key, text)) ? text : u"<absent>";
    }
    HRESULT write(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view text,
                  bool append = false)
    {
        return store.WriteValue(type, section, key, text, append, true);
    }
    mbtest::TestFolder folder;
    std::filesystem::path file = folder.path() / "store.xml";
    StoreFile store;
};

} // namespace

TEST_F(StoreFileTest, ANewStoreIsEmptyAndHasVersionFour) { EXPECT_EQ(onDisk(), "<Scs Version=\"4\"/>"); }

TEST_F(StoreFileTest, AStoreIsWrittenAsOneLine)
{
    EXPECT_EQ(write(u"TrMap", u"abc", u"a", u"ab"), S_OK);
    EXPECT_EQ(onDisk(), "<Scs Version=\"4\"><Sc><ST>TrMap</ST><SN>YWJj</SN><Ky><KN>YQ==</KN><KV>YWI=</KV></Ky></Sc></Scs>");
}

TEST_F(StoreFileTest, AnEmptyValueExists)
{
    EXPECT_EQ(write(u"T", u"s", u"k", u""), S_OK);
    std::u16string text = u"before";
    EXPECT_EQ(store.ReadValue(u"T", u"s", u"k", text), S_OK);
    EXPECT_EQ(text, u"");
}

TEST_F(StoreFileTest, ManyValuesAreAllWrittenOrNone)
{
    const auto of = [](const char* key) { return StoreFile::KeyValue{key, u"v"}; };
    const auto tooMany = {of("YQ=="), of("Yg=="), of("Yw=="), of("ZA=="), of("ZQ==")};
    EXPECT_EQ(store.WriteValues(u"T", u"s", tooMany, false, true), E_INVALIDARG);
    EXPECT_EQ(onDisk(), "<Scs Version=\"4\"/>");
    EXPECT_EQ(store.WriteValues(u"T", u"s", {of("YQ=="), of("Yg=="), of("Yw=="), of("ZA==")}, false, true), S_OK);
    EXPECT_EQ(value(u"T", u"s", u"a") + value(u"T", u"s", u"d"), u"vv");
}

TEST_F(StoreFileTest, AnAbsentKeyFailsWithAnEmptyText)
{
    std::u16string text = u"before";
    EXPECT_EQ(store.ReadValue(u"T", u"s", u"k", text), E_FAIL);
    EXPECT_EQ(text, u"");
    LONG number = 7;
    EXPECT_EQ(store.ReadInt(u"T", u"s", u"k", number), E_FAIL);
    EXPECT_EQ(number, 7);
}

TEST_F(StoreFileTest, TwoAppendsMakeTwoEntriesAndTheFirstIsRead)
{
    write(u"T", u"s", u"k", u"1", true);
    write(u"T", u"s", u"k", u"2", true);
    EXPECT_EQ(value(u"T", u"s", u"k"), u"1");
    std::vector<std::u16string> all;
    EXPECT_EQ(store.ListValues(u"T", u"s", u"k", all), S_OK);
    EXPECT_EQ(all, (std::vector<std::u16string>{u"1", u"2"}));
}

TEST_F(StoreFileTest, ATypeWithQuotesWorksInAllOperations)
{
    const std::u16string type = u"Trans1c:\\o'hara\"s.db";
    EXPECT_EQ(write(type, u"s", u"k", u"v"), S_OK);
    EXPECT_NE(onDisk().find("o&amp;apos;hara&amp;quot;s.db"), std::string::npos);
    StoreFile again;
    ASSERT_EQ(again.Open(file, false), S_OK);
    std::u16string text;
    EXPECT_EQ(again.ReadValue(type, u"s", u"k", text), S_OK);
    EXPECT_EQ(text, u"v");
    EXPECT_EQ(again.RemoveKey(type, u"s", u"k"), S_OK);
    EXPECT_EQ(again.RenameSection(type, u"s", u"t", false), S_OK);
    EXPECT_EQ(again.RemoveType(type), S_OK);
    EXPECT_EQ(onDisk(), "<Scs Version=\"4\"/>");
}

TEST_F(StoreFileTest, TypesAndSectionsAreCaseSensitive)
{
    write(u"T", u"s", u"k", u"v");
    EXPECT_EQ(value(u"t", u"s", u"k"), u"<absent>");
    EXPECT_EQ(value(u"T", u"S", u"k"), u"<absent>");
}

TEST_F(StoreFileTest, NumbersAndGuidsRoundTrip)
{
    const GUID guid = com::newGuid();
    store.WriteInt(u"T", u"s", u"i", -5, false, false);
    store.WriteDouble(u"T", u"s", u"d", 46022.123456789, false, false);
    store.WriteGuid(u"T", u"s", u"g", guid, false, false);
    LONG i = 0;
    double d = 0;
    GUID g{};
    EXPECT_EQ(store.ReadInt(u"T", u"s", u"i", i), S_OK);
    EXPECT_EQ(store.ReadDouble(u"T", u"s", u"d", d), S_OK);
    EXPECT_EQ(store.ReadGuid(u"T", u"s", u"g", g), S_OK);
    EXPECT_EQ(i, -5);
    EXPECT_EQ(d, 46022.123456789) << "a date round-trips exactly";
    EXPECT_EQ(g, guid);
    EXPECT_EQ(value(u"T", u"s", u"g").size(), 38u);
}

TEST_F(StoreFileTest, ADamagedStoreIsReplacedAndKept)
{
    for (const std::string bad : {"<Scs><Sc></Scs>", "no xml", "<!DOCTYPE a><Scs/>"}) {
        folder.write("store.xml", bad);
        std::filesystem::remove(file.string() + ".damaged");
        StoreFile opened;
        EXPECT_EQ(opened.Open(file, true), S_OK) << bad;
        EXPECT_EQ(onDisk(), "<Scs Version=\"4\"/>");
        EXPECT_EQ(folder.read(file.string() + ".damaged"), bad);
        EXPECT_EQ(StoreFile().Open(folder.path() / "none.xml", false), S_OK);
    }
}

TEST_F(StoreFileTest, KeptDamagedFilesAreNeverOverwritten)
{
    folder.write("store.xml.damaged.2", "another program's");
    for (const char* bad : {"first", "second", "third"}) {
        folder.write("store.xml", bad);
        EXPECT_EQ(StoreFile().Open(file, true), S_OK);
    }
    EXPECT_EQ(folder.read(file.string() + ".damaged"), "first");
    EXPECT_EQ(folder.read(file.string() + ".damaged.2"), "another program's");
    EXPECT_EQ(folder.read(file.string() + ".damaged.3"), "second");
    EXPECT_EQ(folder.read(file.string() + ".damaged.4"), "third");
}

TEST_F(StoreFileTest, AnEmptyFileBecomesAnEmptyStore)
{
    folder.write("store.xml", "");
    StoreFile opened;
    EXPECT_EQ(opened.Open(file, true), S_OK);
    EXPECT_EQ(onDisk(), "<Scs Version=\"4\"/>");
    EXPECT_FALSE(std::filesystem::exists(file.string() + ".damaged"));
}

TEST_F(StoreFileTest, WithoutTheCreateFlagADamagedStoreFailsAndIsNotChanged)
{
    folder.write("store.xml", "<Scs>");
    StoreFile opened;
    EXPECT_TRUE(FAILED(opened.Open(file, false)));
    EXPECT_EQ(onDisk(), "<Scs>");
}

TEST_F(StoreFileTest, AFolderInPlaceOfTheFileFailsTheOpen)
{
    folder.write("taken.xml/inside", "kept");
    const auto taken = folder.path() / "taken.xml";
    StoreFile opened;
    EXPECT_TRUE(FAILED(opened.Open(taken, true)));
    EXPECT_FALSE(opened.isOpen());
    EXPECT_EQ(folder.read(taken / "inside"), "kept");
    EXPECT_FALSE(std::filesystem::exists(taken.string() + ".damaged"));
    (void)opened.Open(taken, false);
    EXPECT_FALSE(opened.isOpen());
}

TEST_F(StoreFileTest, WithoutTheCreateFlagAMissingFileOpensNoDocument)
{
    StoreFile opened;
    EXPECT_EQ(opened.Open(folder.path() / "none.xml", false), S_OK);
    std::u16string text;
    EXPECT_EQ(opened.ReadValue(u"T", u"s", u"k", text), E_POINTER);
    EXPECT_EQ(opened.WriteValue(u"T", u"s", u"k", u"v", false, false), E_POINTER);
    EXPECT_EQ(opened.Save(), E_POINTER);
    LONG version = 0;
    EXPECT_EQ(opened.GetVersion(version), E_FAIL);
    EXPECT_EQ(version, -1);
    EXPECT_EQ(opened.DeleteStoreFile(), E_POINTER);
    EXPECT_EQ(opened.Open({}, true), E_FAIL);
}

TEST_F(StoreFileTest, AFileWithoutAVersionHasVersionMinusOne)
{
    folder.write("store.xml", "<Scs/>");
    StoreFile opened;
    EXPECT_EQ(opened.Open(file, true), S_OK);
    LONG version = 0;
    (void)opened.GetVersion(version);
    EXPECT_EQ(version, -1);
}

TEST_F(StoreFileTest, AnEmptiedStoreKeepsItsAttributesAndStaysUsable)
{
    folder.write(file.string(),
                 "<Scs Version=\"3\" other=\"x\"> <!-- kept --><Sc><ST>T</ST><SN>cw==</SN><Ky><KN>aw==</KN><KV>dg==</KV></Ky></Sc> </Scs>");
    ASSERT_EQ(store.Open(file, false), S_OK);
    ASSERT_EQ(value(u"T", u"s", u"k"), u"v");
    EXPECT_EQ(store.RemoveType(u"T"), S_OK);
    EXPECT_EQ(onDisk(), "<Scs Version=\"3\" other=\"x\"> <!-- kept --> </Scs>");
    EXPECT_EQ(value(u"T", u"s", u"k"), u"<absent>");
    EXPECT_EQ(write(u"T", u"s", u"k", u"w"), S_OK);
    EXPECT_EQ(value(u"T", u"s", u"k"), u"w");
    EXPECT_TRUE(onDisk().starts_with("<Scs Version=\"3\" other=\"x\"> <!-- kept --> <Sc><ST>T</ST>"));
}

TEST_F(StoreFileTest, RemovingAMissingSectionSucceeds) { EXPECT_EQ(store.RemoveSection(u"T", u"none", true), S_OK); }

TEST_F(StoreFileTest, RenamingAMissingSectionFails) { EXPECT_EQ(store.RenameSection(u"T", u"none", u"x", true), E_FAIL); }

TEST_F(StoreFileTest, KeyHasValueComparesOnlyTheFirstKeyWithTheValue)
{
    VARIANT_BOOL has = VARIANT_FALSE;
    write(u"T", u"s", u"first", u"v");
    write(u"T", u"s", u"second", u"v");
    EXPECT_EQ(store.KeyHasValue(u"T", u"s", u"first", u"v", has), S_OK);
    EXPECT_EQ(has, VARIANT_TRUE);
    EXPECT_EQ(store.KeyHasValue(u"T", u"s", u"second", u"v", has), S_OK);
    EXPECT_EQ(has, VARIANT_FALSE);
    has = VARIANT_TRUE;
    EXPECT_EQ(store.KeyHasValue(u"T", u"s", u"first", u"none", has), S_FALSE);
    EXPECT_EQ(has, VARIANT_FALSE);
}

TEST_F(StoreFileTest, TheFlagIsSetInAllSectionsExceptTheLastRuns)
{
    write(u"Trans1", u"SyncInfo", u"Database", u"d");
    write(u"Trans1", u"r1", u"FieldMapChanged", u"0");
    write(u"Trans1", u"r2", u"MappedID", u"x");
    write(u"Trans2", u"r3", u"MappedID", u"x");
    EXPECT_EQ(store.SetFlagInAllSections(u"Trans1", 1, true), S_OK);
    EXPECT_EQ(value(u"Trans1", u"r1", u"FieldMapChanged"), u"1");
    EXPECT_EQ(value(u"Trans1", u"r2", u"FieldMapChanged"), u"1");
    EXPECT_EQ(value(u"Trans1", u"SyncInfo", u"FieldMapChanged"), u"<absent>");
    EXPECT_EQ(value(u"Trans2", u"r3", u"FieldMapChanged"), u"<absent>");
}

TEST_F(StoreFileTest, WhiteSpaceOfOtherProgramsIsKept)
{
    folder.write(
        "store.xml",
        "<Scs Version=\"4\">\n <Sc>\n  <ST>T</ST>\n  <SN>cw==</SN>\n  <Ky>\n   <KN>aw==</KN>\n   <KV>dg==</KV>\n  </Ky>\n </Sc>\n</Scs>");
    ASSERT_EQ(store.Open(file, true), S_OK);
    EXPECT_EQ(value(u"T", u"s", u"k"), u"v");
    write(u"T", u"s", u"k", u"w");
    EXPECT_NE(onDisk().find("\n   <KV>dw==</KV>\n"), std::string::npos);
}

TEST_F(StoreFileTest, ManyWritesInAScopeAreOneSave)
{
    const auto before = onDisk();
    {
        SaveScope scope(store);
        write(u"T", u"s", u"k", u"1");
        write(u"T", u"s", u"k", u"2");
        EXPECT_EQ(onDisk(), before);
        EXPECT_EQ(scope.finish(), S_OK);
        EXPECT_NE(onDisk(), before);
    }
    EXPECT_EQ(value(u"T", u"s", u"k"), u"2");
}

TEST_F(StoreFileTest, ARevertReloadsTheFile)
{
    write(u"T", u"s", u"k", u"saved");
    store.WriteValue(u"T", u"s", u"k", u"not saved", false, false);
    EXPECT_EQ(store.Revert(), S_OK);
    EXPECT_EQ(value(u"T", u"s", u"k"), u"saved");
}

TEST_F(StoreFileTest, AWriteWithoutTheSaveFlagReachesTheFileWithTheNextSave)
{
    const std::string before = onDisk();
    EXPECT_EQ(store.WriteValue(u"T", u"s", u"k", u"v", false, false), S_OK);
    EXPECT_EQ(onDisk(), before);
    EXPECT_EQ(store.Save(), S_OK);
    EXPECT_NE(onDisk(), before);
}

TEST_F(StoreFileTest, RemovingAndRenamingAreSaved)
{
    const auto holds = [&](const char* text) { return onDisk().find(text) != std::string::npos; };
    write(u"T", u"abc", u"k", u"v");
    write(u"T", u"abc", u"l", u"v");
    EXPECT_EQ(store.RemoveKey(u"T", u"abc", u"k"), S_OK);
    EXPECT_FALSE(holds("<KN>aw==</KN>"));
    EXPECT_EQ(store.RemoveKey(u"T", u"abc", u"k"), S_OK) << "removing a missing key is no error";
    EXPECT_EQ(store.RenameSection(u"T", u"abc", u"ab", false), S_OK);
    EXPECT_TRUE(holds("<SN>YWJj</SN>")) << "not saved without the flag";
    EXPECT_EQ(store.RenameSection(u"T", u"ab", u"a", true), S_OK);
    EXPECT_TRUE(holds("<SN>YQ==</SN>"));
    EXPECT_EQ(store.RemoveSection(u"T", u"a", false), S_OK);
    EXPECT_TRUE(holds("<SN>YQ==</SN>"));
    EXPECT_EQ(store.RemoveSection(u"T", u"a", true), S_OK) << "removing nothing still saves the earlier change";
    EXPECT_FALSE(holds("<SN>YQ==</SN>"));
    write(u"T", u"a", u"k", u"v");
    EXPECT_EQ(store.RemoveType(u"T"), S_OK);
    EXPECT_FALSE(holds("<ST>T</ST>"));
}

TEST_F(StoreFileTest, AVersionIsSavedAtOnce)
{
    EXPECT_EQ(store.SetVersion(3), S_OK);
    EXPECT_EQ(onDisk(), "<Scs Version=\"3\"/>");
}

TEST_F(StoreFileTest, ClosingSavesAndForgetsThePath)
{
    EXPECT_EQ(store.WriteValue(u"T", u"s", u"k", u"v", false, false), S_OK);
    EXPECT_EQ(store.Close(), S_OK);
    EXPECT_NE(onDisk().find("<ST>T</ST>"), std::string::npos);
    EXPECT_FALSE(store.isOpen());
    EXPECT_TRUE(store.path().empty());
    EXPECT_EQ(store.Close(), S_OK);
}

TEST_F(StoreFileTest, DeletingAMissingFileReturnsTheSystemsErrorNumber)
{
    std::filesystem::remove(file);
    EXPECT_EQ(store.DeleteStoreFile(), 2) << "not found";
    EXPECT_FALSE(store.isOpen());
}

TEST_F(StoreFileTest, AnInvalidGuidFails)
{
    write(u"T", u"s", u"g", u"{no identifier}");
    GUID guid{};
    EXPECT_TRUE(FAILED(store.ReadGuid(u"T", u"s", u"g", guid)));
    EXPECT_EQ(store.ReadGuid(u"T", u"s", u"none", guid), E_FAIL);
}

TEST_F(StoreFileTest, TheFlagOfAllSectionsIsSavedOnRequestAndCanBeCleared)
{
    write(u"T", u"s", u"k", u"v");
    const std::string before = onDisk();
    EXPECT_EQ(store.SetFlagInAllSections(u"T", 1, false), S_OK);
    EXPECT_EQ(onDisk(), before);
    EXPECT_EQ(store.SetFlagInAllSections(u"T", 0, true), S_OK);
    EXPECT_NE(onDisk(), before);
    EXPECT_EQ(value(u"T", u"s", u"FieldMapChanged"), u"0");
    EXPECT_EQ(store.SetFlagInAllSections(u"T", 2, true), S_OK);
    EXPECT_EQ(value(u"T", u"s", u"FieldMapChanged"), u"0") << "any value but 1 is stored as 0";
}

TEST(StoreType, QuotesAreEscapedAndDecodingReversesIt)
{
    EXPECT_EQ(EscapeTypeName(u"a'b\"c&", true), u"a&apos;b&quot;c&");
    EXPECT_EQ(EscapeTypeName(u"a&apos;b&quot;c&", false), u"a'b\"c&");
}

TEST_F(StoreFileTest, TheDecodedCopyIsReadable)
{
    write(u"Trans1", u"r1", u"FieldData", u"2\u0003\u0006Ada\u0003\u0006");
    const auto copy = folder.path() / "copy.xml";
    EXPECT_EQ(store.ExportDecoded(copy), S_OK);
    const std::string text = folder.read(copy);
    EXPECT_NE(text.find("<SN>r1</SN>"), std::string::npos);
    EXPECT_NE(text.find("<KV>2/Ada/</KV>"), std::string::npos);
    EXPECT_EQ(store.ExportDecoded({}), E_FAIL);
}

} // namespace mb
