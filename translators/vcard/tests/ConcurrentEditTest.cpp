// Another program edits, deletes or replaces what a store is about to write. Also: what the store refuses to write.
#include "CardStoreFixture.h"

#include "Charset.h"

namespace mb::vcard {
namespace {

// Writes other bytes of the same length and restores the date, so that only the bytes show the change.
void changeUnseen(const fs::path& file, const std::string& bytes)
{
    const auto date = fs::last_write_time(file);
    ASSERT_EQ(fs::file_size(file), bytes.size());
    writeBytes(file, bytes);
    fs::last_write_time(file, date);
}

template <class F> void expectChanged(const std::string& name, F&& body)
{
    try {
        body();
        ADD_FAILURE() << "expected a failure";
    } catch (const FileError& e) {
        EXPECT_EQ(e.why(), FileError::Why::Changed) << e.what();
        EXPECT_NE(std::string(e.what()).find(name), std::string::npos) << e.what();
    }
}

FileState replaceIfSame(const Folder& folder, const std::string& name, const std::string& before, const std::string& bytes)
{
    Folder::Draft draft(folder);
    draft.write(bytes);
    return draft.replaceIfSame(name, before);
}

using FolderReplace = CardStoreTest;

TEST_F(FolderReplace, ReplacesAFileThatContainsWhatWasRead)
{
    put("a.vcf", "before");
    const Folder cards(folder.string());
    const FileState state = replaceIfSame(cards, "a.vcf", "before", "new");
    EXPECT_EQ(get("a.vcf"), "new");
    EXPECT_EQ(cards.stateOf("a.vcf"), state);
    EXPECT_EQ(strayFiles(), 0u);
}

TEST_F(FolderReplace, PutsBackWhatAnotherProgramWrote)
{
    const Folder cards(folder.string());
    for (const std::string theirs : {"theirs", "of another length", ""}) {
        put("a.vcf", theirs);
        const FileState state = *cards.stateOf("a.vcf");
        expectChanged("a.vcf", [&] { replaceIfSame(cards, "a.vcf", "before", "new"); });
        EXPECT_EQ(get("a.vcf"), theirs);
        EXPECT_EQ(cards.stateOf("a.vcf"), state);
        EXPECT_EQ(strayFiles(), 0u);
    }
}

TEST_F(FolderReplace, DoesNotRecreateAFileThatAnotherProgramDeleted)
{
    const Folder cards(folder.string());
    expectChanged("a.vcf", [&] { replaceIfSame(cards, "a.vcf", "before", "new"); });
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(FolderReplace, PutsBackAFolder)
{
    fs::create_directory(folder / "a.vcf");
    const Folder cards(folder.string());
    EXPECT_THROW(replaceIfSame(cards, "a.vcf", "before", "new"), FileError);
    EXPECT_TRUE(fs::is_directory(folder / "a.vcf"));
    EXPECT_EQ(strayFiles(), 0u);
}

TEST_F(FolderReplace, DeletesAFileOnlyInTheKnownState)
{
    put("a.vcf", "before");
    const Folder cards(folder.string());
    const FileState state = *cards.stateOf("a.vcf");
    put("a.vcf", "theirs, longer");
    expectChanged("a.vcf", [&] { cards.removeIfSame("a.vcf", state); });
    EXPECT_EQ(get("a.vcf"), "theirs, longer");
    expectChanged("b.vcf", [&] { cards.removeIfSame("b.vcf", state); });
    cards.removeIfSame("a.vcf", *cards.stateOf("a.vcf"));
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(FolderReplace, ANewFileDoesNotReplaceAnother)
{
    put("a.vcf", "theirs");
    const Folder cards(folder.string());
    Folder::Draft draft(cards);
    draft.write("new");
    EXPECT_THROW(draft.place("a.vcf"), FileError);
    EXPECT_EQ(get("a.vcf"), "theirs");
}

TEST_F(VCardFolder, AnEditThatKeptTheDateIsNotOverwritten)
{
    put("a.vcf", cardText("A"));
    auto store = open();
    store.beginEdit("a.vcf");
    store.write("a.vcf", ftTitle, u"mine");
    changeUnseen(folder / "a.vcf", cardText("B"));
    expectFailure(Step::Save, "another program", [&] { store.save("a.vcf"); });
    EXPECT_EQ(get("a.vcf"), cardText("B"));
    EXPECT_EQ(strayFiles(), 0u);
}

// The engine decided by the date that the store reported, so it does not know what the file contains now.
TEST_F(VCardFolder, ACardThatChangedSinceItWasListedIsNotEdited)
{
    put("a.vcf", cardText("A"));
    auto store = open();
    put("a.vcf", cardText("theirs"));
    expectFailure(Step::Edit, "another program", [&] { edit(store, "a.vcf", ftTitle, u"mine"); });
    EXPECT_EQ(read(store, "a.vcf", ftLastName), u"theirs");
    expectFailure(Step::Edit, "another program", [&] { edit(store, "a.vcf", ftTitle, u"mine"); });
    EXPECT_EQ(get("a.vcf"), cardText("theirs"));
}

TEST_F(VCardFolder, AFileWhoseLastCardIsDeletedIsDeleted)
{
    put("m.vcf", cardText("1", "u1") + cardText("2", "u2"));
    auto store = open();
    store.beginBatch();
    store.remove("m.vcf#u1");
    store.remove("m.vcf#u2");
    store.endBatch(false);
    EXPECT_TRUE(fs::is_empty(folder));
    EXPECT_EQ(open().count(), 0u);
    EXPECT_EQ(reports, "");
}

// A card is parsed before it is written: one that would not read back is refused, and the message names it.
TEST_F(VCardFolder, ACardThatWouldNotReadBackIsRefusedAndNamed)
{
    const std::string wide = utf16("BEGIN:VCARD\r\nVERSION:2.1\r\nN:Doe;Jane\r\nNOTE;CHARSET=ISO-8859-1:old\r\nEND:VCARD\r\n", false);
    put("wide.vcf", wide);
    put("many.vcf",
        utf16(cardText("1", "u1"), true) +
            utf16("BEGIN:VCARD\r\nVERSION:2.1\r\nUID:u2\r\nN:Doe;Jane\r\nNOTE;CHARSET=ISO-8859-1:old\r\nEND:VCARD\r\n", true).substr(2));
    put("a.vcf", cardText("A"));
    const std::string many = get("many.vcf");
    auto store = open();
    store.beginBatch();
    // A UTF-16 file cannot contain bytes of another charset.
    expectFailure(Step::Save, "\"wide.vcf\" (Jane Doe)", [&] { edit(store, "wide.vcf", ftNotes, u"grün"); });
    expectFailure(Step::Save, "\"many.vcf#u2\" (Jane Doe)", [&] { edit(store, "many.vcf#u2", ftNotes, u"grün"); });
    const std::u16string huge(kMaxLine, u'x');
    expectFailure(Step::Save, "\"a.vcf\" (A)", [&] { edit(store, "a.vcf", ftNotes, huge); });
    edit(store, "many.vcf#u1", ftTitle, u"written");
    store.endBatch(false);
    EXPECT_EQ(get("wide.vcf"), wide);
    EXPECT_EQ(get("a.vcf"), cardText("A"));
    EXPECT_EQ(strayFiles(), 0u);
    auto again = open();
    EXPECT_EQ(read(again, "many.vcf#u1", ftTitle), u"written");
    EXPECT_EQ(read(again, "many.vcf#u2", ftNotes), u"old");
    EXPECT_EQ(reports, "");
}

TEST(CardReadBack, IsFalseForBytesOfAnotherCard)
{
    const Card card = Card::parse(cardText("A", "u1"));
    EXPECT_TRUE(card.readsBackFrom(cardText("A", "u1")));
    for (const std::string& other : {cardText("B", "u1"), cardText("A"), cardText("A", "u1") + cardText("B"), std::string(),
                                     std::string("x"), cardText("A", "u1").substr(0, 40)})
        EXPECT_FALSE(card.readsBackFrom(other)) << other;
}

#ifndef _WIN32
// The cards were written to the folder that was moved, and the next run would not find them.
TEST_F(VCardFolder, ThatWasMovedOrReplacedFailsTheBatch)
{
    for (const bool replaced : {false, true}) {
        put("a.vcf", cardText("A"));
        auto store = open();
        store.beginBatch();
        edit(store, "a.vcf", ftTitle, u"mine");
        fs::rename(folder, root / "moved");
        if (replaced) fs::create_directory(folder);
        expectFailure(Step::Update, folder.string(), [&] { store.endBatch(false); });
        fs::remove_all(folder);
        fs::rename(root / "moved", folder);
    }
}
#endif

class SharedFile : public CardStoreTest {
protected:
    // In a store with cards 1, 2 and 3, a batch edits 1, deletes 2 and adds a card; then another program writes the file.
    void expectMerged(const std::string& theirs, const std::string& wanted)
    {
        CardStore store = opened();
        begin(store);
        const std::string id = add(store, u"New");
        put("all.vcf", theirs);
        age("all.vcf", 5);
        store.endBatch(false);
        const std::string written = get("all.vcf");
        EXPECT_EQ(written.substr(0, wanted.size()), wanted);
        EXPECT_EQ(scanCards(written).cards.size(), scanCards(wanted).cards.size() + 1) << "with the new card";
        EXPECT_EQ(strayFiles(), 0u);
        const std::vector<std::string> listed = ids(store);
        EXPECT_EQ(listed.back(), id);
        EXPECT_EQ(ids(open(folder / "all.vcf")), listed) << "the store lists what it wrote";
    }
    void expectRefused(const std::string& theirs, const std::string& card)
    {
        {
            CardStore store = opened();
            begin(store);
            add(store, u"New");
            put("all.vcf", theirs);
            age("all.vcf", 5);
            expectFailure(Step::Update, card, [&] { store.endBatch(false); });
            EXPECT_EQ(get("all.vcf"), theirs);
            EXPECT_EQ(ids(store), (std::vector<std::string>{"all.vcf#u1", "all.vcf#u2", "all.vcf#u3"})) << "as before the batch";
            store.close();
        }
        EXPECT_EQ(get("all.vcf"), theirs) << "closing the store must not write either";
        EXPECT_EQ(strayFiles(), 0u);
    }
    CardStore opened()
    {
        put("all.vcf", one + two + three);
        return open(folder / "all.vcf");
    }
    static void begin(CardStore& store)
    {
        store.beginBatch();
        edit(store, "all.vcf#u1", ftTitle, u"mine");
        store.remove("all.vcf#u2");
    }
    static std::string titled(std::string card, const std::string& title)
    {
        return card.insert(card.find("END:"), "TITLE:" + title + "\r\n");
    }

    const std::string one = cardText("1", "u1"), two = cardText("2", "u2"), three = cardText("3", "u3");
};

TEST_F(SharedFile, MergesEditsOfDifferentCards)
{
    const std::string edited = titled(one, "mine"), four = cardText("4", "u4");
    expectMerged(one + two + titled(three, "theirs"), edited + titled(three, "theirs"));
    expectMerged(one + two, edited);
    expectMerged(one + two + three + four, edited + three + four);
    expectMerged(four + "\r\n" + three + two + one, four + "\r\n" + three + edited);
}

TEST_F(SharedFile, MakesEqualChangesOnce)
{
    expectMerged(titled(one, "mine") + two + three, titled(one, "mine") + three);
    expectMerged(one + three, titled(one, "mine") + three);
}

TEST_F(SharedFile, IsNotWrittenIfBothChangedTheSameCard)
{
    expectRefused(titled(one, "theirs") + two + three, "\"all.vcf#u1\" (1)");
    expectRefused(two + three, "\"all.vcf#u1\" (1)");
    expectRefused(one + titled(two, "theirs") + three, "\"all.vcf#u2\" (2)");
    expectRefused("", "all.vcf");
    expectRefused(one + two + "BEGIN:VCARD\r\n", "all.vcf");
}

TEST_F(SharedFile, IsMergedEvenIfItsDateDidNotChange)
{
    CardStore store = opened();
    begin(store);
    std::string theirs = three;
    theirs.replace(theirs.find("FN:3"), 4, "FN:4");
    changeUnseen(folder / "all.vcf", one + two + theirs);
    store.endBatch(false);
    EXPECT_EQ(get("all.vcf"), titled(one, "mine") + theirs);
}

TEST_F(SharedFile, IsNotRecreatedAfterItWasDeletedOrRenamed)
{
    for (const bool renamed : {false, true}) {
        CardStore store = opened();
        begin(store);
        if (renamed)
            fs::rename(folder / "all.vcf", folder / "other.vcf");
        else
            fs::remove(folder / "all.vcf");
        expectFailure(Step::Update, "all.vcf", [&] { store.endBatch(false); });
        EXPECT_FALSE(fs::exists(folder / "all.vcf"));
    }
}

// The new card has the line ends that the file had when it was read, and cannot be parsed in a file with other line ends.
TEST_F(SharedFile, IsNotWrittenIfACardWouldNotReadBack)
{
    std::string old = one;
    std::erase(old, '\n');
    put("all.vcf", old);
    CardStore store = open(folder / "all.vcf");
    store.beginBatch();
    add(store, u"New");
    put("all.vcf", one);
    age("all.vcf", 5);
    expectFailure(Step::Update, "(New) would not read back", [&] { store.endBatch(false); });
    EXPECT_EQ(get("all.vcf"), one);
}

// Cards without UID are identified by name; those with the same name are numbered in file order.
TEST_F(SharedFile, FindsACardWithoutUidThatMoved)
{
    const std::string a = cardText("A"), other = titled(a, "other");
    put("all.vcf", a + other + three);
    CardStore store = open(folder / "all.vcf");
    store.beginBatch();
    edit(store, store.idAt(1), ftPhone, u"1");
    put("all.vcf", other + a + three);
    age("all.vcf", 5);
    store.endBatch(false);
    EXPECT_EQ(get("all.vcf"), other.substr(0, other.find("END:")) + "TEL;TYPE=WORK,VOICE:1\r\nEND:VCARD\r\n" + a + three);
}

TEST_F(SharedFile, LosesOneOfTwoEqualCardsIfBothDeleteOne)
{
    const std::string a = cardText("A");
    put("all.vcf", a + a + three);
    CardStore store = open(folder / "all.vcf");
    store.beginBatch();
    store.remove(store.idAt(1));
    put("all.vcf", a + three);
    age("all.vcf", 5);
    store.endBatch(false);
    EXPECT_EQ(get("all.vcf"), a + three);
}

} // namespace
} // namespace mb::vcard
