// Embedded files in details: stores give them by their hashes, and a run reads a whole one only where it writes it.
#include "engine/details/DetailsFiles.h"
#include "DetailsLines.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mb::shownLine;
using mbtest::Lines;
using mbtest::linesOf;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;

const std::u16string sound = u"SOUND:data:audio/ogg;base64,AAAA", key = u"KEY:data:application/pgp-keys;base64,BBBBBBBB",
                     otherKey = u"KEY:data:application/pgp-keys;base64,CCCCCCCC";

class DetailsFiles : public testing::Test {
protected:
    DetailsFiles()
    {
        for (mbtest::FakeStore* store : {&s.one(), &s.two()}) {
            store->addDetailsField();
            store->options.hashesFiles = true;
        }
    }
    void begin(const std::u16string& details)
    {
        id1 = s.one().add({{ftLastName, u"Lovelace"}, {ftCity1, u"London"}, {ftDetails, details}});
        sync();
        id2 = s.two().order.back();
    }
    void sync()
    {
        ASSERT_EQ(s.sync(), S_OK);
        EXPECT_EQ(s.log().violations, std::vector<std::string>());
    }
    Lines lines1() { return linesOf(s.one().get(id1, ftDetails)); }
    Lines lines2() { return linesOf(s.two().get(id2, ftDetails)); }
    std::size_t wholeReads()
    {
        return static_cast<std::size_t>(
            std::ranges::count_if(s.log().starting(""), [](const std::string& line) { return line.ends_with("whole details"); }));
    }
    void expectBoth(const Lines& lines)
    {
        EXPECT_EQ(lines1(), lines);
        EXPECT_EQ(lines2(), lines);
        s.one().touch(id1);
        s.two().touch(id2);
        sync();
        EXPECT_THAT(s.writes(), IsEmpty());
    }
    SyncScenario s;
    std::u16string id1, id2;
};

} // namespace

TEST_F(DetailsFiles, ArriveWholeWithANewRecord)
{
    begin(u"NOTE:a\n" + sound + u"\n" + key);
    EXPECT_EQ(wholeReads(), 1u);
    expectBoth({u"NOTE:a", sound, key});
    EXPECT_EQ(wholeReads(), 0u) << "records that are compared are not read whole";
    EXPECT_EQ(s.folder.read(s.historyFile()).find("BBBB"), std::string::npos);
}

TEST_F(DetailsFiles, AnEditBesideAFileReadsNoneWhole)
{
    begin(u"NOTE:a\n" + sound);
    s.one().set(id1, ftDetails, u"NOTE:b\n" + sound);
    sync();
    EXPECT_EQ(wholeReads(), 0u);
    expectBoth({u"NOTE:b", sound});
}

TEST_F(DetailsFiles, AreExchangedAndRemovedLikeAnyLine)
{
    begin(sound + u"\n" + key);
    s.two().set(id2, ftDetails, sound + u"\n" + otherKey);
    sync();
    expectBoth({sound, otherKey});
    s.one().set(id1, ftDetails, otherKey);
    sync();
    expectBoth({otherKey});
}

TEST_F(DetailsFiles, AFileWithOtherParametersIsNotReadWholeAgain)
{
    begin(u"SOUND:data:audio/ogg;base64,AAAA");
    s.one().set(id1, ftDetails, u"SOUND;PREF=1:data:audio/ogg;base64,AAAA");
    sync();
    EXPECT_EQ(wholeReads(), 0u);
    expectBoth({u"SOUND;PREF=1:data:audio/ogg;base64,AAAA"});
}

TEST_F(DetailsFiles, AFileThatCannotBeReadLeavesTheDetailsForTheNextRun)
{
    begin(u"NOTE:a\n" + key);
    s.one().options.unreadable = {mbtest::fakeWholeDetails};
    s.one().set(id1, ftDetails, u"NOTE:b\n" + otherKey);
    s.one().set(id1, ftCity1, u"Paris");
    sync();
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Paris");
    EXPECT_EQ(lines2(), (Lines{u"NOTE:a", key}));
    sync();
    EXPECT_EQ(lines1(), (Lines{u"NOTE:b", otherKey})) << "nothing comes back, and nothing is lost";
    s.one().options.unreadable.clear();
    sync();
    expectBoth({u"NOTE:b", otherKey});
}

TEST_F(DetailsFiles, OfAStoreThatGivesNoneStayHomeAndAreOfferedAgain)
{
    s.one().options.givesFiles = false;
    begin(u"NOTE:a\n" + key);
    EXPECT_EQ(lines2(), (Lines{u"NOTE:a"}));
    sync();
    EXPECT_THAT(s.writes(), IsEmpty());
    s.one().set(id1, ftDetails, u"NOTE:b\n" + key);
    sync();
    EXPECT_EQ(lines2(), (Lines{u"NOTE:b"}));
    EXPECT_EQ(lines1(), (Lines{u"NOTE:b", key}));
    s.one().options.givesFiles = true;
    sync();
    expectBoth({u"NOTE:b", key});
}

TEST_F(DetailsFiles, AreShownByTypeAndSize)
{
    EXPECT_EQ(shownLine(u"PHOTO;PREF=1:x-mb-data:image/png,12345,00"), u"PHOTO;PREF=1: PNG picture, 12 KB");
    EXPECT_EQ(shownLine(u"PHOTO:data:image/gif;base64,AAAAAA=="), u"PHOTO: GIF picture, 4 bytes");
    EXPECT_EQ(shownLine(u"SOUND:x-mb-data:audio/ogg,1960000,00"), u"SOUND: OGG sound, 2.0 MB");
    EXPECT_EQ(shownLine(u"KEY:x-mb-data:application/pgp-keys,999,00"), u"KEY: file of type application/pgp-keys, 999 bytes");
    EXPECT_EQ(shownLine(u"KEY:x-mb-data:,1000,00"), u"KEY: file, 1 KB");
    for (const char16_t* line : {u"PHOTO:https://example.net/a,b", u"NOTE:x", u"@24;TYPE=cell", u"PHOTO:data:image/png,a"})
        EXPECT_EQ(shownLine(line), line);
}
