// Fields and details together are the whole card: written to a new card of the same version they give the same lines.
#include "CanonicalLine.h"
#include "CardText.h"
#include "DetailsBytes.h"
#include "DetailsText.h"
#include "Samples.h"

#include <algorithm>
#include <random>
#include <set>

namespace mb::vcard {
namespace {

using Lines = std::multiset<std::string>;

std::string emptyCard(Version version)
{
    const std::string number = version == Version::V21 ? "2.1" : version == Version::V30 ? "3.0" : "4.0";
    return "BEGIN:VCARD\r\nVERSION:" + number + "\r\nEND:VCARD\r\n";
}

// Returns the properties in canonical spelling. A group's name is replaced by the lines of the group.
Lines propertiesOf(const Card& card)
{
    const Context context{card.version(), std::string(kUtf8)};
    std::vector<std::pair<std::string, std::string>> found; // group and line
    std::map<std::string, Lines> groups;
    int depth = 0;
    const std::string bytes = card.bytes();
    LineReader reader(bytes);
    for (RawLine raw; reader.next(raw);) {
        depth += raw.kind == RawLine::Kind::Begin ? 1 : raw.kind == RawLine::Kind::End ? -1 : 0;
        const bool cardInside = raw.kind == RawLine::Kind::Begin && depth == 2;
        if (cardInside && !found.empty() && found.back().second == "AGENT:") found.pop_back(); // stays at home with the card
        if (raw.kind != RawLine::Kind::Property || depth != 1) continue;
        const Line line = Line::parse(raw.bytes, card.version());
        if (line.name() == "UID" || line.name() == "VERSION" || (line.name() == "FN" && line.param(kDerivedParam))) continue;
        const std::string text = canonicalLine(line, context);
        if (text.empty()) continue;
        found.emplace_back(line.group(), text);
        if (!line.group().empty()) groups[line.group()].insert(text);
    }
    Lines lines;
    for (const auto& [group, line] : found) {
        std::string text;
        if (!group.empty())
            for (const std::string& other : groups[group]) text += other + " | ";
        lines.insert(text + line);
    }
    return lines;
}

Lines linesOf(std::u16string_view details)
{
    Lines lines;
    for (const std::u16string_view line : plugin::detailsLines(details))
        if (!line.starts_with(u"UID:")) lines.insert(toUtf8(line));
    return lines;
}

// A group may get another name.
Lines withoutNamesOfGroups(const Lines& lines)
{
    Lines renamed;
    for (const std::string& line : lines) {
        const std::size_t dot = line.find('.');
        renamed.insert(dot < line.find_first_of(":;") ? line.substr(dot) : line);
    }
    return renamed;
}

void copyFields(const Card& from, Card& to)
{
    for (const Field& field : fields()) {
        if (field.shape == Shape::Image)
            to.setImage(field.type, from.image(field.type));
        else
            to.set(field.type, from.get(field.type));
    }
}

void expectWholeCopy(const std::string& text)
{
    const Card from = Card::parse(text);
    Card to = Card::parse(emptyCard(from.version()));
    copyFields(from, to);
    to.setDetails(from.wholeDetails());
    to.completeName();
    EXPECT_TRUE(to.readsBackFrom(to.bytes()));
    for (const Field& field : fields()) EXPECT_EQ(toUtf8(to.get(field.type)), toUtf8(from.get(field.type))) << int{field.type} << text;
    EXPECT_EQ(propertiesOf(to), propertiesOf(from)) << text << "->\n" << to.bytes() << toUtf8(from.wholeDetails());
    EXPECT_EQ(linesOf(to.wholeDetails()), linesOf(from.wholeDetails())) << text << "->\n" << to.bytes();
    EXPECT_FALSE(to.setDetails(from.wholeDetails())) << to.bytes();
}

// Properties of version 4.0 that other programs write. A '#' stands for a number, a '~' for a text.
const std::vector<std::string> kLines40 = {
    "TEL;TYPE=cell:#",
    "TEL;TYPE=\"cell,work\";PREF=1:#",
    "TEL;TYPE=home,voice:#",
    "TEL;TYPE=home;LABEL=\"~: ~\":#",
    "TEL;VALUE=uri;TYPE=work:tel:+1-555-#",
    "TEL;VALUE=uri:tel:+1-555-#;ext=12",
    "TEL:#",
    "TEL:",
    "TEL;TYPE=x-strange;PID=1.1:#",
    "EMAIL:a#@example.org",
    "EMAIL;TYPE=home;PREF=2:a#@example.org",
    "EMAIL:",
    "ADR;TYPE=home:;;# High Street;~;;;",
    "ADR;TYPE=home:PO Box #;Floor #;# High Street;~;;;",
    "ADR;TYPE=work;LABEL=\"#\\n~\";GEO=\"geo:1,2\":PO Box #;;;;;;",
    "ADR;TYPE=work:;;# High Street, ~;;;;Nowhere",
    "ADR:;;~",
    "ADR;TYPE=home;X-MB-FIELD=51:;;# Other Street;;;;",
    "N:~;~;;;",
    "N;LANGUAGE=de;SORT-AS=\"~,~\":~;~,~;;Dr.;;second;Jr.",
    "FN:~",
    "FN;ALTID=1;LANGUAGE=fr:~",
    "FN;DERIVED=true:~",
    "NICKNAME:~,~",
    "ORG;SORT-AS=\"~\":~;~;~;~",
    "ORG:;;~",
    "BDAY:19850412",
    "BDAY;VALUE=text:about #",
    "BDAY;CALSCALE=gregorian:19850412",
    "BDAY:19850412T102200Z",
    "ANNIVERSARY:20040521",
    "GENDER:M",
    "GENDER:M;~",
    "GENDER:;~",
    "KIND:individual",
    "LANG;PREF=1:fr",
    "LANG:en",
    "TZ:Europe/Paris",
    "GEO:geo:48.8,2.3",
    "KEY;MEDIATYPE=application/pgp-keys:https://example.org/#.asc",
    "KEY:data:application/pgp-keys;base64,AAAA",
    "RELATED;TYPE=friend:urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b#",
    "RELATED;TYPE=spouse;VALUE=text:~",
    "RELATED;VALUE=text:~",
    "MEMBER:urn:uuid:#",
    "IMPP:xmpp:a#@example.org",
    "IMPP;PREF=1:aim:a#",
    "X-AIM:#",
    "X-JABBER:#@example.org",
    "X-SOCIALPROFILE;TYPE=example;X-USER=\"~\":https://example.org/#",
    "X-EVOLUTION-SPOUSE:~",
    "X-SPOUSE:~",
    "SOCIALPROFILE;SERVICE-TYPE=Example:https://example.org/#",
    "URL:https://example.org/?a=#,b;c",
    "URL;TYPE=work:https://example.org/#",
    "NOTE:~\\n~\\, \\\\ ~",
    "NOTE;ALTID=1;LANGUAGE=en:~, ~; ~",
    "CATEGORIES:~,~",
    "CATEGORIES;PREF=1:~, ~",
    "TITLE;ALTID=1;LANGUAGE=en:~",
    "TITLE:~",
    "ROLE:~",
    "LOGO:https://example.org/#.png",
    "PHOTO:data:image/png;base64,iVBORw0KGgo=",
    "PHOTO;X-CROP=#:data:image/jpeg;base64,/9j/AAAA",
    "PHOTO;MEDIATYPE=image/gif:https://example.org/#.gif",
    "SOUND:https://example.org/#.ogg",
    "CLIENTPIDMAP:1;urn:uuid:53e374d9-337e-4727-8803-a1e9c14e055#",
    "SOURCE:https://example.org/#.vcf",
    "XML:<a xmlns=\"x\">#</a>",
    "X-MB-CUSTOM1:~",
    "X-ODD;A=\"1;2\";B=^n:~;~,~\\;",
    "X_UNDER:#",
    "item#.TEL;TYPE=cell:#\r\nitem#.X-ABLabel:~",
    "item#.ADR;TYPE=home:;;~;;;;\r\nitem#.X-ABADR:us\r\nitem#.X-ABLabel:_$!<Home>!$_",
    "item#.X-ABDATE:20200202\r\nitem#.X-ABLabel:~",
    "item#.X-ABRELATEDNAMES:~\r\nitem#.X-ABLabel:_$!<Spouse>!$_",
    "item#.TEL:#\r\nitem#.X-ABLabel:_$!<HomeFAX>!$_",
    "work.TEL;TYPE=work:#",
    "work.EMAIL:#@example.org",
    "a.b.X-NESTED:#",
    "# a comment",
    "BAD NAME:x",
    "REV:20240101T000000Z",
    "PRODID:-//Example//EN",
};

const std::vector<std::string> kLines30 = {
    "TEL;TYPE=CELL:#",
    "TEL;TYPE=CELL;TYPE=WORK;TYPE=pref:#",
    "TEL;TYPE=HOME,VOICE:#",
    "tel;type=home;type=fax:#",
    "TEL;TYPE=MAIN:#",
    "TEL:#",
    "TEL;X-MB-FIELD=65:#",
    "EMAIL;TYPE=INTERNET:a#@example.org",
    "EMAIL;TYPE=INTERNET,HOME,PREF:a#@example.org",
    "EMAIL:a#@example.org",
    "EMAIL;TYPE=X400:a#",
    "ADR;TYPE=HOME:;;# High Street;~;;;",
    "ADR;TYPE=HOME,POSTAL,PARCEL:PO Box #;~;# High Street;~;;;",
    "ADR;TYPE=WORK:;;# High Street, ~;~;;;Nowhere",
    "LABEL;TYPE=HOME:# High Street\\n~",
    "N:~;~;;;",
    "N:~;~,~;;;",
    "FN:~",
    "NICKNAME:~,~",
    "ORG:~;~;~",
    "BDAY:1985-04-12",
    "BDAY;VALUE=date:1985-04-12",
    "BDAY:19850412",
    "BDAY:--0412",
    "BDAY;X-APPLE-OMIT-YEAR=1604:1604-04-12",
    "X-ANNIVERSARY:2004-05-21",
    "X-ABDATE;TYPE=pref:2004-05-21",
    "GEO:48.8;2.3",
    "TZ:-05:00",
    "TZ;VALUE=text:Europe/Paris",
    "KEY;ENCODING=b;TYPE=PGP:AAAA",
    "PHOTO;ENCODING=b;TYPE=JPEG:/9j/AAAA",
    "PHOTO;ENCODING=b;TYPE=PNG:iVBORw0KGgo=",
    "PHOTO;VALUE=uri:https://example.org/#.jpg",
    "SOUND;ENCODING=b;TYPE=WAVE:AAAA",
    "CATEGORIES:~,~",
    "CLASS:PUBLIC",
    "SORT-STRING:~",
    "MAILER:~",
    "NOTE:~\\n~",
    "NOTE:~, ~: ~",
    "X-GENDER:~",
    "GENDER:F",
    "X-AIM;TYPE=HOME;TYPE=pref:#",
    "IMPP;X-SERVICE-TYPE=Jabber;TYPE=HOME:xmpp:#@example.org",
    "X-SKYPE:#",
    "X-ADDRESSBOOKSERVER-KIND:group",
    "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:#",
    "X-ABShowAs:COMPANY",
    "X-PHONETIC-FIRST-NAME:~",
    "URL;TYPE=WORK:https://example.org/?a=#,b",
    "URL:https\\://example.org/#",
    "AGENT:~",
    "item#.TEL;TYPE=CELL;TYPE=pref:#\r\nitem#.X-ABLabel:~",
    "item#.EMAIL;TYPE=INTERNET:#@example.org\r\nitem#.X-ABLabel:_$!<Other>!$_",
    "item#.ADR;TYPE=HOME;TYPE=pref:;;~;;;;\r\nitem#.X-ABADR:de",
    "item#.X-ABDATE:2020-02-02\r\nitem#.X-ABLabel:_$!<Anniversary>!$_",
    "item#.X-ABRELATEDNAMES:~\r\nitem#.X-ABLabel:~",
    "item#.URL:https://example.org/#\r\nitem#.X-ABLabel:_$!<HomePage>!$_",
};

const std::vector<std::string> kLines21 = {
    "TEL;CELL:#",
    "TEL;CELL;WORK;PREF:#",
    "TEL;HOME;VOICE:#",
    "TEL;WORK;FAX:#",
    "TEL;TYPE=CELL:#",
    "EMAIL;INTERNET:a#@example.org",
    "EMAIL;PREF;INTERNET:a#@example.org",
    "EMAIL:a#@example.org",
    "ADR;HOME:;;# High Street;City;;;",
    "ADR;HOME;PARCEL:PO Box #;;# High Street;City;;;",
    "ADR;WORK;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:;;Stra=C3=9Fe #;K=C3=B6ln;;;",
    "LABEL;HOME;ENCODING=QUOTED-PRINTABLE:# High Street=0D=0ACity",
    "N:Doe;Jane",
    "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=C3=B6rg;;;",
    "FN:Jane Doe",
    "ORG:Acme;Sales;Second Floor",
    "BDAY:19850412",
    "BDAY:1985-04-12",
    "TZ:-0500",
    "GEO:48.8,2.3",
    "KEY;X509;BASE64:AAAA\r\n",
    "PHOTO;ENCODING=BASE64;TYPE=JPEG:/9j/AAAA\r\n",
    "PHOTO;GIF;BASE64:R0lGODlh\r\n",
    "PHOTO;VALUE=URL:https://example.org/#.jpg",
    "SOUND;X-IRMC-N:Doe",
    "NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=0Atwo # =3D three",
    "NOTE:plain",
    "TITLE;LANGUAGE=en:Head",
    "URL;WORK:https://example.org/#",
    "URL:https://example.org/#",
    "MAILER:x",
    "X-ANNIVERSARY:2004-05-21",
    "X-MS-IMADDRESS:#",
    "X-ODD;A=b:#",
    "work.TEL;WORK:#",
};

class RandomCards {
public:
    explicit RandomCards(unsigned seed) : random_(seed) {}

    std::size_t below(std::size_t n) { return random_() % n; }

    std::string line(Version version)
    {
        const auto& lines = version == Version::V21 ? kLines21 : version == Version::V30 ? kLines30 : kLines40;
        const std::string group = std::to_string(1 + below(4));
        std::string text;
        const std::string& chosen = lines[below(lines.size())];
        const bool comment = chosen.starts_with('#');
        for (std::size_t i = 0; i < chosen.size(); ++i) {
            if (chosen[i] == '#' && !comment)
                text += i >= 4 && chosen.substr(i - 4, 4) == "item" ? group : std::to_string(below(10));
            else
                text += chosen[i] == '~' ? kWords[below(kWords.size())] : std::string(1, chosen[i]);
        }
        return text + "\r\n";
    }

    std::string card(Version version)
    {
        std::string text = emptyCard(version);
        std::string lines;
        for (std::size_t count = below(16); count > 0; --count) lines += line(version);
        return text.insert(text.find("END:"), lines);
    }

private:
    static inline const std::vector<std::string> kWords = {"one", "Zwölf", "日本", "\U0001F642", "x y", "a\\;b", "J."};
    std::mt19937 random_;
};

unsigned seed() { return static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()); }

class DetailsRoundTrip : public testing::TestWithParam<Version> {};
INSTANTIATE_TEST_SUITE_P(Versions, DetailsRoundTrip, testing::Values(Version::V21, Version::V30, Version::V40), [](const auto& version) {
    return std::string(version.param == Version::V21 ? "V21" : version.param == Version::V30 ? "V30" : "V40");
});

TEST_P(DetailsRoundTrip, ANewCardGetsEveryLineOfARandomCard)
{
    RandomCards random(seed());
    for (int round = 0; round < 300 && !HasFailure(); ++round) expectWholeCopy(random.card(GetParam()));
}

// Returns the lines that are properties.
Lines withoutAnnotations(const Lines& lines)
{
    Lines kept;
    for (const std::string& line : lines)
        if (!line.starts_with('@') && !line.starts_with("VERSION:")) kept.insert(line);
    return kept;
}

TEST_P(DetailsRoundTrip, ANewCardOfAnotherVersionGetsEveryProperty)
{
    RandomCards random(seed());
    for (const Version version : {Version::V30, Version::V40})
        for (int round = 0; round < 100 && !HasFailure(); ++round) {
            const std::string text = random.card(GetParam());
            const Card from = Card::parse(text);
            Card to = Card::parse(emptyCard(version));
            copyFields(from, to);
            to.setDetails(from.wholeDetails());
            SCOPED_TRACE(text + "->\n" + to.bytes() + toUtf8(from.wholeDetails()));
            EXPECT_TRUE(to.readsBackFrom(to.bytes()));
            for (const Field& field : fields()) EXPECT_EQ(toUtf8(to.get(field.type)), toUtf8(from.get(field.type))) << int{field.type};
            EXPECT_EQ(withoutAnnotations(linesOf(to.wholeDetails())), withoutAnnotations(linesOf(from.wholeDetails())));
            EXPECT_FALSE(to.setDetails(to.details()));
        }
}

// Random lines are removed from the details, added and moved. Fields keep their values, other lines their bytes.
TEST_P(DetailsRoundTrip, ARandomEditChangesTheLinesThatDiffer)
{
    RandomCards random(seed());
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        const std::string text = random.card(GetParam());
        Card card = Card::parse(text);
        const std::u16string details = card.wholeDetails(), others = Card::parse(random.card(GetParam())).wholeDetails();
        std::vector<std::u16string> edited;
        std::set<int> annotated;
        const auto take = [&](std::u16string_view line) {
            const int field = plugin::annotatedField(line);
            if (field == 0 || annotated.insert(field).second) edited.emplace_back(line);
        };
        for (const std::u16string_view line : plugin::detailsLines(details))
            if (random.below(4) != 0) take(line);
        for (const std::u16string_view line : plugin::detailsLines(others))
            if (random.below(3) == 0 && !line.starts_with(u"VERSION:")) take(line);
        std::u16string wanted, byHash; // files of the card may be named by their hashes
        const Lines held = linesOf(details);
        for (const std::u16string& line : edited) {
            const std::string hashed = plugin::hashedLine(toUtf8(line));
            wanted.append(wanted.empty() ? u"" : u"\n").append(line);
            byHash.append(byHash.empty() ? u"" : u"\n").append(held.contains(toUtf8(line)) ? fromUtf8(hashed) : line);
        }

        const Card was = card;
        card.setDetails(byHash);
        SCOPED_TRACE(text + "+\n" + toUtf8(wanted) + "\n->\n" + card.bytes());
        EXPECT_TRUE(card.readsBackFrom(card.bytes()));
        const Card is = Card::parse(card.bytes());
        for (const Field& field : fields()) {
            ASSERT_EQ(toUtf8(is.get(field.type)), toUtf8(was.get(field.type))) << int{field.type};
            ASSERT_EQ(is.imageSize(field.type), was.imageSize(field.type)) << int{field.type};
        }
        const Lines given = linesOf(details), asked = withoutNamesOfGroups(linesOf(wanted)),
                    got = withoutNamesOfGroups(linesOf(is.wholeDetails()));
        for (const std::string& line : asked)
            // A label whose group has the line of a field, or a postal label of the same type as an address, becomes part of the annotation
            // of the field.
            if (!line.starts_with('@') && !line.starts_with("VERSION:") && line.find(".X-AB") == line.npos && !line.starts_with("LABEL")) {
                EXPECT_GE(got.count(line), asked.count(line)) << line;
            }
        for (const std::string& line : got) { // what stays without being asked for holds the place of an empty field, or did not fit
            if (line.starts_with('@') || line.starts_with("VERSION:") || line.find(".X-AB") != line.npos || asked.contains(line)) continue;
            EXPECT_EQ(line[line.find_last_not_of(';')], ':') << line;
        }
        // Lines that were details and still are keep their bytes, where no line of a field has the same spelling.
        const auto rawLines = logicalLines(card.bytes());
        const Lines spelled = propertiesOf(was);
        for (const std::string& raw : logicalLines(text)) {
            const Line line = Line::parse(raw, was.version());
            const std::string canonical = canonicalLine(line, {was.version(), std::string(kUtf8)});
            const std::size_t count = given.count(canonical);
            if (line.group().empty() && count > 0 && asked.count(canonical) >= count && spelled.count(canonical) == count) {
                EXPECT_NE(std::ranges::find(rawLines, raw), rawLines.end()) << raw;
            }
        }
        EXPECT_FALSE(card.setDetails(card.details()));
        EXPECT_FALSE(Card(is).setDetails(is.details()));
    }
}

using DetailsSamples = SampleTest;
INSTANTIATE_TEST_SUITE_P(Samples, DetailsSamples, eachSource, nameOf);

TEST_P(DetailsSamples, AreCopiedWhole)
{
    std::vector<std::filesystem::path> folders = {folderOf(GetParam())};
    if (GetParam() == Source::Ours) folders.push_back(folders[0] / "rich");
    int copied = 0;
    for (const std::filesystem::path& folder : folders)
        for (const auto& file : std::filesystem::directory_iterator(folder)) {
            if (file.path().extension() != ".vcf") continue;
            SCOPED_TRACE(file.path().filename().string());
            for (const std::string& text : cardTexts(readBytes(file.path()))) {
                if (!isUtf8(text)) continue; // the copy would be in another charset
                expectWholeCopy(text);
                ++copied;
            }
        }
    EXPECT_GT(copied, 40);
}

} // namespace
} // namespace mb::vcard
