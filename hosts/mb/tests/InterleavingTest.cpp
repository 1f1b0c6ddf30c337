// Another program edits, replaces, renames or deletes a card, its file or its folder while mb writes it. After the next run of mb neither
// change is lost, whatever the moment.
#include "InterleavingFixture.h"

#include <sqlite3.h>

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

constexpr const char *kOld = "+1 202 555 0100", *kOurs = "+1 202 555 0199", *kTheirs = "+1 202 555 0177";
constexpr const char *kAnna = "anna.lindqvist@", *kBjorn = "bjorn.odegard@", *kPaivi = "paivi.makela@", *kTheirMail = "theirs@";

std::size_t countIn(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; at += part.size()) ++count;
    return count;
}

// After a first run one contact is edited and one deleted in the store that the other program does not touch.
class InterleavingTest : public Interleaving {
protected:
    void makeStep(const std::string& second)
    {
        registerPlugins();
        ASSERT_EQ(samples({"fill", cards(), "--count", "5"}).code, 0);
        ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", kOld}).code, 0);
        (void)addMap("Mirabook=" + cards(), "vCard=" + second);
        ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    }
    void changeCardFile()
    {
        ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", kOurs}).code, 0);
        ASSERT_EQ(samples({"delete", cards(), "Bjørn Ødegård"}).code, 0);
    }
    std::string inCardFile() { return samples({"show", cards()}).out; }
    virtual std::string inVCards() const = 0;
    void expectInBoth(const std::string& text, std::size_t most = 1)
    {
        for (const std::string& all : {inCardFile(), inVCards()}) {
            EXPECT_GE(countIn(all, text), 1u) << text << " is lost\n" << all;
            EXPECT_LE(countIn(all, text), most) << text << "\n" << all;
        }
    }
    void expectInNone(const std::string& text)
    {
        for (const std::string& all : {inCardFile(), inVCards()}) EXPECT_EQ(countIn(all, text), 0u) << text << "\n" << all;
    }
    void expectOursDone()
    {
        expectInBoth(kOurs);
        expectInNone(kBjorn);
    }

    bool sawOurs_ = false; // mb had written its change when the other program worked
};

class VCardInterleaving : public InterleavingTest {
protected:
    // Writes the file in place, as a simple editor does.
    static bool edit(const fs::path& file, const std::string& from, const std::string& to)
    {
        if (!fs::is_regular_file(file) || textOf(file).find(from) == std::string::npos) return false;
        replaceIn(file, from, to);
        return true;
    }
    // Writes a new file and renames it over the old one, as a careful editor does.
    bool replace(const fs::path& file, const std::string& from, const std::string& to) const
    {
        if (!fs::is_regular_file(file)) return false;
        fs::copy_file(file, home_ / "new");
        if (edit(home_ / "new", from, to)) fs::rename(home_ / "new", file);
        return !fs::remove(home_ / "new");
    }
    bool editTelephone(const fs::path& file)
    {
        sawOurs_ = fs::is_regular_file(file) && textOf(file).find(kOurs) != std::string::npos;
        return edit(file, sawOurs_ ? kOurs : kOld, kTheirs);
    }
    void expectBothTelephones()
    {
        expectInNone(kBjorn);
        expectInBoth(kTheirs);
        if (!sawOurs_) expectInBoth(kOurs);
    }
    void expectEditOfDeleted()
    {
        expectInBoth(kOurs);
        if (acted_) expectInBoth(kTheirMail);
    }
    void expectDeletedUnlessOursCame()
    {
        if (!sawOurs_) return expectInBoth(kOurs);
        expectInNone(kOurs);
        expectInNone(kAnna);
    }
    // A backup that replaces the store after a successful run is a change like any other, and is copied.
    void expectOursUnlessABackupCameAfterIt()
    {
        if (stopped_.code != 0 || !sawOurs_) return expectOursDone();
        expectInNone(kOurs);
        expectInBoth(kOld);
    }
    // Replaces the store by its backup.
    void restore(const fs::path& store) const
    {
        fs::remove_all(store);
        ASSERT_EQ(runProgram("/bin/cp", {"-a", kept_ / store.filename(), store}, {}).code, 0);
    }
    bool replaceByBackup(const fs::path& store)
    {
        sawOurs_ = inVCards().find(kOurs) != std::string::npos;
        fs::rename(store, home_ / "old");
        restore(store);
        return true;
    }
};

class FolderInterleaving : public VCardInterleaving {
protected:
    void SetUp() override
    {
        makeStep(folder());
        anna_ = cardWith(kAnna);
        bjorn_ = cardWith(kBjorn);
        paivi_ = cardWith(kPaivi);
        changeCardFile();
    }
    std::string inVCards() const override
    {
        std::string all;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder()))
            if (entry.path().extension() == ".vcf") all += textOf(entry.path());
        return all;
    }
    // The files whose calls can make a difference to the outcome.
    std::string callsOn(const fs::path& card) const
    {
        return folder().string() + ':' + card.string() + ':' + (folder() / ".mbsync-*").string();
    }

    fs::path anna_, bjorn_, paivi_;
};

TEST_F(FolderInterleaving, AnotherFieldOfTheCardThatIsWritten)
{
    atEveryCall(callsOn(anna_), {"edits the card in place", [&] { return edit(anna_, kAnna, kTheirMail); }, [] {},
                                 [&] {
                                     expectOursDone();
                                     expectInBoth(kTheirMail);
                                 }});
}

TEST_F(FolderInterleaving, AnotherFieldOfTheCardThatIsWrittenInANewFile)
{
    atEveryCall(callsOn(anna_), {"replaces the card's file", [&] { return replace(anna_, kAnna, kTheirMail); }, [] {},
                                 [&] {
                                     expectOursDone();
                                     expectInBoth(kTheirMail);
                                 }});
}

TEST_F(FolderInterleaving, TheFieldThatIsWritten)
{
    atEveryCall(callsOn(anna_), {"edits the same field", [&] { return editTelephone(anna_); }, [] {}, [&] { expectBothTelephones(); }});
}

TEST_F(FolderInterleaving, TheCardThatIsDeleted)
{
    atEveryCall(callsOn(bjorn_),
                {"edits the deleted card", [&] { return edit(bjorn_, kBjorn, kTheirMail); }, [] {}, [&] { expectEditOfDeleted(); }});
}

TEST_F(FolderInterleaving, ACardThatIsNotWritten)
{
    atEveryCall(callsOn(paivi_), {"edits another card", [&] { return edit(paivi_, kPaivi, kTheirMail); }, [] {},
                                  [&] {
                                      expectOursDone();
                                      expectInBoth(kTheirMail);
                                  }});
}

TEST_F(FolderInterleaving, TheDeletionOfTheCardThatIsWritten)
{
    atEveryCall(callsOn(anna_), {"deletes the card",
                                 [&] {
                                     sawOurs_ = textOf(anna_).find(kOurs) != std::string::npos;
                                     return fs::remove(anna_);
                                 },
                                 [] {}, [&] { expectDeletedUnlessOursCame(); }});
}

TEST_F(FolderInterleaving, TheFileNameOfTheCardThatIsWritten)
{
    atEveryCall(callsOn(anna_), {"renames the card's file",
                                 [&] {
                                     fs::rename(anna_, folder() / "renamed.vcf");
                                     return true;
                                 },
                                 [] {},
                                 [&] {
                                     expectInBoth(kOurs);
                                     expectInBoth(kAnna, 2);
                                 }});
}

TEST_F(FolderInterleaving, TheFolderThatIsRenamed)
{
    const fs::path elsewhere = home_ / "Elsewhere";
    atEveryCall(callsOn(anna_), {"renames the folder",
                                 [&] {
                                     fs::rename(folder(), elsewhere);
                                     return true;
                                 },
                                 [&] {
                                     fs::remove_all(folder());
                                     fs::rename(elsewhere, folder());
                                 },
                                 [&] { expectOursDone(); }});
}

TEST_F(FolderInterleaving, TheFolderThatABackupReplaces)
{
    atEveryCall(callsOn(anna_), {"puts a backup in the folder's place", [&] { return replaceByBackup(folder()); }, [] {},
                                 [&] { expectOursUnlessABackupCameAfterIt(); }});
}

TEST_F(FolderInterleaving, TheFolderThatIsDeletedAndRestored)
{
    atEveryCall(callsOn(anna_), {"deletes the folder",
                                 [&] {
                                     sawOurs_ = inVCards().find(kOurs) != std::string::npos;
                                     return fs::remove_all(folder()) > 0;
                                 },
                                 [&] { restore(folder()); }, [&] { expectOursUnlessABackupCameAfterIt(); }});
}

class FileInterleaving : public VCardInterleaving {
protected:
    void SetUp() override
    {
        fs::create_directory(file_.parent_path());
        putText(file_, "");
        makeStep(file_);
        changeCardFile();
    }
    std::string inVCards() const override { return textOf(file_); }
    std::string calls() const
    {
        return file_.string() + ':' + file_.parent_path().string() + ':' + (file_.parent_path() / ".mbsync-*").string();
    }
    bool deleteAnna()
    {
        std::string text = textOf(file_);
        sawOurs_ = text.find(kOurs) != text.npos;
        const std::string end = "END:VCARD\r\n";
        const std::size_t mail = text.find(kAnna), from = text.rfind("BEGIN:VCARD", mail), to = text.find(end, mail) + end.size();
        putText(file_, text.erase(from, to - from));
        return true;
    }

    const fs::path file_ = home_ / "Shared" / "All.vcf";
};

TEST_F(FileInterleaving, AnotherFieldOfTheCardThatIsWritten)
{
    atEveryCall(calls(), {"edits the card in place", [&] { return edit(file_, kAnna, kTheirMail); }, [] {},
                          [&] {
                              expectOursDone();
                              expectInBoth(kTheirMail);
                          }});
}

TEST_F(FileInterleaving, AnotherFieldOfTheCardThatIsWrittenInANewFile)
{
    atEveryCall(calls(), {"replaces the file", [&] { return replace(file_, kAnna, kTheirMail); }, [] {},
                          [&] {
                              expectOursDone();
                              expectInBoth(kTheirMail);
                          }});
}

TEST_F(FileInterleaving, TheFieldThatIsWritten)
{
    atEveryCall(calls(), {"edits the same field", [&] { return editTelephone(file_); }, [] {}, [&] { expectBothTelephones(); }});
}

TEST_F(FileInterleaving, TheCardThatIsDeleted)
{
    atEveryCall(calls(),
                {"edits the deleted card", [&] { return edit(file_, kBjorn, kTheirMail); }, [] {}, [&] { expectEditOfDeleted(); }});
}

TEST_F(FileInterleaving, ACardThatIsNotWritten)
{
    atEveryCall(calls(), {"edits another card", [&] { return edit(file_, kPaivi, kTheirMail); }, [] {},
                          [&] {
                              expectOursDone();
                              expectInBoth(kTheirMail);
                          }});
}

TEST_F(FileInterleaving, TheDeletionOfTheCardThatIsWritten)
{
    atEveryCall(calls(), {"deletes the card", [&] { return deleteAnna(); }, [] {}, [&] { expectDeletedUnlessOursCame(); }});
}

TEST_F(FileInterleaving, TheFileThatIsRenamed)
{
    const fs::path other = home_ / "Shared" / "Other.vcf";
    atEveryCall(calls(), {"renames the file",
                          [&] {
                              fs::rename(file_, other);
                              return true;
                          },
                          [&] { fs::rename(other, file_); }, [&] { expectOursDone(); }});
}

TEST_F(FileInterleaving, TheFolderThatIsRenamed)
{
    const fs::path elsewhere = home_ / "Elsewhere";
    atEveryCall(calls(), {"renames the folder",
                          [&] {
                              fs::rename(file_.parent_path(), elsewhere);
                              return true;
                          },
                          [&] {
                              fs::remove_all(file_.parent_path());
                              fs::rename(elsewhere, file_.parent_path());
                          },
                          [&] { expectOursDone(); }});
}

TEST_F(FileInterleaving, TheFolderThatABackupReplaces)
{
    atEveryCall(calls(), {"puts a backup in the folder's place", [&] { return replaceByBackup(file_.parent_path()); }, [] {},
                          [&] { expectOursUnlessABackupCameAfterIt(); }});
}

TEST_F(FileInterleaving, TheFileThatIsDeletedAndRestored)
{
    atEveryCall(calls(), {"deletes the file",
                          [&] {
                              sawOurs_ = inVCards().find(kOurs) != std::string::npos;
                              return fs::remove(file_);
                          },
                          [&] { restore(file_.parent_path()); }, [&] { expectOursUnlessABackupCameAfterIt(); }});
}

class CardFileInterleaving : public VCardInterleaving {
protected:
    void SetUp() override
    {
        makeStep(folder());
        replaceIn(cardWith(kAnna), kOld, kOurs);
        fs::remove(cardWith(kBjorn));
    }
    std::string inVCards() const override
    {
        std::string all;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder()))
            if (entry.path().extension() == ".vcf") all += textOf(entry.path());
        return all;
    }
    std::string calls() const { return cards() + '*'; }

    // SQLite without pauses: it retries at once for a lock that mb holds, and soon gives up.
    static const char* withoutPauses()
    {
        static sqlite3_vfs files = *sqlite3_vfs_find(nullptr);
        files.zName = "without-pauses";
        files.xSleep = [](sqlite3_vfs*, int) { return 0; };
        static const int registered = sqlite3_vfs_register(&files, 0);
        EXPECT_EQ(registered, SQLITE_OK);
        return files.zName;
    }
    bool run(const std::string& sql)
    {
        sqlite3* database = nullptr;
        bool done = fs::exists(cards()) && sqlite3_open_v2(cards().c_str(), &database, SQLITE_OPEN_READWRITE, withoutPauses()) == SQLITE_OK;
        done = done && sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK && sqlite3_total_changes(database) > 0;
        sqlite3_close(database);
        return done;
    }
    bool edit(const std::string& from, const std::string& to)
    {
        const std::string card = "(SELECT card FROM field WHERE value LIKE '%" + from + "%')";
        return run("BEGIN IMMEDIATE; UPDATE card SET modified = modified + 1000000000 WHERE key = " + card +
                   "; UPDATE field SET value = replace(value, '" + from + "', '" + to + "') WHERE card = " + card + "; COMMIT");
    }
    bool holdsOurs() { return run("BEGIN IMMEDIATE; UPDATE field SET value = value WHERE value = '" + std::string(kOurs) + "'; COMMIT"); }
    // A backup takes a card back to an earlier date, which the engine does not see as a change: the other side keeps what was written.
    void expectOursOrWhatTheBackupHolds()
    {
        if (stopped_.code != 0 || !sawOurs_) return expectOursDone();
        EXPECT_EQ(countIn(inVCards(), kOurs), 1u) << inVCards();
        expectInBoth(kAnna);
    }
    bool bytesHoldOurs() const
    {
        const fs::path log = cards() + "-wal";
        return textOf(cards()).find(kOurs) != std::string::npos || (fs::exists(log) && textOf(log).find(kOurs) != std::string::npos);
    }
    static void moveAll(const fs::path& from, const fs::path& to)
    {
        for (const char* part : {"", "-wal", "-shm"})
            if (fs::exists(from.string() + part)) fs::rename(from.string() + part, to.string() + part);
    }
    void restoreAll() const
    {
        for (const char* part : {"", "-wal", "-shm"}) {
            fs::remove(cards() + part);
            if (fs::exists(kept_ / ("cards.db" + std::string(part))))
                fs::copy_file(kept_ / ("cards.db" + std::string(part)), cards() + part);
        }
    }
};

TEST_F(CardFileInterleaving, AnotherFieldOfTheCardThatIsWritten)
{
    atEveryCall(calls(), {"edits the card", [&] { return edit(kAnna, kTheirMail); }, [] {},
                          [&] {
                              expectOursDone();
                              if (acted_) expectInBoth(kTheirMail);
                          }});
}

TEST_F(CardFileInterleaving, TheFieldThatIsWritten)
{
    atEveryCall(calls(), {"edits the same field",
                          [&] {
                              sawOurs_ = holdsOurs();
                              return edit(sawOurs_ ? kOurs : kOld, kTheirs);
                          },
                          [] {},
                          [&] {
                              expectInNone(kBjorn);
                              if (acted_) expectInBoth(kTheirs);
                              if (!acted_ || !sawOurs_) expectInBoth(kOurs);
                          }});
}

TEST_F(CardFileInterleaving, TheCardThatIsDeleted)
{
    atEveryCall(calls(), {"edits the deleted card", [&] { return edit(kBjorn, kTheirMail); }, [] {}, [&] { expectEditOfDeleted(); }});
}

TEST_F(CardFileInterleaving, TheDeletionOfTheCardThatIsWritten)
{
    atEveryCall(calls(),
                {"deletes the card",
                 [&] {
                     sawOurs_ = holdsOurs();
                     return run("PRAGMA foreign_keys = ON; DELETE FROM card WHERE key = (SELECT card FROM field WHERE value LIKE '%" +
                                std::string(kAnna) + "%')");
                 },
                 [] {},
                 [&] {
                     if (acted_) return expectDeletedUnlessOursCame();
                     expectOursDone();
                 }});
}

TEST_F(CardFileInterleaving, TheFileThatIsRenamed)
{
    const fs::path other = home_ / "other.db";
    atEveryCall(calls(), {"renames the file",
                          [&] {
                              moveAll(cards(), other);
                              return true;
                          },
                          [&] {
                              for (const char* part : {"", "-wal", "-shm"}) fs::remove(cards() + part);
                              moveAll(other, cards());
                          },
                          [&] { expectOursDone(); }});
}

TEST_F(CardFileInterleaving, TheFileThatABackupReplaces)
{
    atEveryCall(calls(), {"puts a backup in its place",
                          [&] {
                              sawOurs_ = bytesHoldOurs();
                              restoreAll();
                              return true;
                          },
                          [] {}, [&] { expectOursOrWhatTheBackupHolds(); }});
}

TEST_F(CardFileInterleaving, TheFileThatIsDeletedAndRestored)
{
    atEveryCall(calls(), {"deletes the file",
                          [&] {
                              sawOurs_ = bytesHoldOurs();
                              return fs::remove(cards());
                          },
                          [&] { restoreAll(); }, [&] { expectOursOrWhatTheBackupHolds(); }});
}

} // namespace
