// Groups of contacts between folders of vCards, and through a card file.
#include "EndToEndFixture.h"

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

class GroupStory : public EndToEnd {
protected:
    GroupStory()
    {
        fs::create_directories(folder());
        fs::create_directories(other());
    }
    static std::string person(const std::string& name, const std::string& uid)
    {
        return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + uid + "\r\nN:" + name + ";;;;\r\nFN:" + name + "\r\nEND:VCARD\r\n";
    }
    static std::string group(const std::string& name, const std::vector<std::string>& members)
    {
        std::string text =
            "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + name + "\r\nN:" + name + ";;;;\r\nFN:" + name + "\r\nX-ADDRESSBOOKSERVER-KIND:group\r\n";
        for (const std::string& member : members) text += "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:" + member + "\r\n";
        return text + "END:VCARD\r\n";
    }
    fs::path other() const { return home_ / "Other"; }
    std::string inOther(const std::string& text) const { return textOf(mbtest::cardWith(other(), text)); }
    void sync(int code = 0)
    {
        const Result result = mb({"sync", "--silent"});
        EXPECT_EQ(result.code, code) << result.error;
    }
    void expectNothingToDo()
    {
        const Result result = mb({"sync", "--silent"});
        EXPECT_EQ(result.code, 0) << result.error;
        EXPECT_NE(result.out.find("nothing to do"), std::string::npos) << result.out;
        EXPECT_EQ(result.out.find("new"), std::string::npos) << result.out;
    }
    static std::size_t membersIn(const std::string& card)
    {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = card.find("X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:", at)) != card.npos; ++at) ++count;
        return count;
    }
    // Three contacts, and the group of them.
    void fillFolder()
    {
        for (const char* name : {"ada", "bea", "cleo"})
            putText(folder() / (name + std::string(".vcf")), person(name, name + std::string("-1")));
        putText(folder() / "a-group.vcf", group("Choir", {"ada-1", "bea-1", "cleo-1"}));
    }
};

} // namespace

TEST_F(GroupStory, MembersAreNamedByTheUidsOfEachFolder)
{
    registerPlugins();
    fillFolder();
    putText(other() / "x.vcf", person("ada", "ada-2"));
    (void)addMap("vCard=" + folder().string(), "vCard=" + other().string());
    const Result planned = mb({"sync", "--dry-run"});
    EXPECT_NE(planned.out.find("Choir"), std::string::npos) << planned.out;
    EXPECT_EQ(mbtest::cardCount(other()), 1u) << "nothing is written";
    sync();
    EXPECT_EQ(mbtest::cardCount(other()), 4u);
    EXPECT_EQ(cardCount(), 4u);
    const std::string arrived = inOther("FN:Choir");
    EXPECT_NE(arrived.find("X-ADDRESSBOOKSERVER-KIND:group\r\n"), arrived.npos) << arrived;
    for (const char* member : {"ada-2", "bea-1", "cleo-1"}) EXPECT_NE(arrived.find(member), arrived.npos) << arrived;
    EXPECT_EQ(membersIn(arrived), 3u) << arrived;
    expectNothingToDo();
    // A member that is removed in the second folder is removed from the group of the first.
    replaceIn(mbtest::cardWith(other(), "FN:Choir"), "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:ada-2\r\n", "");
    sync();
    const std::string left = textOf(cardWith("FN:Choir"));
    EXPECT_EQ(left.find("ada-1"), left.npos) << left;
    EXPECT_EQ(membersIn(left), 2u) << left;
    expectNothingToDo();
}

TEST_F(GroupStory, AGroupArrivesThroughACardFile)
{
    registerPlugins();
    fillFolder();
    (void)addMap("vCard=" + folder().string(), "Mirabook=" + cards());
    (void)addMap("Mirabook=" + cards(), "vCard=" + other().string());
    for (int run = 0; run < 2; ++run) sync();
    EXPECT_EQ(mbtest::cardCount(other()), 4u);
    EXPECT_EQ(cardCount(), 4u);
    const std::string arrived = inOther("FN:Choir");
    EXPECT_NE(arrived.find("X-ADDRESSBOOKSERVER-KIND:group\r\n"), arrived.npos) << arrived;
    for (const char* member : {"ada-1", "bea-1", "cleo-1"}) EXPECT_NE(arrived.find(member), arrived.npos) << arrived;
    expectNothingToDo();
    const Result shown = samples({"show", cards()});
    EXPECT_NE(shown.out.find("group"), std::string::npos) << shown.out;
}
