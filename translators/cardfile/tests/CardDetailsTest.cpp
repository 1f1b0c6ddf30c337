// The details and the kind of a card.
#include "Support.h"

#include "DetailsBytes.h"
#include "DetailsText.h"
#include "text.h"

namespace mb::cardfile {
namespace {

class CardDetailsTest : public CardFileTest {
protected:
    static std::string addCardWith(CardFile& cards, std::u16string_view details)
    {
        const std::string id = cards.beginAdd();
        cards.write(id, ftLastName, u"Lovelace");
        cards.write(id, ftMobile, u"+1 555 0100");
        cards.write(id, ftDetails, details);
        return cards.save(id);
    }
    static void edit(CardFile& cards, const std::string& id, int type, std::u16string_view text)
    {
        cards.beginEdit(id);
        cards.write(id, type, text);
        EXPECT_EQ(cards.save(id), id);
    }
    const std::u16string text = u"item1.X-ANY;TYPE=a,b:one\nRELATED;TYPE=friend:urn:uuid:1\n@24;TYPE=cell,work;PREF=1\nUID:urn:uuid:2";
};

TEST_F(CardDetailsTest, AreKeptAsTheyAreWritten)
{
    const std::string id = addCardWith(*open(), text);
    EXPECT_EQ(readValue(*open(), id, ftDetails), text);
    EXPECT_EQ(readValue(*open(), id, ftLastName), u"Lovelace");
    const std::u16string longLine = u"X-LONG:" + std::u16string(2 << 20, u'\u4E2D');
    edit(*open(), id, ftDetails, longLine);
    EXPECT_EQ(readValue(*open(), id, ftDetails), longLine);
    edit(*open(), id, ftDetails, u"");
    EXPECT_EQ(readValue(*open(), id, ftDetails), u"");
    EXPECT_EQ(sqlText("SELECT count(*) FROM field WHERE type = 1000"), "0");
}

TEST_F(CardDetailsTest, AreReadBeforeTheSaveAndWithoutIt)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, text);
    cards->beginEdit(id);
    EXPECT_EQ(cards->read(id, ftDetails), text);
    cards->write(id, ftDetails, u"X-ANY:2\n@20;TYPE=work");
    EXPECT_EQ(cards->read(id, ftDetails), u"X-ANY:2") << "the card has no business phone";
    cards->write(id, ftPhone, u"+1 555 0101");
    EXPECT_EQ(cards->read(id, ftDetails), u"X-ANY:2\n@20;TYPE=work");
    cards->beginEdit(id); // drops what was not saved
    EXPECT_EQ(cards->read(id, ftDetails), text);
}

TEST_F(CardDetailsTest, AreCleaned)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, u"X-A:\u0001one\u000D\nEND:VCARD\nno property\nX-B:two");
    EXPECT_EQ(readValue(*cards, id, ftDetails), u"X-A:one\nX-B:two");
    EXPECT_EQ(sqlText("SELECT value FROM field WHERE type = 1000"), "X-A:one\nX-B:two");
}

TEST_F(CardDetailsTest, WritingThePresentDetailsIsNoChange)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, text);
    const std::int64_t date = cards->modified(id);
    edit(*cards, id, ftDetails, text);
    edit(*cards, id, ftDetails, u"BEGIN:VCARD\n" + text + u"\n@20;TYPE=work");
    EXPECT_EQ(cards->modified(id), date);
    edit(*cards, id, ftDetails, text + u"\nX-NEW:1");
    EXPECT_GT(cards->modified(id), date);
}

TEST_F(CardDetailsTest, AnAnnotationOfAnEmptyFieldIsDropped)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, text + u"\n@20;TYPE=work\n@1;SORT-AS=x\n@999;X=1");
    const std::u16string kept = text + u"\n@1;SORT-AS=x";
    EXPECT_EQ(readValue(*cards, id, ftDetails), kept) << "of a name with any part the annotation stays";
    edit(*cards, id, ftMobile, u"");
    const std::u16string without = u"item1.X-ANY;TYPE=a,b:one\nRELATED;TYPE=friend:urn:uuid:1\nUID:urn:uuid:2\n@1;SORT-AS=x";
    EXPECT_EQ(readValue(*cards, id, ftDetails), without);
    edit(*cards, id, ftMobile, u"+1 555 0102");
    EXPECT_EQ(readValue(*cards, id, ftDetails), without) << "the annotation of the former number is not that of the new one";
    edit(*cards, id, ftLastName, u"");
    EXPECT_EQ(readValue(*cards, id, ftDetails).find(u"@1;"), std::u16string::npos);
}

TEST_F(CardDetailsTest, AnotherProgramMayHaveEmptiedTheFieldOfAnAnnotation)
{
    const std::string id = addCardWith(*open(), text);
    sql("DELETE FROM field WHERE type = 24");
    EXPECT_EQ(readValue(*open(), id, ftDetails).find(u"@24"), std::u16string::npos);
}

TEST_F(CardDetailsTest, TheAnnotationOfAPictureStaysWithThePicture)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, text);
    const std::u16string annotated = u"X-ANY:1\n@40;X-CROP=1";
    cards->beginEdit(id);
    cards->writeImage(id, ftImage1, "picture");
    cards->write(id, ftDetails, annotated);
    cards->save(id);
    EXPECT_EQ(readValue(*open(), id, ftDetails), annotated);
    cards->beginEdit(id);
    cards->writeImage(id, ftImage1, "");
    cards->save(id);
    cards->beginEdit(id);
    cards->writeImage(id, ftImage1, "another");
    cards->save(id);
    EXPECT_EQ(readValue(*cards, id, ftDetails), u"X-ANY:1");
}

TEST_F(CardDetailsTest, OverTheLimitAreRefusedWithTheNameOfTheCard)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, text);
    const std::u16string tooLong = u"X:" + std::u16string(plugin::kMaxDetailsLine, u'x');
    cards->beginEdit(id);
    EXPECT_NE(failureOf(plugin::Step::WriteField, [&] { cards->write(id, ftDetails, tooLong); }).find("\"Lovelace\""), std::string::npos);
    for (const auto& [type, name] : std::initializer_list<std::pair<int, std::u16string_view>>{
             {ftLastName, u""}, {ftCompany, u"Engines"}, {ftFirstName, u"Ada"}, {ftLastName, u"King"}, {ftDisplayName, u"Countess"}})
        cards->write(id, type, name);
    EXPECT_NE(failureOf(plugin::Step::WriteField, [&] { cards->write(id, ftDetails, tooLong); }).find("\"Countess\""), std::string::npos);
    cards->write(id, ftDisplayName, u"");
    EXPECT_NE(failureOf(plugin::Step::WriteField, [&] { cards->write(id, ftDetails, tooLong); }).find("\"Ada King\""), std::string::npos);
    cards->write(id, ftFirstName, u"");
    cards->write(id, ftLastName, u"");
    EXPECT_NE(failureOf(plugin::Step::WriteField, [&] { cards->write(id, ftDetails, tooLong); }).find("\"Engines\""), std::string::npos);
    cards->write(id, ftCompany, u"");
    EXPECT_NE(failureOf(plugin::Step::WriteField, [&] { cards->write(id, ftDetails, tooLong); }).find(id), std::string::npos);
    cards->save(id);
    EXPECT_EQ(readValue(*cards, id, ftDetails), text) << "what was refused changes nothing";
}

TEST_F(CardDetailsTest, AreReadOnlyOnRequest)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, text);
    cards->beginRead(id);
    sql("UPDATE field SET value = 'X-LATER:1' WHERE type = 1000");
    EXPECT_EQ(cards->read(id, ftDetails), u"X-LATER:1");
}

TEST_F(CardDetailsTest, ADatabaseErrorIsAFailureAndNoAbsence)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, text);
    cards->beginRead(id);
    cards->beginEdit(id);
    cards->write(id, ftMobile, u"");
    sql("ALTER TABLE field RENAME TO hidden");
    failureOf(plugin::Step::ReadField, [&] { (void)cards->read(id, ftDetails); });
    failureOf(plugin::Step::Save, [&] { cards->save(id); });
    sql("ALTER TABLE hidden RENAME TO field");
    EXPECT_EQ(readValue(*cards, id, ftDetails), text);
}

TEST_F(CardDetailsTest, FilesAreReadByTheirHashesAndKeptWhole)
{
    const std::u16string whole =
        u"PHOTO:data:image/png;base64,aGk=\nSOUND:data:audio/ogg;base64,aGk=\nX-ANY:1\nX-ODD:x-mb-data:image/png,2,0";
    const std::string id = addCardWith(*open(), whole);
    const std::u16string kept = whole.substr(0, whole.rfind(u'\n'));
    EXPECT_EQ(sqlText("SELECT value FROM field WHERE type = 1000"), platform::utf8(kept)) << "a hash that nothing has is no value";
    const auto cards = open();
    const std::u16string hashed = readValue(*cards, id, ftDetails);
    EXPECT_EQ(hashed, platform::utf16(plugin::hashedDetails(platform::utf8(kept))));
    EXPECT_EQ(hashed.find(u"base64"), std::u16string::npos);
    cards->beginRead(id);
    EXPECT_EQ(cards->readWholeDetails(id), kept);
    cards->endRead(id);

    const std::int64_t date = cards->modified(id);
    edit(*cards, id, ftDetails, hashed);
    EXPECT_EQ(cards->modified(id), date) << "the hashes name what the card holds";
    const std::u16string sound = hashed.substr(hashed.find(u"SOUND"), hashed.rfind(u'\n') - hashed.find(u"SOUND"));
    edit(*cards, id, ftDetails, u"X-ANY:2\n" + sound);
    EXPECT_EQ(readValue(*cards, id, ftDetails), u"X-ANY:2\n" + sound);
    EXPECT_EQ(sqlText("SELECT value FROM field WHERE type = 1000"), "X-ANY:2\nSOUND:data:audio/ogg;base64,aGk=");
    edit(*cards, id, ftDetails, u"X-ANY:2");
    EXPECT_EQ(sqlText("SELECT value FROM field WHERE type = 1000"), "X-ANY:2") << "the bytes go with the line";
    edit(*cards, id, ftDetails, hashed);
    EXPECT_EQ(readValue(*cards, id, ftDetails), u"X-ANY:1") << "and do not come back by their hash";
}

TEST_F(CardDetailsTest, FilesOverTheLimitAreRefusedAlsoBehindTheirHash)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, u"KEY:data:;base64," + std::u16string(std::size_t{31} << 20, u'A'));
    const std::u16string hashed = readValue(*cards, id, ftDetails);
    const std::u16string more = u"\nKEY:data:;base64," + std::u16string(std::size_t{31} << 20, u'B');
    cards->beginEdit(id);
    EXPECT_THROW(cards->write(id, ftDetails, hashed + more + u"\nX-A:" + std::u16string(std::size_t{3} << 20, u'C')), plugin::StoreError);
    EXPECT_EQ(cards->read(id, ftDetails), hashed);
}

TEST_F(CardDetailsTest, ADeletedCardLeavesNone)
{
    const auto cards = open();
    const std::string id = addCardWith(*cards, text);
    cards->remove(id);
    EXPECT_EQ(sqlText("SELECT count(*) FROM field"), "0");
}

TEST_F(CardDetailsTest, AFileOfAnEarlierProgramHasNoneAndGetsThem)
{
    const std::string id = addCard(*open(), u"Lovelace");
    EXPECT_EQ(sqlText("PRAGMA user_version"), "2");
    EXPECT_EQ(readValue(*open(), id, ftDetails), u"");
    edit(*open(), id, ftDetails, u"X-ANY:1");
    EXPECT_EQ(readValue(*open(), id, ftDetails), u"X-ANY:1");
    EXPECT_EQ(sqlText("PRAGMA user_version"), "2") << "an earlier program can still open the file";
}

TEST_F(CardDetailsTest, TheKindIsAFieldThatIsEmptyForAPerson)
{
    const std::string id = addCard(*open(), u"The team");
    EXPECT_EQ(readValue(*open(), id, ftKind), u"");
    edit(*open(), id, ftKind, u"group");
    EXPECT_EQ(readValue(*open(), id, ftKind), u"group");
    edit(*open(), id, ftKind, u"");
    EXPECT_EQ(sqlText("SELECT count(*) FROM field WHERE type = 1001"), "0");
}

} // namespace
} // namespace mb::cardfile
