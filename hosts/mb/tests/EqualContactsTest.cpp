// Two stores hold the same contacts before their first run. The run links equal contacts in whatever order, and doubles none.
#include "EndToEndFixture.h"

namespace {

using namespace mbtest;
namespace fs = std::filesystem;

struct Contact {
    std::string name, mail, more; // `name` is the value of N, `more` holds whole lines
};

class EqualContacts : public EndToEnd {
protected:
    EqualContacts()
    {
        registerPlugins();
        fs::create_directory(other());
    }
    [[nodiscard]] fs::path other() const { return home_ / "Other"; }

    // Writes a file for each contact; the store lists them in this order.
    static void fill(const fs::path& folder, const std::vector<Contact>& contacts)
    {
        char file = 'a';
        for (const auto& [name, mail, more] : contacts)
            putText(folder / (std::string(1, file++) + ".vcf"),
                    "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + name + "\r\nTEL;TYPE=CELL:+1 555 0100\r\n" +
                        (mail.empty() ? "" : "EMAIL:" + mail + "\r\n") + more + "END:VCARD\r\n");
    }
    // Creates a map of the two folders; the engine asks the second one's translator for equal contacts.
    std::string mapOfFolders() { return addMap("vCard=" + folder().string(), "vCard=" + other().string()); }
    // Fills a card file with the contacts of the folder.
    void copyToCards(const fs::path& from)
    {
        const std::string map = addMap("vCard=" + from.string(), "Mirabook=" + cards());
        EXPECT_EQ(mb({"sync", map, "--silent"}).code, 0);
        EXPECT_EQ(mb({"remove", map}).code, 0);
    }
    Json sync(const std::string& map) { return json({"sync", map, "--silent"}).at(0); }

    void expectAllLinked(const std::string& map, int contacts)
    {
        const Json run = sync(map);
        EXPECT_EQ(run.at("matched"), contacts) << run;
        expectWrites(run, 0, 0);
        EXPECT_EQ(run.at("conflicts"), Json::array());
        expectNothingToDo(map);
    }
    static void expectWrites(const Json& run, int created1, int created2)
    {
        EXPECT_EQ(run.at("first"), (Json{{"created", created1}, {"updated", 0}, {"deleted", 0}})) << run;
        EXPECT_EQ(run.at("second"), (Json{{"created", created2}, {"updated", 0}, {"deleted", 0}})) << run;
    }
    void expectNothingToDo(const std::string& map)
    {
        const Result idle = mb({"sync", map, "--silent"});
        EXPECT_EQ(idle.code, 0) << idle.error;
        EXPECT_NE(idle.out.find("nothing to do"), std::string::npos) << idle.out;
    }

    const std::vector<Contact> homonyms{{"Smith;John;;;", "a@example.org", ""},
                                        {"Smith;John;;;", "b@example.org", ""},
                                        {"Smith;John;;;", "c@example.org", ""},
                                        {"Smith;John;;;", "", ""}};
    const std::vector<Contact> nameless{
        {";;;;", "a@example.org", ""}, {";;;;", "b@example.org", ""}, {";;;;", "c@example.org", ""}, {";;;;", "", ""}};
    static std::vector<Contact> reversed(const std::vector<Contact>& contacts) { return {contacts.rbegin(), contacts.rend()}; }
};

} // namespace

TEST_F(EqualContacts, ContactsOfOneNameArePairedByTheirEMail)
{
    fill(folder(), homonyms);
    fill(other(), reversed(homonyms));
    const std::string map = mapOfFolders();
    expectAllLinked(map, 4);
    replaceIn(cardWith("b@example.org"), "END:VCARD", "NOTE:The second one\r\nEND:VCARD");
    EXPECT_EQ(sync(map).at("second").at("updated"), 1);
    EXPECT_NE(textOf(mbtest::cardWith(other(), "b@example.org")).find("The second one"), std::string::npos);
}

TEST_F(EqualContacts, ContactsWithoutANameArePairedByTheirEMail)
{
    fill(folder(), nameless);
    fill(other(), reversed(nameless));
    expectAllLinked(mapOfFolders(), 4);
}

TEST_F(EqualContacts, ContactsOfACardFileAndAFolderArePairedInEitherOrder)
{
    for (const std::vector<Contact>& contacts : {homonyms, nameless}) {
        fill(folder(), contacts);
        copyToCards(folder());
        fill(other(), reversed(contacts));
        const std::string cardFile = "Mirabook=" + cards(), cardFolder = "vCard=" + other().string();
        for (const auto& [first, second] : {std::pair{cardFile, cardFolder}, {cardFolder, cardFile}}) {
            SCOPED_TRACE(first + " and " + second);
            const std::string map = addMap(first, second);
            expectAllLinked(map, 4);
            EXPECT_EQ(mb({"remove", map}).code, 0);
        }
        fs::remove(cards());
    }
}

TEST_F(EqualContacts, IdenticalContactsArePairedOneToOne)
{
    const Contact one{"Smith;John;;;", "a@example.org", ""};
    fill(folder(), {one, one, one});
    fill(other(), {one, one, one});
    expectAllLinked(mapOfFolders(), 3);
}

TEST_F(EqualContacts, ASurplusContactOfOneSideIsNew)
{
    const Contact one{"Smith;John;;;", "a@example.org", ""};
    fill(folder(), {one, one, one});
    fill(other(), {one, one});
    const std::string map = mapOfFolders();
    const Json run = sync(map);
    EXPECT_EQ(run.at("matched"), 2);
    expectWrites(run, 0, 1);
    expectNothingToDo(map);
}

TEST_F(EqualContacts, AContactThatDiffersInAMappedFieldIsAConflictAndStaysTwice)
{
    fill(folder(), {{"Smith;John;;;", "a@example.org", "TITLE:Mr\r\n"}});
    fill(other(), {{"Smith;John;;;", "a@example.org", "TITLE:Dr\r\n"}});
    const std::string map = mapOfFolders();
    const Json run = sync(map);
    EXPECT_EQ(run.at("matched"), 0);
    EXPECT_EQ(run.at("conflicts").size(), 1u);
    expectWrites(run, 1, 1);
    expectNothingToDo(map);
}

TEST_F(EqualContacts, AFieldThatIsNotMappedDoesNotMatter)
{
    fill(folder(), {{"Smith;John;;;", "a@example.org", "TITLE:Mr\r\n"}, {"Smith;John;;;", "b@example.org", "TITLE:Mr\r\n"}});
    fill(other(), {{"Smith;John;;;", "b@example.org", "TITLE:Dr\r\n"}, {"Smith;John;;;", "a@example.org", "TITLE:Dr\r\n"}});
    const std::string map = mapOfFolders();
    ASSERT_EQ(mb({"fields", map, "--unmap", "Title"}).code, 0);
    expectAllLinked(map, 2);
    EXPECT_NE(textOf(folder() / "a.vcf").find("TITLE:Mr"), std::string::npos);
    EXPECT_NE(textOf(other() / "a.vcf").find("TITLE:Dr"), std::string::npos);
}

TEST_F(EqualContacts, APictureThatOneSideLacksIsCopied)
{
    fill(folder(), {{"Smith;John;;;", "a@example.org", ""}, {"Jones;Ann;;;", "b@example.org", "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQ\r\n"}});
    fill(other(), {{"Smith;John;;;", "a@example.org", "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQ\r\n"}, {"Jones;Ann;;;", "b@example.org", ""}});
    const std::string map = mapOfFolders();
    const Json run = sync(map);
    EXPECT_EQ(run.at("first").at("created"), 0);
    EXPECT_EQ(run.at("second").at("created"), 0);
    EXPECT_EQ(cardCount(), 2u);
    EXPECT_NE(textOf(folder() / "a.vcf").find("/9j/4AAQ"), std::string::npos) << run;
    EXPECT_NE(textOf(other() / "b.vcf").find("/9j/4AAQ"), std::string::npos) << run;
    expectNothingToDo(map);
}

TEST_F(EqualContacts, ContactsWithEqualPicturesArePaired)
{
    const std::string picture = "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQ\r\n";
    std::vector<Contact> contacts = homonyms;
    for (Contact& contact : contacts) contact.more = picture;
    fill(folder(), contacts);
    fill(other(), reversed(contacts));
    expectAllLinked(mapOfFolders(), 4);
}

TEST_F(EqualContacts, AContactThatIsLinkedAlreadyIsNotPairedAgain)
{
    fill(folder(), homonyms);
    fill(other(), reversed(homonyms));
    const std::string map = mapOfFolders();
    expectAllLinked(map, 4);
    fs::copy_file(cardWith("b@example.org"), folder() / "copy.vcf");
    putText(other() / "new.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Jones;Ann;;;\r\nEND:VCARD\r\n");
    const Json run = sync(map);
    EXPECT_EQ(run.at("matched"), 0);
    expectWrites(run, 1, 1);
    expectNothingToDo(map);
}
