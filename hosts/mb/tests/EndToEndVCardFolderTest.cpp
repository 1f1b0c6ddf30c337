// What happens to a vCard folder between two runs must not make the other store lose contacts.
#include "EndToEndFixture.h"

#include <cerrno>
#include <sys/stat.h>

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

constexpr int kContacts = 6;

class VCardFolderStory : public EndToEnd {
protected:
    // Synchronises a card file of kContacts contacts with the folder.
    void SetUp() override
    {
        (void)makeMap(kContacts);
        ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
        ASSERT_EQ(cardCount(), static_cast<std::size_t>(kContacts));
    }
    Result failingSync(const std::string& call, const std::string& name, int error)
    {
        run_.environment["LD_PRELOAD"] = FAIL_CALL_LIBRARY;
        run_.environment["ASAN_OPTIONS"] = "verify_asan_link_order=0";
        run_.environment["FAIL_CALL"] = call;
        run_.environment["FAIL_NAME"] = name;
        run_.environment["FAIL_ERROR"] = std::to_string(error);
        Result result = mb({"sync", "--silent"});
        for (const char* variable : {"LD_PRELOAD", "ASAN_OPTIONS"}) run_.environment.erase(variable);
        return result;
    }
    std::string shown()
    {
        const Result result = samples({"show", cards()});
        EXPECT_EQ(result.code, 0) << result.error;
        return result.out;
    }
    void expectNothingToDo()
    {
        const Result result = mb({"sync", "--silent"});
        EXPECT_EQ(result.code, 0) << result.error;
        EXPECT_NE(result.out.find("nothing to do"), std::string::npos) << result.out;
    }
    fs::path anyCard() const { return cardWith("Lindqvist"); }
};

TEST_F(VCardFolderStory, AFailedFileCallFailsTheRunAndDeletesNothing)
{
    struct Failure {
        const char* call;
        std::string name;
        int error;
        const char* reason;
    };
    putText(folder() / ".mbsync-categories", "Choir\n");
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const std::string before = shown(), card = anyCard().filename();
    for (const Failure& failure :
         {Failure{"fstatat", card, EIO, "Input/output error"}, Failure{"fstatat", ".vcf", EACCES, "Permission denied"},
          Failure{"fstatat", ".mbsync-categories", EIO, "Input/output error"}, Failure{"readdir", folder(), EIO, "Input/output error"},
          Failure{"openat", card, EIO, "Input/output error"}, Failure{"openat", card, EACCES, "Permission denied"},
          Failure{"pread", card, EIO, "Input/output error"}, Failure{"pread", ".mbsync-categories", ESTALE, "Stale file handle"}})
        for (const bool withCache : {true, false}) {
            SCOPED_TRACE(std::string(failure.call) + " of " + failure.name + ": " + failure.reason +
                         (withCache ? "" : ", without a cache"));
            const bool opensCards =
                failure.call != std::string("fstatat") && failure.call != std::string("readdir") && failure.name == card;
            if (opensCards && withCache) continue; // unchanged files in the cache are not opened
            if (!withCache) fs::remove_all(home_ / "cache");
            const Result run = failingSync(failure.call, failure.name, failure.error);
            EXPECT_EQ(run.code, 1) << run.out;
            EXPECT_NE(run.error.find(failure.name == card ? anyCard() : folder()), std::string::npos) << run.error;
            EXPECT_NE(run.error.find(failure.reason), std::string::npos) << run.error;
            EXPECT_EQ(shown(), before);
            EXPECT_EQ(cardCount(), static_cast<std::size_t>(kContacts));
            fs::create_directories(home_ / "cache");
            expectNothingToDo();
        }
}

TEST_F(VCardFolderStory, ACardThatIsHeldForAMomentIsReadAndWritten)
{
    run_.environment["FAIL_TIMES"] = "4";
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Title", "Boss"}).code, 0);
    for (const char* call : {"openat", "renameat2"}) {
        ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Title", call}).code, 0);
        const Result run = failingSync(call, anyCard().filename(), EBUSY);
        EXPECT_EQ(run.code, 0) << call << run.error;
        EXPECT_NE(textOf(anyCard()).find(std::string("TITLE:") + call), std::string::npos);
    }
    run_.environment.erase("FAIL_TIMES");
    expectNothingToDo();
}

TEST_F(VCardFolderStory, ACardThatMayNotBeWrittenIsNamedBeforeAnythingIsWritten)
{
    const fs::path card = anyCard(), alsoEdited = cardWith("Ødegård");
    fs::path other;
    for (const auto& entry : fs::directory_iterator(folder()))
        if (entry.path().extension() == ".vcf" && entry.path() != card && entry.path() != alsoEdited) other = entry.path();
    ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Title", "Boss"}).code, 0);
    ASSERT_EQ(samples({"edit", cards(), "Bjørn Ødegård", "Title", "Chief"}).code, 0);
    replaceIn(other, "END:VCARD", "NICKNAME:Con\r\nEND:VCARD");
    std::map<fs::path, std::string> before;
    for (const auto& entry : fs::directory_iterator(folder())) before[entry.path()] = textOf(entry.path());
    const std::string shownBefore = shown();
    const Result run = failingSync("faccessat", card.filename(), EACCES);
    EXPECT_EQ(run.code, 1) << run.out;
    EXPECT_NE(run.error.find("\"" + card.string() + "\" is read-only. Make it writable"), std::string::npos) << run.error;
    for (const auto& [path, bytes] : before) EXPECT_EQ(textOf(path), bytes) << path;
    EXPECT_EQ(shown(), shownBefore);
    EXPECT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_NE(textOf(card).find("TITLE:Boss"), std::string::npos);
    expectNothingToDo();
}

TEST_F(VCardFolderStory, ACardWhosePlaceIsTakenByALinkAPipeOrAFolderIsKeptOnTheOtherSide)
{
    const std::string before = shown();
    const fs::path card = anyCard(), aside = home_ / "aside.vcf";
    for (const char* place : {"link", "dangling link", "pipe", "folder"}) {
        SCOPED_TRACE(place);
        fs::rename(card, aside);
        if (place == std::string("link")) fs::create_symlink("/etc/passwd", card);
        if (place == std::string("dangling link")) fs::create_symlink("nowhere", card);
        if (place == std::string("pipe")) { ASSERT_EQ(mkfifo(card.c_str(), 0600), 0); }
        if (place == std::string("folder")) fs::create_directory(card);
        const Result run = mb({"sync", "--silent"});
        EXPECT_EQ(run.code, 0) << run.error;
        EXPECT_NE((run.out + run.error).find(card.filename().string() + ": left out"), std::string::npos) << run.out << run.error;
        EXPECT_EQ(shown(), before);
        fs::remove(card);
        fs::rename(aside, card);
        expectNothingToDo();
    }
}

TEST_F(VCardFolderStory, ACardWithALineThatIsNotAPropertyIsSynchronisedAndTheLineReportedOnce)
{
    const std::string card = "# from the old telephone\r\nBEGIN:VCARD\r\nVERSION:3.0\r\nFN\r\nN:Arrival;New;;;\r\nEND:VCARD\r\n";
    putText(folder() / "new.vcf", card);
    const Json run = json({"sync", "--silent"}).at(0);
    EXPECT_EQ(run.at("leftOut"), Json::array()) << "the card is read, and its line is kept";
    ASSERT_EQ(run.at("notes").size(), 1u) << run;
    EXPECT_NE(run.at("notes").at(0).get<std::string>().find("new.vcf, line 1: no property of a card"), std::string::npos) << run;
    EXPECT_NE(shown().find("Last name: Arrival"), std::string::npos);
    ASSERT_EQ(samples({"edit", cards(), "New Arrival", "Title", "Boss"}).code, 0);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const std::string told = "new.vcf, line 1: no property of a card", log = textOf(dataFolder() / "MBSync.log");
    const std::size_t at = log.find(told);
    ASSERT_NE(at, log.npos) << log;
    EXPECT_EQ(log.find(told, at + 1), log.npos) << log;
    const std::string written = textOf(folder() / "new.vcf");
    EXPECT_TRUE(written.starts_with(card.substr(0, card.find("N:Arrival")))) << written;
    EXPECT_NE(written.find("TITLE:Boss\r\n"), std::string::npos) << written;
    expectNothingToDo();
}

TEST_F(VCardFolderStory, ACardWithALineThatIsTooLongIsNamedAndSynchronisedWithoutItsDetails)
{
    constexpr std::size_t longer = 2u << 20, tooLong = 17u << 20; // each comma becomes two octets
    const auto put = [&](const std::string& file, std::size_t size, const std::string& name, const std::string& title) {
        putText(folder() / file, "BEGIN:VCARD\r\nVERSION:2.1\r\nN:" + name + ";;;;\r\nTITLE:" + title +
                                     "\r\nNOTE:first\r\nNOTE:" + std::string(size, ',') + "\r\nEND:VCARD\r\n");
    };
    const auto sync = [&](int created, int updated, std::size_t leftOut) {
        const Json run = json({"sync", "--silent"}).at(0);
        EXPECT_EQ(run.at("first").at("created"), created);
        EXPECT_EQ(run.at("first").at("updated"), updated);
        EXPECT_EQ(run.at("first").at("deleted"), 0);
        for (const char* count : {"created", "updated", "deleted"}) EXPECT_EQ(run.at("second").at(count), 0) << count;
        EXPECT_EQ(run.at("failures").size(), 0u) << run;
        ASSERT_EQ(run.at("leftOut").size(), leftOut) << run.at("leftOut");
        if (leftOut == 0) return;
        const std::string told = run.at("leftOut").at(0);
        EXPECT_TRUE(told.starts_with(
            "vCard: The card \"Toolong\" is synchronised without its details: a line of its details has more than 32 MiB."))
            << told;
    };
    put("long.vcf", longer, "Long", "a");
    put("a toolong.vcf", tooLong, "Toolong", "a");
    put("other.vcf", 1, "Other", "a");
    sync(3, 0, 1);
    sync(0, 0, 1); // the next run tries again
    EXPECT_NE(shown().find("Toolong"), std::string::npos);
    put("a toolong.vcf", 2, "Toolong", "a");
    sync(0, 1, 0);
    expectNothingToDo();
    put("a toolong.vcf", tooLong, "Toolong", "b");
    sync(0, 1, 1); // the title
    EXPECT_GT(textOf(folder() / "a toolong.vcf").size(), tooLong) << "the card keeps them";
    put("a toolong.vcf", 2, "Toolong", "b");
    sync(0, 0, 0); // the other side still has these details
    expectNothingToDo();
}

// Two synchronised vCard folders. The cards of the second folder hold a line that belongs to no field, so a card that was deleted and added
// again would lose it.
class TwoFoldersStory : public EndToEnd {
protected:
    static std::string card(const std::string& name, const std::string& uid)
    {
        return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + (uid.empty() ? std::string() : "UID:" + uid + "\r\n") + "N:" + name +
               ";;;;\r\nFN:" + name + "\r\nCATEGORIES:Friends\r\nEND:VCARD\r\n";
    }
    fs::path other() const { return home_ / "Other"; }
    fs::path otherCardWith(const std::string& text) const { return mbtest::cardWith(other(), text); }
    void makeMapOf(const std::vector<std::pair<std::string, std::string>>& namesAndUids)
    {
        registerPlugins();
        fs::create_directory(other());
        for (const auto& [name, uid] : namesAndUids) putText(folder() / (name + ".vcf"), card(name, uid));
        (void)addMap("vCard=" + folder().string(), "vCard=" + other().string());
        ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
        for (const auto& [name, uid] : namesAndUids)
            replaceIn(otherCardWith("FN:" + name), "END:VCARD", "X-OTHER:of " + name + "\r\nEND:VCARD");
        sync();
    }
    void sync()
    {
        const Result result = mb({"sync", "--silent"});
        EXPECT_EQ(result.code, 0) << result.error;
    }
    void rename(const char* from, const char* to) const { fs::rename(folder() / from, folder() / to); }
    // The cards of the second folder must be the same cards as before, and edits of the first folder must reach them.
    void expectFollowed(const std::vector<std::string>& names)
    {
        EXPECT_EQ(mbtest::cardCount(other()), names.size());
        EXPECT_NE(mb({"sync", "--silent"}).out.find("nothing to do"), std::string::npos);
        for (const std::string& name : names) replaceIn(cardWith("FN:" + name), "END:VCARD", "TITLE:Title of " + name + "\r\nEND:VCARD");
        sync();
        EXPECT_EQ(mbtest::cardCount(other()), names.size());
        for (const std::string& name : names) {
            const std::string text = textOf(otherCardWith("FN:" + name));
            EXPECT_NE(text.find("X-OTHER:of " + name + "\r\n"), text.npos) << text;
            EXPECT_NE(text.find("TITLE:Title of " + name + "\r\n"), text.npos) << text;
            EXPECT_NE(text.find("CATEGORIES:Friends\r\n"), text.npos) << text;
        }
    }
};

TEST_F(TwoFoldersStory, ARenamedCardIsTheSameContact)
{
    makeMapOf({{"Ada", "u1"}, {"Bea", "u2"}, {"Cleo", "Cleo"}});
    rename("Ada.vcf", "Ada Lovelace.vcf");
    rename("Cleo.vcf", "0.vcf");
    fs::remove_all(home_ / "cache");
    sync();
    expectFollowed({"Ada", "Bea", "Cleo"});
    rename("0.vcf", "Cleo.vcf");
    sync();
    EXPECT_NE(textOf(otherCardWith("FN:Cleo")).find("X-OTHER:of Cleo"), std::string::npos);
}

TEST_F(TwoFoldersStory, TwoCardsThatSwappedTheirNamesAreTheSameContacts)
{
    makeMapOf({{"Ada", "u1"}, {"Bea", "u2"}});
    rename("Ada.vcf", "between");
    rename("Bea.vcf", "Ada.vcf");
    rename("between", "Bea.vcf");
    sync();
    expectFollowed({"Ada", "Bea"});
}

TEST_F(TwoFoldersStory, ARenamedAndEditedCardBringsItsEdit)
{
    makeMapOf({{"Ada", "u1"}, {"Bea", "u2"}});
    replaceIn(folder() / "Ada.vcf", "END:VCARD", "NOTE:edited\r\nEND:VCARD");
    rename("Ada.vcf", "Z.vcf");
    sync();
    EXPECT_NE(textOf(otherCardWith("FN:Ada")).find("NOTE:edited"), std::string::npos);
    expectFollowed({"Ada", "Bea"});
}

TEST_F(TwoFoldersStory, ANewCardWhoseNameDiffersInCaseFromAKnownOneIsSynchronised)
{
    makeMapOf({{"c1", ""}, {"d1", ""}});
    putText(folder() / "C1.vcf", card("Newcomer", ""));
    sync();
    EXPECT_FALSE(otherCardWith("FN:Newcomer").empty());
    replaceIn(otherCardWith("FN:Newcomer"), "END:VCARD", "X-OTHER:of Newcomer\r\nEND:VCARD");
    sync();
    EXPECT_NE(textOf(cardWith("FN:Newcomer")).find("X-OTHER:of Newcomer"), std::string::npos);
    expectFollowed({"c1", "d1", "Newcomer"});
    fs::remove(folder() / "c1.vcf");
    sync();
    EXPECT_TRUE(otherCardWith("FN:c1").empty());
    EXPECT_NE(textOf(otherCardWith("FN:Newcomer")).find("X-OTHER:of Newcomer"), std::string::npos);
    EXPECT_NE(mb({"sync", "--silent"}).out.find("nothing to do"), std::string::npos);
}

} // namespace
