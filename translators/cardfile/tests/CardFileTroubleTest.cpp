// Card files with trouble: full disks, missing permissions, other programs, damaged content.
#include "Support.h"

#include <csignal>
#include <fstream>
#include <set>
#include <sys/resource.h>

namespace mb::cardfile {
namespace {

using plugin::Step;

// Permissions do not bind root; another user has no rights to drop.
bool dropRights() { return geteuid() != 0 || seteuid(65534) == 0; }

class CardFileTroubleTest : public CardFileTest {
protected:
    [[nodiscard]] std::string bytes() const
    {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void put(const std::string& content) const { std::ofstream(file, std::ios::binary) << content; }
    std::string openFailure()
    {
        return failureNaming([&] { (void)open(); });
    }
    std::string makeFailure()
    {
        return failureNaming([&] { CardFile::make(file.string()); });
    }
    [[nodiscard]] std::set<std::string> namesInFolder() const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename().string());
        return names;
    }

private:
    std::string failureNaming(const std::function<void()>& work)
    {
        const std::string message = failureOf(Step::Open, work);
        EXPECT_NE(message.find(file.string()), std::string::npos) << message;
        return message;
    }
};

TEST_F(CardFileTroubleTest, AFileThatIsNotACardFileIsRefusedAndKeepsItsBytes)
{
    for (const std::string& content : {std::string("BEGIN:VCARD\r\nVERSION:3.0\r\nEND:VCARD\r\n"), std::string(100'000, '\0'),
                                       std::string("SQLite format 3\0 and then nonsense", 34)}) {
        put(content);
        EXPECT_NE(openFailure().find("is not a card file, or is damaged"), std::string::npos);
        EXPECT_EQ(bytes(), content);
    }
}

TEST_F(CardFileTroubleTest, ADatabaseOfAnotherProgramIsRefusedAndKeepsItsBytes)
{
    fs::remove(file);
    sql("CREATE TABLE theirs (a); INSERT INTO theirs VALUES (1)");
    std::string before = bytes();
    EXPECT_NE(openFailure().find("is a database, but not a card file"), std::string::npos);
    EXPECT_EQ(bytes(), before);
    fs::remove(file);
    sql("PRAGMA application_id = 77");
    before = bytes();
    EXPECT_NE(openFailure().find("is a database, but not a card file"), std::string::npos);
    EXPECT_EQ(bytes(), before);
}

TEST_F(CardFileTroubleTest, AFileOfALaterVersionIsRefusedAndKeepsItsBytes)
{
    addCard(*open(), u"Lovelace");
    for (const std::string version : {"3", "5", "2147483647"}) {
        sql(("PRAGMA user_version = " + version).c_str());
        const std::string before = bytes();
        EXPECT_NE(openFailure().find("later version"), std::string::npos);
        EXPECT_EQ(bytes(), before);
        EXPECT_EQ(sqlText("PRAGMA user_version"), version);
    }
    EXPECT_EQ(sqlText("SELECT count(*) FROM card"), "1");
}

// What is written to a replaced file is lost: the path leads to another file.
TEST_F(CardFileTroubleTest, AFileThatIsReplacedOrDeletedWhileItIsOpenFailsTheBatchAndTheSave)
{
    addCard(*open(), u"Lovelace");
    const fs::path backup = folder / "backup";
    fs::copy_file(file, backup);
    for (const bool batch : {true, false})
        for (const bool deleted : {true, false}) {
            const auto cards = open();
            if (batch) {
                cards->beginBatch();
                addCard(*cards, u"Hopper");
            }
            fs::remove(file);
            if (!deleted) fs::copy_file(backup, file);
            const std::string message = batch ? failureOf(Step::Update, [&] { cards->endBatch(false); })
                                              : failureOf(Step::Save, [&] { addCard(*cards, u"Hopper"); });
            EXPECT_NE(message.find(file.string()), std::string::npos) << message;
            EXPECT_EQ(cards->count(), 1u) << "the failed save kept nothing";
            for (const char* part : {"", "-wal", "-shm"}) fs::remove(file.string() + part);
            fs::copy_file(backup, file);
        }
}

// A later version may also use another journal mode.
TEST_F(CardFileTroubleTest, AFileOfALaterVersionKeepsItsJournalMode)
{
    addCard(*open(), u"Lovelace");
    sql("PRAGMA journal_mode = DELETE; PRAGMA user_version = 5");
    const std::string before = bytes();
    (void)openFailure();
    EXPECT_EQ(bytes(), before);
    EXPECT_EQ(sqlText("PRAGMA journal_mode"), "delete");
}

TEST_F(CardFileTroubleTest, ACardFileWithoutItsTablesIsRefused)
{
    (void)open();
    sql("DROP TABLE field");
    EXPECT_NE(openFailure().find("no such table"), std::string::npos);
}

TEST_F(CardFileTroubleTest, ATriggerInTheSchemaIsNotRun)
{
    const std::string kept = addCard(*open(), u"Kept"), changed = addCard(*open(), u"Lovelace");
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, "CREATE TRIGGER trap AFTER UPDATE ON card BEGIN DELETE FROM card; END", nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    const auto cards = open();
    cards->beginEdit(changed);
    cards->write(changed, ftLastName, u"King");
    EXPECT_EQ(cards->save(changed), changed);
    EXPECT_EQ(readValue(*cards, kept, ftLastName), u"Kept");
    EXPECT_EQ(readValue(*cards, changed, ftLastName), u"King");
}

TEST_F(CardFileTroubleTest, AViewInPlaceOfATableIsRefused)
{
    (void)open();
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, "DROP TABLE field; CREATE VIEW field AS SELECT 1 AS card, 2 AS type, 'x' AS value", nullptr, nullptr,
                           nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    EXPECT_NE(openFailure().find(file.string()), std::string::npos);
}

TEST_F(CardFileTroubleTest, ATruncatedCardFileIsReadOrRefused)
{
    std::string id;
    {
        const auto cards = open();
        cards->beginBatch();
        for (int i = 0; i < 200; ++i) id = addCard(*cards, u"Lovelace", std::u16string(200, u'x'));
        cards->endBatch(false);
    }
    const std::string whole = bytes();
    std::size_t refused = 0;
    for (std::size_t cut = 1; cut < whole.size(); cut += whole.size() / 37) {
        put(whole.substr(0, cut));
        try {
            const auto cards = open();
            for (std::size_t i = 0; i < cards->count(); ++i) (void)readValue(*cards, cards->idAt(i), ftNotes);
        } catch (const plugin::StoreError& e) {
            EXPECT_NE(std::string(e.what()).find(file.string()), std::string::npos) << e.what();
            ++refused;
        }
    }
    EXPECT_GT(refused, 30u);
}

TEST_F(CardFileTroubleTest, AMissingFolderAndAFolderInPlaceOfTheFileAreReportedClearly)
{
    file = folder / "none" / "cards";
    EXPECT_NE(openFailure().find("is missing, and so is its folder"), std::string::npos);
    EXPECT_NE(makeFailure().find("Check that its folder exists"), std::string::npos);
    EXPECT_FALSE(fs::exists(folder / "none"));
    file = folder;
    EXPECT_NE(openFailure().find("cannot be opened"), std::string::npos);
    EXPECT_NE(makeFailure().find("cannot be opened"), std::string::npos);
}

TEST_F(CardFileTroubleTest, AnEmptyNameAndADamagedNameAreReportedClearly)
{
    EXPECT_NE(failureOf(Step::Open, [] { CardFile("", nullptr); }).find("No card file is chosen"), std::string::npos);
    const std::string damaged = file.string() + std::string("\0.txt", 5);
    EXPECT_NE(failureOf(Step::Open, [&] { CardFile(damaged, nullptr); }).find("name"), std::string::npos);
    fs::remove(file);
    EXPECT_NE(failureOf(Step::Open, [&] { CardFile::make(damaged); }).find("name"), std::string::npos);
    EXPECT_FALSE(fs::exists(file)) << "the name up to the NUL character is another file";
}

TEST_F(CardFileTroubleTest, AReadOnlyFolderIsReportedClearly)
{
    const std::string id = addCard(*open(), u"Lovelace");
    fs::permissions(file, static_cast<fs::perms>(0666));
    fs::permissions(folder, static_cast<fs::perms>(0555));
    EXPECT_TRUE(start([&] {
        if (!dropRights()) return false;
        EXPECT_NE(openFailure().find("who may write"), std::string::npos) << openFailure();
        file = folder / "new";
        EXPECT_NE(makeFailure().find("write there"), std::string::npos) << makeFailure();
        return true;
    })());
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_EQ(readValue(*open(), id, ftLastName), u"Lovelace");
}

TEST_F(CardFileTroubleTest, AReadOnlyFileIsReadAndNotChanged)
{
    const std::string id = addCard(*open(), u"Lovelace");
    const std::set<std::string> before = namesInFolder();
    fs::permissions(folder, fs::perms::all);
    fs::permissions(file, static_cast<fs::perms>(0444));
    EXPECT_TRUE(start([&] {
        if (!dropRights()) return false;
        const auto cards = open();
        EXPECT_EQ(readValue(*cards, id, ftLastName), u"Lovelace");
        EXPECT_NE(failureOf(Step::Update, [&] { cards->expectWritable(id); }).find("cannot be written"), std::string::npos);
        EXPECT_NE(failureOf(Step::Update, [&] { cards->beginBatch(); }).find("cannot be written"), std::string::npos);
        cards->beginEdit(id);
        cards->write(id, ftLastName, u"x");
        EXPECT_NE(failureOf(Step::Save, [&] { cards->save(id); }).find("cannot be written"), std::string::npos);
        EXPECT_NE(failureOf(Step::Delete, [&] { cards->remove(id); }).find("cannot be written"), std::string::npos);
        EXPECT_EQ(namesInFolder(), before) << "while it is open";
        return true;
    })());
    EXPECT_EQ(namesInFolder(), before);
    fs::permissions(file, static_cast<fs::perms>(0644));
    EXPECT_EQ(readValue(*open(), id, ftLastName), u"Lovelace");
    EXPECT_NO_THROW(open()->expectWritable(id));
}

TEST_F(CardFileTroubleTest, AFileThatWasReadOnlyForAWhileCanBeWrittenAgain)
{
    const std::string id = addCard(*open(), u"Lovelace");
    fs::permissions(folder, fs::perms::all);
    ASSERT_TRUE(geteuid() != 0 || chown(file.c_str(), 65534, 65534) == 0);
    EXPECT_TRUE(start([&] {
        if (!dropRights()) return false;
        fs::permissions(file, static_cast<fs::perms>(0444));
        EXPECT_EQ(readValue(*open(), id, ftLastName), u"Lovelace");
        fs::permissions(file, static_cast<fs::perms>(0600));
        const auto cards = open();
        cards->beginBatch();
        cards->beginEdit(id);
        cards->write(id, ftLastName, u"King");
        cards->save(id);
        cards->endBatch(false);
        return true;
    })());
    EXPECT_EQ(readValue(*open(), id, ftLastName), u"King");
}

// A file that is read without locks is read in the state in which it was opened, or not at all.
TEST_F(CardFileTroubleTest, AReadOnlyFileThatAnotherProgramChangesMeanwhileIsNotReadOn)
{
    const std::string id = addCard(*open(), u"Lovelace");
    fs::permissions(folder, fs::perms::all);
    fs::permissions(file, static_cast<fs::perms>(0444));
    int toParent[2], toChild[2];
    ASSERT_EQ(pipe(toParent), 0);
    ASSERT_EQ(pipe(toChild), 0);
    char byte = 0;
    const auto child = start([&] {
        if (!dropRights()) return false;
        const auto cards = open();
        if (write(toParent[1], &byte, 1) != 1 || read(toChild[0], &byte, 1) != 1) return false;
        EXPECT_NE(failureOf(Step::BeginRead, [&] { cards->beginRead(id); }).find("changed by another program"), std::string::npos);
        return true;
    });
    ASSERT_EQ(read(toParent[0], &byte, 1), 1);
    fs::permissions(file, static_cast<fs::perms>(0644)); // without this, a user who is not root could not write
    addCard(*open(), u"Hopper", std::u16string(10'000, u'x'));
    fs::permissions(file, static_cast<fs::perms>(0444));
    ASSERT_EQ(write(toChild[1], &byte, 1), 1);
    EXPECT_TRUE(child());
    for (const int end : {toParent[0], toParent[1], toChild[0], toChild[1]}) close(end);
}

TEST_F(CardFileTroubleTest, ChangesThatAKilledProgramLeftAreReadOrRefusedButNeverIgnored)
{
    std::string id;
    std::string log;
    {
        const auto cards = open();
        id = addCard(*cards, u"Lovelace");
        std::ifstream in(file.string() + "-wal", std::ios::binary);
        log.assign(std::istreambuf_iterator<char>(in), {});
        ASSERT_FALSE(log.empty());
    }
    std::ofstream(file.string() + "-wal", std::ios::binary) << log;
    fs::permissions(folder, fs::perms::all);
    fs::permissions(file, static_cast<fs::perms>(0444));
    EXPECT_TRUE(start([&] {
        if (!dropRights()) return false;
        EXPECT_NE(openFailure().find("-wal"), std::string::npos);
        return true;
    })());
    EXPECT_FALSE(fs::exists(file.string() + "-shm"));
}

TEST_F(CardFileTroubleTest, ADiskThatFillsUpLosesTheBatchAndReportsIt)
{
    const std::string id = addCard(*open(), u"Lovelace");
    EXPECT_TRUE(start([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{512 << 10, RLIM_INFINITY};
        const auto cards = open();
        cards->beginBatch();
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
        std::string failed;
        try {
            for (int i = 0; i < 5000; ++i) addCard(*cards, u"lost", std::u16string(1000, u'x'));
        } catch (const plugin::StoreError& e) {
            EXPECT_EQ(e.step(), Step::Save);
            failed = e.what();
        }
        EXPECT_NE(failed.find(file.string()), std::string::npos) << failed;
        EXPECT_EQ(cards->count(), 1u) << "the list matches the file";
        EXPECT_EQ(readValue(*cards, id, ftLastName), u"Lovelace");
        EXPECT_NE(failureOf(Step::Save, [&] { addCard(*cards, u"late"); }).find("nothing of this batch was kept"), std::string::npos);
        EXPECT_NE(failureOf(Step::Update, [&] { cards->endBatch(false); }).find("nothing of this batch was kept"), std::string::npos);
        return true;
    })());
    EXPECT_EQ(sqlText("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(open()->count(), 1u);
}

TEST_F(CardFileTroubleTest, ADiskThatIsFullWhenTheBatchEndsLosesTheBatchAndReportsIt)
{
    const std::string id = addCard(*open(), u"Lovelace");
    EXPECT_TRUE(start([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const auto cards = open();
        cards->beginBatch();
        for (int i = 0; i < 100; ++i) addCard(*cards, u"lost", std::u16string(1000, u'x'));
        const rlimit limit{4096, RLIM_INFINITY};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
        EXPECT_NE(failureOf(Step::Update, [&] { cards->endBatch(false); }).find("has room"), std::string::npos);
        EXPECT_EQ(cards->count(), 1u);
        EXPECT_EQ(readValue(*cards, id, ftLastName), u"Lovelace");
        return true;
    })());
    EXPECT_EQ(open()->count(), 1u);
}

TEST_F(CardFileTroubleTest, ADiskThatIsNearlyFullRefusesTheNextCardAndKeepsThoseBefore)
{
    std::uintmax_t space = 1 << 30;
    {
        const auto cards = open([&] { return space; });
        cards->beginBatch();
        for (int i = 0; i < 5; ++i) addCard(*cards, u"kept");
        space = 100'000;
        EXPECT_NE(failureOf(Step::Save, [&] { addCard(*cards, u"refused"); }).find("the disk is full"), std::string::npos);
        cards->close();
    }
    const auto cards = open();
    EXPECT_EQ(cards->count(), 5u);
    for (std::size_t i = 0; i < cards->count(); ++i) EXPECT_EQ(readValue(*cards, cards->idAt(i), ftLastName), u"kept");
}

TEST_F(CardFileTroubleTest, AFullDiskAtCreationLeavesAFileThatCanBeMadeLater)
{
    fs::remove(file);
    EXPECT_TRUE(start([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1000, RLIM_INFINITY};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
        makeFailure();
        return true;
    })());
    CardFile::make(file.string());
    EXPECT_EQ(open()->count(), 0u);
}

TEST_F(CardFileTroubleTest, AFileThatAnotherProgramIsWritingIsReportedAsInUse)
{
    const auto cards = open();
    const std::string id = addCard(*cards, u"Lovelace");
    Database other(file.string());
    other.execute("BEGIN IMMEDIATE");
    EXPECT_EQ(readValue(*cards, id, ftLastName), u"Lovelace") << "reading does not wait";
    EXPECT_NE(failureOf(Step::Update, [&] { cards->beginBatch(); }).find("in use by another program"), std::string::npos);
    other.execute("COMMIT");
    cards->beginBatch();
    cards->endBatch(false);
}

TEST_F(CardFileTroubleTest, ManyProcessesCanCreateTheFileAtOnce)
{
    fs::remove(file);
    std::vector<std::function<bool()>> children;
    for (int i = 0; i < 8; ++i)
        children.push_back(start([&] {
            CardFile::make(file.string());
            addCard(*open(), u"x");
            return true;
        }));
    for (auto& wait : children) EXPECT_TRUE(wait());
    EXPECT_EQ(open()->count(), 8u);
}

TEST_F(CardFileTroubleTest, TwoProcessesWriteBatchAfterBatch)
{
    (void)open();
    const auto work = [&](std::u16string name) {
        return [this, name] {
            const auto cards = open();
            for (int batch = 0; batch < 10; ++batch) {
                cards->beginBatch();
                for (int i = 0; i < 20; ++i) addCard(*cards, name);
                cards->endBatch(false);
            }
            return true;
        };
    };
    const auto first = start(work(u"first")), second = start(work(u"second"));
    EXPECT_TRUE(first());
    EXPECT_TRUE(second());
    EXPECT_EQ(sqlText("SELECT group_concat(n) FROM (SELECT count(*) AS n FROM field GROUP BY value)"), "200,200");
}

TEST_F(CardFileTroubleTest, ACardThatAnotherProgramChangedIsNotOverwritten)
{
    const auto mine = open();
    const std::string id = addCard(*mine, u"before"), open1 = addCard(*mine, u"open");
    const auto change = [](CardFile& cards, const std::string& card, std::u16string_view name) {
        cards.beginEdit(card);
        cards.write(card, ftLastName, name);
        cards.save(card);
    };
    mine->beginEdit(open1);
    mine->write(open1, ftLastName, u"mine");
    {
        const auto theirs = open();
        change(*theirs, id, u"theirs");
        change(*theirs, open1, u"theirs");
    }
    EXPECT_NE(failureOf(Step::Save, [&] { mine->save(open1); }).find("changed by another program"), std::string::npos);
    EXPECT_NE(failureOf(Step::Edit, [&] { mine->beginEdit(id); }).find("changed by another program"), std::string::npos);
    EXPECT_NE(failureOf(Step::Delete, [&] { mine->remove(id); }).find("changed by another program"), std::string::npos);
    const auto later = open();
    EXPECT_EQ(readValue(*later, id, ftLastName), u"theirs");
    EXPECT_EQ(readValue(*later, open1, ftLastName), u"theirs");
    change(*later, id, u"again");
    EXPECT_EQ(readValue(*later, id, ftLastName), u"again");
}

TEST_F(CardFileTroubleTest, ACardThatAnotherProgramDeletedIsMissingAndNotEmpty)
{
    const auto mine = open();
    const std::string id = addCard(*mine, u"Lovelace"), deletedByBoth = addCard(*mine, u"x");
    mine->beginEdit(id);
    mine->write(id, ftTitle, u"Countess");
    std::string other;
    {
        const auto theirs = open();
        theirs->remove(deletedByBoth);
        theirs->remove(id);
        other = addCard(*theirs, u"Hopper");
    }
    failureOf(Step::Save, [&] { mine->save(id); });
    EXPECT_NE(failureOf(Step::BeginRead, [&] { mine->beginRead(id); }).find("has no card"), std::string::npos);
    failureOf(Step::Edit, [&] { mine->beginEdit(id); });
    mine->remove(deletedByBoth);
    const auto later = open();
    EXPECT_EQ(later->count(), 1u);
    EXPECT_EQ(readValue(*later, other, ftLastName), u"Hopper");
    EXPECT_EQ(readValue(*later, other, ftTitle), u"");
}

} // namespace
} // namespace mb::cardfile
