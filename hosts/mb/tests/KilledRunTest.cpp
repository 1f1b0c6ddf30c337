// Kills a run before each call that changes a file. The next run must find both stores intact and complete the work of the killed run;
// the run after that must have nothing to do.
#include "CopyFolder.h"
#include "EndToEndFixture.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <sstream>
#include <vector>

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

enum class Second { Folder, File };

class KilledRunTest : public EndToEnd, public testing::WithParamInterface<Second> {
protected:
    KilledRunTest() { fs::create_directory(kept_); }
    ~KilledRunTest() override
    {
        std::error_code error;
        fs::remove_all(kept_, error);
    }

    bool isFolder() const { return GetParam() == Second::Folder; }
    std::string second() const { return isFolder() ? folder() : home_ / "All.vcf"; }

    std::string makeStores()
    {
        registerPlugins();
        EXPECT_EQ(samples({"fill", cards(), "--count", "9"}).code, 0);
        if (!isFolder()) putText(second(), "");
        return addMap("Mirabook=" + cards(), "vCard=" + second());
    }
    void changeCard(const std::string& from, const std::string& to) const
    {
        replaceIn(isFolder() ? cardWith(from) : fs::path(second()), from, to);
    }
    void addCard(const std::string& name) const
    {
        const std::string card = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + name + "\r\nN:" + name + ";New;;;\r\nFN:New " + name +
                                 "\r\nTEL;TYPE=CELL:+1 202 555 0123\r\nEND:VCARD\r\n";
        putText(isFolder() ? folder() / (name + ".vcf") : fs::path(second()), (isFolder() ? std::string() : textOf(second())) + card);
    }
    void removeCard(const std::string& name) const
    {
        if (isFolder()) {
            fs::remove(cardWith(name));
            return;
        }
        const std::string text = textOf(second()), end = "END:VCARD\r\n";
        const std::size_t at = text.rfind("BEGIN:VCARD", text.find(name)), after = text.find(end, at) + end.size();
        putText(second(), text.substr(0, at) + text.substr(after));
    }

    // The contacts of both stores, sorted, without UID and REV, which differ for each new card.
    std::vector<std::string> content()
    {
        std::vector<std::string> lines;
        const auto takeCards = [&](const std::string& text) {
            for (std::size_t at = 0, end; (end = text.find("END:VCARD", at)) != text.npos; at = end + 9) {
                std::string card = text.substr(at, end - at);
                for (const char* made : {"\r\nUID:", "\r\nREV:"})
                    if (const std::size_t from = card.find(made); from != card.npos) card.erase(from, card.find("\r\n", from + 2) - from);
                lines.push_back(card.substr(card.find("BEGIN:")));
            }
        };
        if (isFolder()) {
            for (const fs::directory_entry& entry : fs::directory_iterator(folder()))
                if (entry.path().extension() == ".vcf") takeCards(textOf(entry.path()));
        } else {
            takeCards(textOf(second()));
        }
        const Result shown = samples({"show", cards()});
        EXPECT_EQ(shown.code, 0) << shown.error;
        for (std::size_t at = 0; at < shown.out.size();) {
            const std::size_t end = std::min(shown.out.find("\n\n", at), shown.out.size());
            std::string contact = shown.out.substr(at, end - at);
            const std::size_t own = contact.find("Details: UID:"); // each of two equal contacts has its own identifier
            if (own != contact.npos) contact.erase(own, contact.find('\n', own) - own);
            lines.push_back(std::move(contact));
            at = end + 2;
        }
        std::ranges::sort(lines);
        return lines;
    }

    // Ignores the order of a contact's lines, which differs in a newly written card.
    static std::set<std::multiset<std::string>> eachOnce(const std::vector<std::string>& contacts)
    {
        std::set<std::multiset<std::string>> once;
        for (const std::string& contact : contacts) {
            std::multiset<std::string> lines;
            std::istringstream in(contact);
            for (std::string line; std::getline(in, line);) lines.insert(line);
            once.insert(std::move(lines));
        }
        return once;
    }
    // The contacts that addEditAndDelete() edits may be there twice with equal content; all others must be there once.
    static void expectOnlyEditedTwice(std::vector<std::string> held, std::vector<std::string> wanted)
    {
        EXPECT_EQ(eachOnce(held), eachOnce(wanted));
        for (const char* edited : {"Lindqvist", "paivi@example.net"}) {
            const auto isIt = [&](const std::string& contact) { return contact.find(edited) != contact.npos; };
            const std::size_t inHeld = std::erase_if(held, isIt), inWanted = std::erase_if(wanted, isIt);
            EXPECT_LE(inHeld, 2 * inWanted) << edited;
        }
        EXPECT_EQ(held, wanted);
    }
    Result killedSync(int call)
    {
        run_.environment["LD_PRELOAD"] = KILL_AT_CALL_LIBRARY;
        run_.environment["KILL_AT_CALL"] = std::to_string(call);
        run_.environment["ASAN_OPTIONS"] = "verify_asan_link_order=0";
        const Result result = mb({"sync", "--silent"});
        for (const char* name : {"LD_PRELOAD", "KILL_AT_CALL", "ASAN_OPTIONS"}) run_.environment.erase(name);
        return result;
    }

    // Changes contacts on both sides after a successful run.
    void addEditAndDelete()
    {
        ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Mobile phone", "+1 202 555 0199"}).code, 0);
        ASSERT_EQ(samples({"edit", cards(), "Anna Lindqvist", "Categories", "Choir, Friends"}).code, 0);
        ASSERT_EQ(samples({"delete", cards(), "Jürgen Weiß"}).code, 0);
        changeCard("paivi.makela@example.org", "paivi@example.net");
        removeCard("gudrun@example.org");
        addCard("Arrival");
    }

    // Starts each killed run from the present state. With keepsTwice edited contacts may be there twice at the end.
    void expectEveryKilledRunToBeCompleted(bool keepsTwice = false)
    {
        copyAll(home_, kept_);
        ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
        const std::vector<std::string> wanted = content();
        int call = 1;
        for (;; ++call) {
            SCOPED_TRACE("killed before call " + std::to_string(call));
            copyAll(kept_, home_);
            const Result killed = killedSync(call);
            if (killed.code == 0) break;
            ASSERT_EQ(killed.code, 128 + SIGKILL) << killed.error;
            const Result next = mb({"sync", "--silent"});
            ASSERT_EQ(next.code, 0) << next.error;
            if (keepsTwice)
                expectOnlyEditedTwice(content(), wanted);
            else
                ASSERT_EQ(content(), wanted);
            ASSERT_FALSE(HasFailure());
            ASSERT_NE(mb({"sync", "--silent"}).out.find("nothing to do"), std::string::npos);
        }
        EXPECT_GT(call, 20) << "the calls were not counted";
        RecordProperty("killed_runs", call - 1);
        EXPECT_EQ(content(), wanted);
    }

    fs::path kept_ = fs::path(home_) += " kept";
};

TEST_P(KilledRunTest, AKilledFirstRunIsCompletedByTheNextRun)
{
    (void)makeStores();
    expectEveryKilledRunToBeCompleted();
}

TEST_P(KilledRunTest, AKilledRunThatAddedEditedAndDeletedIsCompletedByTheNextRunThatSettlesConflicts)
{
    const std::string map = makeStores();
    ASSERT_EQ(mb({"set", map, "conflicts", "first-wins"}).code, 0);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    addEditAndDelete();
    expectEveryKilledRunToBeCompleted();
}

// An edit that the killed run copied looks like an edit on both sides to the next run: a conflict of equal values.
TEST_P(KilledRunTest, WithoutAConflictRuleNothingIsLostButEditedContactsMayBeDoubled)
{
    (void)makeStores();
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    addEditAndDelete();
    expectEveryKilledRunToBeCompleted(true);
}

class KilledFolderRunTest : public KilledRunTest {};

TEST_P(KilledFolderRunTest, AKilledRunThatFollowedRenamedCardsIsCompletedByTheNextRun)
{
    const std::string map = makeStores();
    ASSERT_EQ(mb({"set", map, "conflicts", "first-wins"}).code, 0);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    const fs::path one = cardWith("paivi.makela@example.org"), other = cardWith("gudrun@example.org"), third = cardWith("Lindqvist");
    fs::rename(one, folder() / "between");
    fs::rename(other, one);
    fs::rename(folder() / "between", other);
    fs::rename(third, folder() / "Anna.vcf");
    changeCard("paivi.makela@example.org", "paivi@example.net");
    addCard("Arrival");
    expectEveryKilledRunToBeCompleted();
}

INSTANTIATE_TEST_SUITE_P(Stores, KilledFolderRunTest, testing::Values(Second::Folder), [](const auto&) { return "Folder"; });

INSTANTIATE_TEST_SUITE_P(Stores, KilledRunTest, testing::Values(Second::Folder, Second::File),
                         [](const auto& second) { return second.param == Second::Folder ? "Folder" : "File"; });

} // namespace
