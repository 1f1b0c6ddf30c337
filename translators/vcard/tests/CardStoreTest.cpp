#include "CardStoreFixture.h"

#include "Charset.h"

#include <thread>

namespace mb::vcard {
namespace {

TEST_F(VCardFolder, ListsTheVcfFilesByName)
{
    put("b.vcf", cardText("B"));
    put("a.VCF", cardText("A"));
    put("notes.txt", "no card");
    put(".hidden.vcf", cardText("H"));
    fs::create_directory(folder / "sub.vcf");
    auto store = open();
    EXPECT_EQ(ids(store), (std::vector<std::string>{"a.VCF", "b.vcf"}));
    EXPECT_EQ(read(store, "b.vcf", ftLastName), u"B");
}

TEST_F(VCardFolder, AnEmptyFolderIsAnEmptyStore)
{
    auto store = open();
    EXPECT_EQ(store.count(), 0u);
}

TEST_F(VCardFolder, ADatabaseThatCannotBeOpenedIsNamed)
{
    expectFailure(Step::Open, "No vCard folder is set", [&] { open(""); });
    expectFailure(Step::Open, (root / "none").string(), [&] { open(root / "none"); });
}

TEST_F(VCardFolder, AnEditChangesOneLine)
{
    put("a.vcf", cardText("A"));
    auto store = open();
    EXPECT_EQ(edit(store, "a.vcf", ftTitle, u"Boss"), "a.vcf");
    EXPECT_EQ(get("a.vcf"), "BEGIN:VCARD\r\nVERSION:3.0\r\nN:A;;;;\r\nFN:A\r\nX-OTHER:kept\r\nTITLE:Boss\r\nEND:VCARD\r\n");
    EXPECT_EQ(strayFiles(), 0u);
}

TEST_F(VCardFolder, ASaveWithoutAChangeWritesNothing)
{
    put("a.vcf", cardText("A"));
    auto store = open();
    const auto before = fs::last_write_time(folder / "a.vcf");
    const auto date = store.modified("a.vcf");
    edit(store, "a.vcf", ftLastName, u"A");
    EXPECT_EQ(fs::last_write_time(folder / "a.vcf"), before);
    EXPECT_EQ(store.modified("a.vcf"), date);
}

TEST_F(VCardFolder, ADisplayNameThatEqualsTheNameFollowsIt)
{
    put("a.vcf", "BEGIN:VCARD\nVERSION:3.0\nN:Doe;Jane;;;\nFN:Jane Doe\nEND:VCARD\n");
    put("b.vcf", "BEGIN:VCARD\nVERSION:3.0\nN:Doe;Jane;;;\nFN:The Boss\nEND:VCARD\n");
    auto store = open();
    edit(store, "a.vcf", ftLastName, u"Roe");
    edit(store, "b.vcf", ftLastName, u"Roe");
    EXPECT_EQ(read(store, "a.vcf", ftDisplayName), u"Jane Roe");
    EXPECT_EQ(read(store, "b.vcf", ftDisplayName), u"The Boss");
}

TEST_F(VCardFolder, ANewCardIsAFileNamedByItsUid)
{
    auto store = open();
    store.beginBatch();
    const std::string id = add(store, u"../../etc/passwd");
    store.endBatch(false);
    EXPECT_EQ(id.size(), 40u);
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef-"), 36u) << id;
    EXPECT_NE(get(id).find("UID:urn:uuid:" + id.substr(0, 36) + "\r\n"), std::string::npos) << get(id);
    EXPECT_NE(get(id).find("VERSION:4.0\r\n"), std::string::npos);
    EXPECT_EQ(ids(store), std::vector<std::string>{id});
    auto again = open();
    EXPECT_EQ(ids(again), std::vector<std::string>{id});
    EXPECT_EQ(again.modified(id), store.modified(id));
    EXPECT_EQ(read(again, id, ftLastName), u"../../etc/passwd");
}

TEST_F(VCardFolder, ARecordJustSavedIsReadWithoutItsFile)
{
    auto store = open();
    const std::string id = add(store, u"A");
    fs::remove(folder / id);
    EXPECT_EQ(read(store, id, ftLastName), u"A");
}

TEST_F(VCardFolder, DeletesTheFile)
{
    put("a.vcf", cardText("A"));
    put("b.vcf", cardText("B"));
    auto store = open();
    store.remove("a.vcf");
    EXPECT_FALSE(fs::exists(folder / "a.vcf"));
    EXPECT_FALSE(store.exists("a.vcf"));
    EXPECT_EQ(ids(store), std::vector<std::string>{"b.vcf"});
}

TEST_F(VCardFolder, IdentifiersThatLeaveTheFolderAreRefused)
{
    writeBytes(root / "outside.vcf", cardText("O"));
    put("a.vcf", cardText("A"));
    auto store = open();
    for (const std::string& id : {std::string("../outside.vcf"), std::string("..\\outside.vcf"), std::string(".."), std::string(".a.vcf"),
                                  std::string("/etc/x.vcf"), std::string("sub/a.vcf"), std::string("a.vcf\0", 6), std::string()}) {
        EXPECT_FALSE(store.exists(id)) << id;
        expectFailure(Step::Find, "could lead out", [&] { store.modified(id); });
        expectFailure(Step::BeginRead, "could lead out", [&] { store.beginRead(id); });
        expectFailure(Step::Edit, "could lead out", [&] { store.beginEdit(id); });
        expectFailure(Step::Delete, "could lead out", [&] { store.remove(id); });
    }
    expectFailure(Step::BeginRead, "no card", [&] { store.beginRead("b.vcf"); });
    EXPECT_TRUE(fs::exists(root / "outside.vcf"));
}

TEST_F(VCardFolder, AFileThatCannotBeParsedIsLeftOutButExists)
{
    put("bad.vcf", "BEGIN:VCARD\nEND:VCARD\nEND:VCARD\n");
    put("good.vcf", cardText("G"));
    for (int run = 0; run < 2; ++run) { // the second run knows the file from the cache
        auto store = open();
        EXPECT_EQ(ids(store), std::vector<std::string>{"good.vcf"});
        EXPECT_TRUE(store.exists("bad.vcf"));
        EXPECT_TRUE(store.exists("bad.vcf#some-uid"));
        EXPECT_NE(reports.find((folder / "bad.vcf").string() + ", line 3"), std::string::npos) << reports;
        expectFailure(Step::Find, "line 3", [&] { store.modified("bad.vcf"); });
        expectFailure(Step::BeginRead, "line 3", [&] { store.beginRead("bad.vcf"); });
        expectFailure(Step::Edit, "line 3", [&] { store.beginEdit("bad.vcf"); });
        expectFailure(Step::Delete, "line 3", [&] { store.remove("bad.vcf"); });
    }
    EXPECT_EQ(get("bad.vcf"), "BEGIN:VCARD\nEND:VCARD\nEND:VCARD\n");
    put("bad.vcf", cardText("Mended"));
    auto store = open();
    EXPECT_EQ(store.count(), 2u);
    EXPECT_EQ(reports, "");
}

TEST_F(VCardFolder, ALineThatIsNotAPropertyIsKeptAndReportedOnce)
{
    const std::string card = "# my cards\r\nBEGIN:VCARD\r\nVERSION:3.0\r\nFN\r\n# a comment: with a colon\r\nN:A;;;;\r\nFN:A\r\n:1\r\n"
                             "END:VCARD\r\n# the end\r\n";
    put("a.vcf", card);
    put("many.vcf", cardText("1", "u1") + "# between\r\n" + cardText("2", "u2"));
    std::this_thread::sleep_for(std::chrono::milliseconds(150)); // so that the next store takes over this index
    categories().takeNames();
    EXPECT_NE(reports.find((folder / "a.vcf").string() + ", line 1: no property"), std::string::npos) << reports;
    EXPECT_NE(reports.find((folder / "many.vcf").string() + ", line 8: no property"), std::string::npos) << reports;
    for (int run = 0; run < 2; ++run) {
        auto store = open(); // clears the reports
        EXPECT_EQ(store.count(), 3u);
        EXPECT_EQ(reports, "") << "the category pass reported it already";
        EXPECT_EQ(read(store, "a.vcf", ftDisplayName), u"A");
    }
    auto store = open();
    const std::string second = store.idAt(2);
    edit(store, "a.vcf", ftTitle, u"Boss");
    edit(store, second, ftTitle, u"Chief");
    std::string edited = card;
    edited.insert(edited.find("END:"), "TITLE:Boss\r\n");
    EXPECT_EQ(get("a.vcf"), edited);
    std::string many = cardText("1", "u1") + "# between\r\n" + cardText("2", "u2");
    many.insert(many.rfind("END:"), "TITLE:Chief\r\n");
    EXPECT_EQ(get("many.vcf"), many);
    store.remove(second);
    EXPECT_EQ(get("many.vcf"), cardText("1", "u1") + "# between\r\n");
}

TEST_F(VCardFolder, ADeletedFolderFailsTheSave)
{
    put("a.vcf", cardText("A"));
    auto store = open();
    store.beginEdit("a.vcf");
    store.write("a.vcf", ftTitle, u"x");
    fs::remove_all(folder);
    expectFailure(Step::Save, folder.string(), [&] { store.save("a.vcf"); });
    expectFailure(Step::Save, folder.string(), [&] { add(store, u"x"); });
    fs::create_directory(folder);
}

#ifndef _WIN32
TEST_F(VCardFolder, ADeletedFolderDoesNotReportItsCardsAsDeleted)
{
    put("a.vcf", cardText("A"));
    const Folder opened(folder.string());
    EXPECT_TRUE(opened.stateOf("a.vcf"));
    EXPECT_FALSE(opened.stateOf("b.vcf"));
    fs::remove_all(folder);
    EXPECT_THROW((void)opened.stateOf("a.vcf"), FileError);
    fs::create_directory(folder);
}
#endif

TEST_F(VCardFolder, AnEditOfAnotherProgramIsNotOverwritten)
{
    put("a.vcf", cardText("A"));
    auto store = open();
    store.beginEdit("a.vcf");
    store.write("a.vcf", ftTitle, u"mine");
    put("a.vcf", cardText("theirs"));
    age("a.vcf", 5);
    expectFailure(Step::Save, "another program", [&] { store.save("a.vcf"); });
    EXPECT_EQ(get("a.vcf"), cardText("theirs"));
    expectFailure(Step::Delete, "another program", [&] { store.remove("a.vcf"); });
    EXPECT_EQ(get("a.vcf"), cardText("theirs"));
}

TEST_F(VCardFolder, TheDateMovesOnlyWithTheFile)
{
    put("a.vcf", cardText("A"));
    put("b.vcf", cardText("B"));
    const auto a = open().modified("a.vcf"), b = open().modified("b.vcf");
    EXPECT_EQ(open().modified("a.vcf"), a);
    put("a.vcf", cardText("changed"));
    age("a.vcf", 10);
    EXPECT_GT(open().modified("a.vcf"), a);
    put("b.vcf", cardText("restored from a backup"));
    age("b.vcf", -10000);
    EXPECT_GT(open().modified("b.vcf"), b) << "an older date of the file must not hide the change";
    EXPECT_EQ(open().modified("b.vcf"), open().modified("b.vcf"));
}

TEST_F(VCardFolder, ADamagedCacheIsRebuilt)
{
    put("a.vcf", cardText("A"));
    put("m.vcf", cardText("1", "u1") + cardText("2", "u2"));
    put("bad file.vcf", "x");
    open();
    const fs::path file = fs::directory_iterator(root / "cache")->path();
    const std::string whole = readBytes(file);
    for (std::size_t n = 0; n + 1 < whole.size(); ++n) {
        writeBytes(file, whole.substr(0, n));
        auto store = open();
        ASSERT_EQ(ids(store), (std::vector<std::string>{"a.vcf", "m.vcf#u1", "m.vcf#u2"})) << n;
        ASSERT_EQ(readBytes(file), whole) << n;
    }
    writeBytes(file, "vcard index 1\n1 2 3 4 5 99999999999999999 a\n");
    EXPECT_EQ(open().count(), 3u);
}

TEST_F(VCardFolder, UnchangedFilesAreNotOpened)
{
    put("a.vcf", cardText("A"));
    const auto date = inWholeSeconds(folder / "a.vcf");
    open();
    std::string other = cardText("A");
    other.replace(other.find("END:VCARD"), 9, "NOT:VCARD"); // equal size and date: only opening the file would tell
    put("a.vcf", other);
    fs::last_write_time(folder / "a.vcf", date);
    EXPECT_EQ(open().count(), 1u);
}

TEST_F(VCardFolder, CardsAreIdentifiedByFileNameAndUid)
{
    put("m.vcf", cardText("1", "u1"));
    EXPECT_EQ(ids(open()), std::vector<std::string>{"m.vcf#u1"});
    put("m.vcf", cardText("1", "u1") + cardText("2", "http://x/../y#z") + cardText("3"));
    auto store = open();
    ASSERT_EQ(store.count(), 3u);
    EXPECT_EQ(store.idAt(0), "m.vcf#u1");
    EXPECT_EQ(store.idAt(1), "m.vcf#http:%2f%2fx%2f..%2fy%23z");
    EXPECT_EQ(store.idAt(2).substr(0, 7), "m.vcf#~");
    EXPECT_EQ(read(store, store.idAt(1), ftLastName), u"2");
    const std::string third = store.idAt(2);
    store.remove("m.vcf#u1");
    EXPECT_EQ(get("m.vcf"), cardText("2", "http://x/../y#z") + cardText("3"));
    auto again = open();
    EXPECT_EQ(ids(again), (std::vector<std::string>{"m.vcf#http:%2f%2fx%2f..%2fy%23z", third})) << "the others keep their identifiers";
}

TEST_F(VCardFolder, ACardWithoutUidOrNamedByItsUidIsIdentifiedByItsFileName)
{
    put("a.vcf", cardText("A"));
    put("b.vcf", cardText("B", "b"));
    put("c.vcf", cardText("C", "urn:uuid:c"));
    EXPECT_EQ(ids(open()), (std::vector<std::string>{"a.vcf", "b.vcf", "c.vcf"}));
    const auto date = open().modified("a.vcf");
    for (const char* name : {"a.vcf", "b.vcf", "c.vcf"}) put(name, get(name) + cardText("More", std::string("more ") + name));
    age("a.vcf", -1000);
    auto store = open();
    EXPECT_EQ(ids(store),
              (std::vector<std::string>{"a.vcf", "a.vcf#more%20a.vcf", "b.vcf", "b.vcf#more%20b.vcf", "c.vcf", "c.vcf#more%20c.vcf"}));
    EXPECT_GT(store.modified("a.vcf"), date) << "an older date of the file must not hide the change";
}

TEST_F(VCardFolder, KeepsTheFormOfAUtf16File)
{
    put("w.vcf", utf16(cardText("A"), true));
    auto store = open();
    edit(store, "w.vcf", ftPhone, u"1");
    std::string wanted = cardText("A");
    wanted.insert(wanted.find("END:"), "TEL;TYPE=WORK,VOICE:1\r\n");
    EXPECT_EQ(get("w.vcf"), utf16(wanted, true));
}

TEST_F(ManyCardFile, ShowsItsCardsByUid)
{
    put("all.vcf", cardText("1", "u1") + cardText("2", "u2") + cardText("3") + cardText("3"));
    auto store = open(folder / "all.vcf");
    ASSERT_EQ(store.count(), 4u);
    EXPECT_EQ(store.idAt(0), "all.vcf#u1");
    EXPECT_EQ(store.idAt(3), store.idAt(2) + "~2");
    EXPECT_EQ(read(store, "all.vcf#u2", ftLastName), u"2");
    EXPECT_FALSE(store.exists("all.vcf"));
}

TEST_F(ManyCardFile, IsWrittenOnceAtTheEndOfTheBatch)
{
    const std::string before = cardText("1", "u1") + "\r\n" + cardText("2", "u2") + cardText("3", "u3");
    put("all.vcf", before);
    auto store = open(folder / "all.vcf");
    store.beginBatch();
    edit(store, "all.vcf#u2", ftTitle, u"Boss");
    store.remove("all.vcf#u1");
    const std::string id = add(store, u"New");
    const auto stamp = store.modified(id), edited = store.modified("all.vcf#u2"), untouched = store.modified("all.vcf#u3");
    EXPECT_EQ(get("all.vcf"), before);
    EXPECT_EQ(read(store, id, ftLastName), u"New");
    EXPECT_EQ(read(store, "all.vcf#u2", ftTitle), u"Boss");
    EXPECT_EQ(read(store, "all.vcf#u3", ftTitle), u"");
    EXPECT_EQ(read(store, id, ftLastName), u"New");
    edit(store, id, ftTitle, u"Late");
    store.endBatch(false);
    const std::string after = get("all.vcf");
    std::string second = cardText("2", "u2");
    second.insert(second.find("END:"), "TITLE:Boss\r\n");
    EXPECT_TRUE(after.starts_with("\r\n" + second + cardText("3", "u3") + "BEGIN:VCARD\r\nVERSION:3.0\r\n")) << after;
    EXPECT_NE(after.find("TITLE:Late"), std::string::npos);
    EXPECT_EQ(strayFiles(), 0u);
    EXPECT_EQ(store.count(), 3u);
    auto again = open(folder / "all.vcf");
    EXPECT_EQ(ids(again), (std::vector<std::string>{"all.vcf#u2", "all.vcf#u3", id}));
    EXPECT_GE(again.modified(id), stamp);
    EXPECT_EQ(again.modified("all.vcf#u2"), edited) << "the next run sees the date that the save gave";
    EXPECT_EQ(again.modified("all.vcf#u3"), untouched);
}

TEST_F(ManyCardFile, OnlyTheDateOfAChangedCardMoves)
{
    put("all.vcf", cardText("1", "u1") + cardText("2", "u2"));
    auto first = open(folder / "all.vcf");
    const auto one = first.modified("all.vcf#u1"), two = first.modified("all.vcf#u2");
    put("all.vcf", cardText("2", "u2") + cardText("1 changed", "u1"));
    age("all.vcf", -100);
    auto second = open(folder / "all.vcf");
    EXPECT_GT(second.modified("all.vcf#u1"), one);
    EXPECT_EQ(second.modified("all.vcf#u2"), two);
}

TEST_F(ManyCardFile, SavedCardsAreKeptIfTheBatchIsNotEnded)
{
    put("all.vcf", cardText("1", "u1"));
    {
        auto store = open(folder / "all.vcf");
        store.beginBatch();
        add(store, u"New");
    }
    EXPECT_EQ(open(folder / "all.vcf").count(), 2u);
}

TEST_F(ManyCardFile, AnAbortedBatchLeavesTheFileUnchanged)
{
    put("all.vcf", cardText("1", "u1"));
    {
        auto store = open(folder / "all.vcf");
        store.beginBatch();
        edit(store, "all.vcf#u1", ftTitle, u"x");
        add(store, u"New");
        store.endBatch(true);
    }
    EXPECT_EQ(get("all.vcf"), cardText("1", "u1"));
    EXPECT_EQ(strayFiles(), 0u);
    EXPECT_EQ(open(folder / "all.vcf").count(), 1u);
}

TEST_F(ManyCardFile, AChangeByAnotherProgramFailsTheNextSave)
{
    put("all.vcf", cardText("1", "u1"));
    auto store = open(folder / "all.vcf");
    store.beginBatch();
    store.beginEdit("all.vcf#u1");
    store.write("all.vcf#u1", ftTitle, u"mine");
    put("all.vcf", cardText("1", "u1") + cardText("2", "u2"));
    expectFailure(Step::Save, "another program", [&] { store.save("all.vcf#u1"); });
}

TEST_F(ManyCardFile, IsNotOpenedIfItCannotBeParsed)
{
    put("all.vcf", cardText("1", "u1") + "BEGIN:VCARD\nN:2\n");
    expectFailure(Step::Open, "line 8", [&] { open(folder / "all.vcf"); });
}

TEST_F(ManyCardFile, MayBeEmpty)
{
    put("all.vcf", "");
    auto store = open(folder / "all.vcf");
    EXPECT_EQ(store.count(), 0u);
    const std::string id = add(store, u"First");
    EXPECT_EQ(store.count(), 1u);
    store.remove(id);
    EXPECT_EQ(get("all.vcf"), "");
    EXPECT_EQ(open(folder / "all.vcf").count(), 0u);
}

TEST_F(ManyCardFile, TheIdentifierOfACardWithoutUidFollowsItsName)
{
    put("all.vcf", cardText("A") + cardText("B"));
    auto store = open(folder / "all.vcf");
    store.beginBatch();
    const std::string old = store.idAt(0), other = store.idAt(1);
    EXPECT_EQ(edit(store, old, ftPhone, u"1"), old);
    const std::string renamed = edit(store, old, ftFirstName, u"Ann");
    EXPECT_NE(renamed, old);
    EXPECT_EQ(read(store, renamed, ftFirstName), u"Ann");
    EXPECT_FALSE(store.exists(old));
    store.endBatch(false);
    auto again = open(folder / "all.vcf");
    EXPECT_EQ(ids(again), (std::vector<std::string>{renamed, other}));
}

class SampleFile : public CardStoreTest, public testing::WithParamInterface<Source> {
protected:
    void SetUp() override
    {
        CardStoreTest::SetUp();
        requireSamples(GetParam());
    }
};
INSTANTIATE_TEST_SUITE_P(Samples, SampleFile, eachSource, nameOf);

TEST_P(SampleFile, IsKeptByteForByteBesidesTheNewCard)
{
    for (const auto& [name, bytes] : samples(GetParam())) {
        const auto text = openText(bytes);
        if (!text || scanCards(text->text).error) continue;
        put("s.vcf", bytes);
        auto store = open(folder / "s.vcf");
        add(store, u"New");
        const std::string after = openText(get("s.vcf"))->text;
        EXPECT_TRUE(after.starts_with(text->text)) << name;
        EXPECT_EQ(scanCards(after).cards.size(), scanCards(text->text).cards.size() + 1) << name;
    }
}

} // namespace
} // namespace mb::vcard
