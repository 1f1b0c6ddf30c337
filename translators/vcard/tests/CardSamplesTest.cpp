// Cards as programs export them: their fields are read, and an edit loses no byte of the rest.
#include "Card.h"

#include "CardText.h"
#include "Samples.h"

#include <random>

namespace mb::vcard {
namespace {

// The expected fields of a card of a sample file.
struct Reading {
    std::string file;
    Texts texts;
    std::size_t card = 0;
};

void expectReadings(Source source, const std::vector<Reading>& readings)
{
    const auto files = samples(source);
    for (const Reading& reading : readings) {
        SCOPED_TRACE(reading.file);
        ASSERT_TRUE(files.contains(reading.file));
        expectFields(Card::parse(cardTexts(files.at(reading.file)).at(reading.card)), reading.texts);
    }
}

using CardSamples = SampleTest;
INSTANTIATE_TEST_SUITE_P(Samples, CardSamples, eachSource, nameOf);

TEST_P(CardSamples, AreKeptByteForByte)
{
    for (const auto& [name, bytes] : samples(GetParam()))
        for (const std::string& text : cardTexts(bytes)) EXPECT_EQ(Card::parse(text).bytes(), text) << name;
}

TEST_P(CardSamples, KeepEveryByteWhereAFieldIsSetToItsOwnValue)
{
    for (const auto& [name, bytes] : samples(GetParam()))
        for (const std::string& text : cardTexts(bytes)) {
            Card card = Card::parse(text);
            for (const Field& f : fields()) {
                EXPECT_FALSE(card.set(f.type, card.get(f.type))) << name << " field " << int{f.type};
                ASSERT_EQ(card.bytes(), text) << name << " field " << int{f.type};
            }
        }
}

TEST_P(CardSamples, ReadThePropertiesOfAMailProgram)
{
    const Reading ours = {
        "mail-program.vcf",
        {{ftNamePrefix, u"Dr."},
         {ftFirstName, u"Grace"},
         {ftMiddleName, u"Ada, Beth"},
         {ftLastName, u"Winter"},
         {ftNameSuffix, u"Jr."},
         {ftTitle, u"Weaver of Cloth"},
         {ftCompany, u"Example Mills"},
         {ftDepartment, u"Weaving"},
         {ftStreet2, u"3 Invented Lane"},
         {ftCity2, u"Sampleton"},
         {ftCountry2, u"Exampleland"},
         {ftCategories, u"Guild"},
         {ftNotes, u"She keeps the long ledger of the mill, with every order, every colour and every width in it; ask her before "
                   u"you order, and say what it is for.\nBack on Monday."},
         {ftPhone, u"202-555-0144"},
         {ftMobile, u"202-555-0143"},
         {ftEmail1, u"grace.winter@example.org"},
         {ftWebPage, u"http://www.example.org/grace"},
         {ftBirthday, u"1971-11-30"},
         {ftIMAIM, u"grace@chat.example.org"},
         {ftSpouseName, u"Tom"},
         {ftManager, u"Ms. Loom"},
         {ftAssistant, u"Mr. Shuttle"},
         {ftNickName, u"Gracie"},
         {ftDisplayName, u"Dr. Grace Ada, Beth Winter Jr."}}};
    const Reading exported = {"ezvcard__John_Doe_EVOLUTION.vcf",
                              {{ftNamePrefix, u"Mr."},
                               {ftFirstName, u"John"},
                               {ftMiddleName, u"Richter, James"},
                               {ftLastName, u"Doe"},
                               {ftNameSuffix, u"Sr."},
                               {ftTitle, u"Money Counter"},
                               {ftCompany, u"IBM"},
                               {ftDepartment, u"Accounting"},
                               {ftStreet2, u"15 Crescent moon drive"},
                               {ftCity2, u"Albaney"},
                               {ftCountry2, u"United States of America"},
                               {ftCategories, u"VIP"},
                               {ftPhone, u"905-555-1234"},
                               {ftMobile, u"905-666-1234"},
                               {ftEmail1, u"john.doe@ibm.com"},
                               {ftWebPage, u"http://www.ibm.com"},
                               {ftBirthday, u"1980-03-22"},
                               {ftIMAIM, u"johnny5@aol.com"},
                               {ftSpouseName, u"Maria"},
                               {ftManager, u"Big Blue"},
                               {ftAssistant, u"Little Red"},
                               {ftNickName, u"Johny"},
                               {ftDisplayName, u"Mr. John Richter, James Doe Sr."}}};
    expectReadings(GetParam(), {GetParam() == Source::Ours ? ours : exported});
}

TEST_P(CardSamples, ReadPhonesByTheirTypesAndLabels)
{
    const Reading ours = {"groups-and-labels.vcf",
                          {{ftMobile, u"202-555-0110"},
                           {ftHomePhone, u"202-555-0111"},
                           {ftPhone, u"202-555-0112"},
                           {ftHomeFax, u"202-555-0113"},
                           {ftFax, u"202-555-0114"},
                           {ftPager, u"202-555-0115"},
                           {ftPhoneAssistant, u"202-555-0116"},
                           {ftWebPage, u"http://www.example.org"},
                           {ftStreet1, u"Platform 4\nShed 6\nDesk 8"},
                           {ftBirthday, u"2004-02-29"},
                           {ftSpouseName, u"Nora"},
                           {ftMiddleName, u"Ivan,James"}}};
    const Reading exported = {"ezvcard__John_Doe_IPHONE.vcf",
                              {{ftMobile, u"905-555-1234"},
                               {ftHomePhone, u"905-666-1234"},
                               {ftPhone, u"905-777-1234"},
                               {ftHomeFax, u"905-888-1234"},
                               {ftFax, u"905-999-1234"},
                               {ftPager, u"905-111-1234"},
                               {ftPhoneAssistant, u"905-222-1234"},
                               {ftWebPage, u"http://www.ibm.com"},
                               {ftStreet1, u"Street4\nBuilding 6\nFloor 8"},
                               {ftBirthday, u"2012-06-06"},
                               {ftMiddleName, u"Richter,James"}}};
    expectReadings(GetParam(), {GetParam() == Source::Ours ? ours : exported});
}

TEST_P(CardSamples, ReadVersion21WithQuotedPrintable)
{
    const std::vector<Reading> ours = {{"office-program.vcf",
                                        {{ftNotes, u"The first line!!\nSecond line\n\nThe third is empty\n"},
                                         {ftBirthday, u"1962-07-04"},
                                         {ftProfession, u"Bookkeeper"},
                                         {ftCompany, u"Example, The"},
                                         {ftDepartment, u"Accounts"},
                                         {ftStreet1, u"1 Ledger Street"},
                                         {ftEmail1, u"ira.field@example.org"},
                                         {ftFax, u"202-555-0121"}}},
                                       {"telephone-book.vcf",
                                        {{ftLastName, u"Ångström "},
                                         {ftFirstName, u"Øyvind"},
                                         {ftMobile, u"2025550130"},
                                         {ftMiscPhone1, u"2025550132"},
                                         {ftNotes, u"Grüße und Küsse aus Ærø"}},
                                        1}};
    const std::vector<Reading> exported = {{"ezvcard__outlook-2003.vcf",
                                            {{ftNotes, u"This is the note field!!\nSecond line\n\nThird line is empty\n"},
                                             {ftBirthday, u"1980-03-21"},
                                             {ftProfession, u"TheProfession"},
                                             {ftCompany, u"Company, The"},
                                             {ftDepartment, u"TheDepartment"},
                                             {ftStreet1, u"123 Main St"},
                                             {ftEmail1, u"jdoe@hotmail.com"},
                                             {ftFax, u"BusinessFaxPhone"}}},
                                           {"ezvcard__John_Doe_ANDROID.vcf", {{ftLastName, u"Ñ Ñ Ñ Ñ "}, {ftMobile, u"123456789"}}, 2}};
    expectReadings(GetParam(), GetParam() == Source::Ours ? ours : exported);
}

TEST_P(CardSamples, ReadDeclaredAndUndeclared8BitText)
{
    const std::vector<Reading> ours = {
        {"undeclared-1252.vcf", {{ftStreet2, u"Gänseweg 12"}, {ftLastName, u"Müller"}}},
        {"declared-1252.vcf", {{ftDisplayName, u"Jürgen Bößmann"}, {ftCity3, u"Größlitz"}}},
        {"declared-1251.vcf", {{ftDisplayName, u"Зоряна Вигадана"}, {ftCity3, u"Вигадів"}}},
        {"shift-jis.vcf", {{ftDisplayName, u"能登 表子"}}},
        {"shift-jis-quoted-printable.vcf", {{ftLastName, u"能登"}, {ftNotes, u"メモ"}, {ftZipCode2, u"000-0000"}}}};
    const std::vector<Reading> exported = {
        {"fkvcards__AnsiIssueNoEncoding.vcf", {{ftStreet2, u"Lämmerweg 12"}}},
        {"fkvcards__German.vcf", {{ftDisplayName, u"Sören Täve Nüßlebaum"}, {ftCity3, u"Mößlitz"}}},
        {"fkvcards__Ukrainian.vcf", {{ftCity3, u"Київ"}}},
        {"aosp__v30_japanese.vcf", {{ftDisplayName, u"伊能 圭一 伊予"}}},
        {"aosp__v21_japanese_2.vcf", {{ftLastName, u"安藤"}, {ftNotes, u"メモ"}, {ftZipCode2, u"150-8512"}}}};
    expectReadings(GetParam(), GetParam() == Source::Ours ? ours : exported);
}

TEST_P(CardSamples, ReadTheirPictures)
{
    struct Picture {
        const char* file;
        std::size_t card, bytes;
    };
    const std::vector<Picture> ours = {{"groups-and-labels.vcf", 0, 998}, {"telephone-book.vcf", 2, 998}, {"person-and-group.vcf", 0, 998}};
    const std::vector<Picture> exported = {{"ezvcard__John_Doe_IPHONE.vcf", 0, 32531},
                                           {"ezvcard__John_Doe_MAC_ADDRESS_BOOK.vcf", 0, 18242},
                                           {"fkvcards__Outlook_v2.vcf", 0, 23182},
                                           {"fkvcards__Photo_v3.vcf", 0, 1626}};
    const auto files = samples(GetParam());
    for (const Picture& picture : GetParam() == Source::Ours ? ours : exported) {
        SCOPED_TRACE(picture.file);
        const Card card = Card::parse(cardTexts(files.at(picture.file)).at(picture.card));
        EXPECT_EQ(card.imageSize(ftImage1), picture.bytes);
        EXPECT_TRUE(card.image(ftImage1).starts_with("\xFF\xD8\xFF"));
        EXPECT_EQ(card.image(ftImage1).size(), picture.bytes);
    }
}

TEST_P(CardSamples, TellTheirUidWithoutBeingParsed)
{
    int cards = 0;
    for (const auto& [name, bytes] : samples(GetParam()))
        for (const std::string& text : cardTexts(bytes)) {
            if (!isUtf8(text)) continue;
            EXPECT_EQ(uidOf(text), Card::parse(text).uid()) << name;
            ++cards;
        }
    EXPECT_GT(cards, 10);
}

// Where a field was emptied, the labels in the group of its line go with it. Returns the other lines.
std::vector<std::string> withoutLabels(std::vector<std::string> gone, bool emptied)
{
    const auto groupOf = [](const std::string& text) { return Line::parse(text, Version::V30).group(); };
    if (!emptied || gone.empty() || groupOf(gone[0]).empty()) return gone;
    const std::string group = groupOf(gone[0]);
    std::erase_if(gone, [&](const std::string& text) {
        const std::string name = Line::parse(text, Version::V30).name();
        return groupOf(text) == group && (name == "X-ABLABEL" || name == "X-ABADR");
    });
    return gone;
}

// After a random edit the field reads back what was set, and every other field and line is unchanged.
TEST_P(CardSamples, RandomEditsChangeNothingElse)
{
    std::mt19937 random(20240521);
    const auto files = samples(GetParam());
    for (const auto& [name, bytes] : files) {
        auto texts = cardTexts(bytes);
        if (texts.size() > 3) texts.resize(3);
        for (const std::string& text : texts) {
            Card card = Card::parse(text);
            for (int step = 0; step < 40; ++step) {
                const Field& field = fields()[random() % fields().size()];
                const std::u16string value = random() % 3 == 0          ? u""
                                             : field.type == ftBirthday ? u"2001-02-03"
                                                                        : u"v" + std::u16string(1 + random() % 90, u'ö');
                const std::string before = card.bytes();
                if (field.shape == Shape::Image) {
                    const std::string picture = value.empty() ? "" : "\xFF\xD8\xFF" + std::string(value.size(), 'x');
                    card.setImage(field.type, picture);
                    ASSERT_EQ(Card::parse(card.bytes()).image(field.type), picture) << name;
                } else {
                    card.set(field.type, value);
                }
                const Card was = Card::parse(before), is = Card::parse(card.bytes());
                for (const Field& other : fields()) {
                    if (other.type == field.type) continue;
                    ASSERT_EQ(is.get(other.type), was.get(other.type))
                        << name << " field " << int{other.type} << " after " << int{field.type};
                    ASSERT_EQ(is.image(other.type), was.image(other.type)) << name << " after " << int{field.type};
                }
                if (field.shape == Shape::Image) continue;
                ASSERT_EQ(is.get(field.type), value) << name << " field " << int{field.type} << "\n" << before << "\n->\n" << card.bytes();
                const auto [gone, made] = difference(before, card.bytes());
                ASSERT_LE(withoutLabels(logicalLines(gone), value.empty()).size(), 1u) << gone;
                ASSERT_LE(logicalLines(made).size(), 1u) << made;
            }
        }
    }
}

TEST_P(CardSamples, TruncatedCardsNeverCrash)
{
    for (const auto& [name, bytes] : samples(GetParam())) {
        const std::size_t step = bytes.size() / 60 + 1;
        for (std::size_t n = 0; n < bytes.size(); n += step) {
            const std::string cut = bytes.substr(0, n) + "\nEND:VCARD\n";
            for (const std::string& text : cardTexts(cut)) {
                Card card = Card::parse(text);
                EXPECT_EQ(card.bytes(), text) << name;
                card.set(ftPhone, u"1");
                EXPECT_EQ(Card::parse(card.bytes()).get(ftPhone), u"1") << name << " cut at " << n;
            }
        }
    }
}

} // namespace
} // namespace mb::vcard
