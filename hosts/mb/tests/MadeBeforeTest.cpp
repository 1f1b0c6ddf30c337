// Stores, configuration and histories that a version wrote which did not know details, run by this one. The first run brings what was lost
// and edits no field; the second one has nothing to do.
#include "base64.h"
#include "CopyFolder.h"
#include "EndToEndFixture.h"

#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <map>
#include <sqlite3.h>

namespace {

using namespace mbtest;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

enum class CopyIn { Folder, CardFile };

class MadeBefore : public EndToEnd, public testing::WithParamInterface<CopyIn> {
protected:
    MadeBefore()
    {
        const fs::path fixture = fs::path(PROJECT_FOLDER) / "hosts/mb/tests/made-before" / (isFolder() ? "folder" : "card-file");
        fs::create_directories(dataFolder());
        for (const fs::directory_entry& file : fs::directory_iterator(fixture / "data")) {
            std::string text = textOf(file.path());
            for (const auto& [mark, place] : {std::pair("@ONE@", one()), std::pair("@TWO@", two())})
                for (std::size_t at; (at = text.find(mark)) != text.npos;) text.replace(at, 5, platform::encodeBase64(place.string()));
            putText(dataFolder() / file.path().filename(), text);
        }
        fs::copy(fixture / "one", one());
        if (isFolder())
            fs::copy(fixture / "two", two());
        else
            makeCardFile(textOf(fixture / "two.sql"));
        setTimes();
        registerPlugins();
        first_ = bytesOf(one());
        map_ = Json::parse(mb({"maps", "--json"}).out).at(0).at("map");
    }
    static bool isFolder() { return GetParam() == CopyIn::Folder; }
    fs::path one() const { return home_ / "one"; }
    fs::path two() const { return home_ / (isFolder() ? "two" : "two.db"); }
    void makeCardFile(const std::string& sql) const
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(two().c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
        sqlite3_close(database);
    }
    // The times of the files as the histories know them.
    void setTimes() const
    {
        const std::chrono::sys_seconds time(std::chrono::seconds(isFolder() ? 1795383769 : 1767268800));
        for (const fs::path& folder : {one(), two()}) {
            if (!fs::is_directory(folder)) continue;
            for (const fs::directory_entry& file : fs::directory_iterator(folder))
                fs::last_write_time(file, std::chrono::file_clock::from_sys(time));
        }
    }
    static std::map<std::string, std::string> bytesOf(const fs::path& folder)
    {
        std::map<std::string, std::string> bytes;
        for (const fs::directory_entry& file : fs::directory_iterator(folder)) bytes[file.path().filename()] = textOf(file.path());
        return bytes;
    }
    // What the second store holds, as text.
    std::string told()
    {
        std::string all;
        if (!isFolder()) return samples({"show", two()}).out;
        for (const auto& [name, text] : bytesOf(two())) all += text;
        return all;
    }
    std::string pairs() { return mb({"fields", map_}).out; }
    void expectWhatWasLost()
    {
        const std::string all = told();
        for (const char* line : {"ANNIVERSARY:20010203", "TZ:+0100", "image/png", "Other Street 2", "2nd floor", "F;she", "boat"})
            EXPECT_THAT(all, HasSubstr(line));
        // The group, with its member as the second store knows her: the former version gave her a UID of its own.
        EXPECT_THAT(all, HasSubstr(isFolder() ? "KIND:group\r\nMEMBER:urn:uuid:5ad532cc-84dd-4327-af79-9020b9a8e23c\r\n"
                                              : "MEMBER:urn:uuid:nick-1"));
        EXPECT_EQ(bytesOf(one()), first_) << "nothing goes the other way";
    }
    void expectFieldsAsBefore()
    {
        const std::string all = told();
        // Each as the former version wrote it. The first store reads as something else today.
        if (isFolder())
            for (const char* line :
                 {"NICKNAME:Rit\\,Ri\r\n", "BDAY;VALUE=text:--0412\r\n", "+1-202-555-0101\\;ext=12\r\n", "FN;DERIVED=true:Max"})
                EXPECT_THAT(all, HasSubstr(line));
        else
            for (const char* line : {"Nickname: Rit,Ri\n", "Birthday: --0412\n", "+1-202-555-0101;ext=12\n"})
                EXPECT_THAT(all, HasSubstr(line));
    }
    void expectAtRest()
    {
        const std::string before = told();
        const Result result = mb({"sync", "--silent"});
        EXPECT_EQ(result.code, 0) << result.error;
        EXPECT_THAT(result.out, HasSubstr("nothing to do"));
        EXPECT_EQ(told(), before);
        EXPECT_EQ(bytesOf(one()), first_);
    }
    std::map<std::string, std::string> first_; // the first store
    std::string map_;
};

} // namespace

TEST_P(MadeBefore, TheFirstRunBringsWhatWasLostAndEditsNoField)
{
    EXPECT_THAT(pairs(), Not(HasSubstr("Details")));
    const Result result = mb({"sync", "--silent", "--json"});
    ASSERT_EQ(result.code, 0) << result.error;
    const Json run = Json::parse(result.out).at(0);
    for (const Json& record : run.at("records")) EXPECT_EQ(record.at("store"), "second") << record;
    EXPECT_EQ(run.at("conflicts"), Json::array());
    expectWhatWasLost();
    expectFieldsAsBefore();
    EXPECT_THAT(pairs(), HasSubstr("Details"));
    expectAtRest();
}

TEST_P(MadeBefore, ADryRunShowsLinesAloneAndKeepsNothing)
{
    const std::string before = told();
    const Result plan = mb({"sync", "--dry-run"});
    EXPECT_EQ(plan.code, 0);
    EXPECT_THAT(plan.out, HasSubstr("+ANNIVERSARY:20010203"));
    for (const char* readAnew : {"Rit, Ri", "--04-12", "ext. 12"}) EXPECT_THAT(plan.out, Not(HasSubstr(readAnew)));
    EXPECT_THAT(pairs(), Not(HasSubstr("Details")));
    EXPECT_EQ(told(), before);
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    expectWhatWasLost();
    expectFieldsAsBefore();
}

TEST_P(MadeBefore, AKilledRunIsDoneAgainByTheNext)
{
    const fs::path kept = home_.string() + " kept";
    copyAll(home_, kept);
    bool killed = true;
    for (int call = 1; killed && !HasFailure(); call += 7) {
        SCOPED_TRACE(call);
        copyAll(kept, home_);
        run_.environment["LD_PRELOAD"] = KILL_AT_CALL_LIBRARY;
        run_.environment["KILL_AT_CALL"] = std::to_string(call);
        run_.environment["ASAN_OPTIONS"] = "verify_asan_link_order=0";
        killed = mb({"sync", "--silent"}).code != 0;
        for (const char* name : {"LD_PRELOAD", "KILL_AT_CALL", "ASAN_OPTIONS"}) run_.environment.erase(name);
        ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
        expectWhatWasLost();
        expectFieldsAsBefore();
        EXPECT_THAT(pairs(), HasSubstr("Details"));
        expectAtRest();
    }
    fs::remove_all(kept);
}

TEST_P(MadeBefore, UnmappedDetailsStayUnmapped)
{
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    ASSERT_EQ(mb({"fields", map_, "--unmap", "Details"}).code, 0);
    ASSERT_EQ(mb({"fields", map_, "--unmap", "Notes"}).code, 0);
    replaceIn(one() / "dates.vcf", "TZ:+0100", "TZ:+0200");
    ASSERT_EQ(mb({"sync", "--silent"}).code, 0);
    EXPECT_THAT(pairs(), Not(HasSubstr("Details")));
    EXPECT_THAT(told(), HasSubstr("TZ:+0100"));
    ASSERT_EQ(mb({"fields", map_, "--reset"}).code, 0);
    EXPECT_THAT(pairs(), HasSubstr("Details"));
}

INSTANTIATE_TEST_SUITE_P(Stores, MadeBefore, testing::Values(CopyIn::Folder, CopyIn::CardFile),
                         [](const testing::TestParamInfo<CopyIn>& each) { return each.param == CopyIn::Folder ? "Folder" : "CardFile"; });
