// The canonical spelling of lines, and lines made from it.
#include "CanonicalLine.h"

#include "CardText.h"
#include "Charset.h"
#include "LineReader.h"
#include "Transfer.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <random>

namespace mb::vcard {
namespace {

Context contextOf(Version version) { return {version, std::string(kUtf8), "\r\n"}; }

std::string canonicalOf(std::string_view raw, Version version)
{
    const Context context = contextOf(version);
    return canonicalLine(Line::parse(raw, version), context);
}

std::string rawOf(std::string_view canonical, Version version)
{
    const Context context = contextOf(version);
    std::string raw = lineFromCanonical(canonical, context).raw();
    EXPECT_TRUE(raw.ends_with("\r\n"));
    return raw.substr(0, raw.size() - 2);
}

struct Spelling {
    std::string_view canonical;
    std::string_view v40, v30, v21; // empty: the version is not part of this example
};

class SpellingTest : public testing::TestWithParam<Spelling> {};

constexpr Spelling kSpellings[] = {
    {"NOTE:x", "NOTE:x", "note:x", "Note:x"},
    // Parameters
    {"TEL;TYPE=cell:1", "TEL;TYPE=cell:1", "TEL;TYPE=CELL:1", "TEL;CELL:1"},
    {"TEL;TYPE=home,voice:1", "TEL;TYPE=\"voice,home\":1", "TEL;TYPE=HOME;TYPE=VOICE:1", "TEL;HOME;VOICE:1"},
    {"TEL;PREF=1;TYPE=work:1", "TEL;PREF=1;TYPE=work:1", "TEL;TYPE=WORK,PREF:1", "TEL;PREF;WORK:1"},
    {"URL;PREF=1:http://example.org/", "URL;PREF=1:http://example.org/", "URL;type=pref:http\\://example.org/",
     "URL;PREF:http://example.org/"},
    {"TEL;PREF=2:1", "TEL;PREF=2:1", "TEL;PREF=2;TYPE=PREF:1", "TEL;PREF=2:1"},
    {"TEL;TYPE=x-mine:1", "TEL;TYPE=X-Mine:1", "TEL;TYPE=x-mine:1", "TEL;X-MINE:1"},
    {"TEL;TYPE=\"a;b\",cell:1", "TEL;TYPE=cell,\"a;b\":1", "TEL;TYPE=\"a;b\";TYPE=CELL:1", ""},
    {"NOTE;LANGUAGE=de:x", "NOTE;LANGUAGE=de:x", "NOTE;LANGUAGE=\"de\":x", "NOTE;LANGUAGE=de:x"},
    {"ADR;LABEL=\"1, Mill Lane\";TYPE=home:;;1;;;;", "ADR;LABEL=\"1, Mill Lane\";TYPE=home:;;1;;;;",
     "ADR;TYPE=HOME;LABEL=\"1, Mill Lane\":;;1;;;;", ""},
    {"ADR;LABEL=a^nb:;;1;;;;", "ADR;LABEL=a^nb:;;1;;;;", "ADR;LABEL=\"a^nb\":;;1;;;;", ""},
    {"N;SORT-AS=\"Harten,Rene\":van Harten;Rene;;;", "N;SORT-AS=\"Harten,Rene\":van Harten;Rene;;;",
     "N;SORT-AS=\"Harten,Rene\":van Harten;Rene;;;", ""},
    {"EMAIL;PID=1.1,2.1:a@example.org", "EMAIL;PID=1.1,2.1:a@example.org", "EMAIL;PID=1.1;PID=2.1:a@example.org", ""},
    {"IMPP;X-SERVICE-TYPE=Jabber:xmpp:a@example.org", "IMPP;X-SERVICE-TYPE=Jabber;VALUE=URI:xmpp:a@example.org",
     "IMPP;X-SERVICE-TYPE=Jabber:xmpp:a@example.org", ""},
    {"TEL;TYPE=cell:1", "TEL;TYPE=cell,Cell:1", "TEL;TYPE=CELL;TYPE=cell:1", "TEL;CELL;TYPE=cell:1"},
    {"TEL;X-NOTE=\"a:b\":1", "TEL;X-Note=\"a:b\":1", "TEL;X-NOTE=\"a:b\":1", "TEL;X-NOTE=\"a:b\":1"},
    {"TEL;X-NOTE=ab:1", "TEL;X-NOTE=a\x01\"b\":1", "TEL;X-NOTE=a\x01\"b\":1", "TEL;;X-NOTE=ab;:1"},
    // Texts
    {"NOTE:a\\, b\\; c\\nd\\\\e", "NOTE:a\\, b\\; c\\nd\\\\e", "NOTE:a\\, b\\; c\\Nd\\\\e",
     "NOTE;ENCODING=QUOTED-PRINTABLE:a, b; c=0D=0Ad\\e"},
    {"NOTE:Gr\xC3\xBC\xC3\x9F"
     "e",
     "NOTE:Gr\xC3\xBC\xC3\x9F"
     "e",
     "NOTE;CHARSET=ISO-8859-1:Gr\xFC\xDF"
     "e",
     "NOTE;CHARSET=UTF-8;QUOTED-PRINTABLE:Gr=C3=BC=C3=9Fe"},
    {"NOTE:folded", "NOTE:fol\r\n ded", "NOTE:fol\n\tded", "NOTE;QUOTED-PRINTABLE:fol=\r\nded"},
    {"NOTE:text", "", "NOTE;ENCODING=B:dGV4dA==", "NOTE;ENCODING=BASE64:dGV4dA=="},
    {"X-CUSTOM:text", "", "X-CUSTOM;CHARSET=UTF-8;ENCODING=B:dGV4dA==", "X-CUSTOM;CHARSET=UTF-8;BASE64:dGV4dA=="},
    {"X-CUSTOM:C:\\\\new", "X-CUSTOM:C:\\\\new", "X-CUSTOM:C:\\\\new", "X-CUSTOM:C:\\new"},
    {"NOTE:a\\\\\\nb", "NOTE:a\\\\\\nb", "NOTE;QUOTED-PRINTABLE:a\\=0Ab", "NOTE;QUOTED-PRINTABLE:a\\=0D=0Ab"},
    {"N:Doe\\, Sr.;Jane;;;", "N:Doe\\, Sr.;Jane;;;", "N:Doe\\, Sr.;Jane;;;", "N:Doe, Sr.;Jane;;;"},
    {"ORG:A\\;B;C", "ORG:A\\;B;C", "ORG:A\\;B;C", "ORG:A\\;B;C"},
    {"CATEGORIES:one,two\\, three", "CATEGORIES:one,two\\, three", "CATEGORIES:one,two\\, three", "CATEGORIES:one,two\\, three"},
    {"X-CUSTOM:kind;Nick;1;;", "X-CUSTOM:kind;Nick;1;;", "X-CUSTOM:kind;Nick;1;;", "X-CUSTOM:kind;Nick;1;;"},
    {"URL:http://example.org/?a=1;b=2,3", "URL:http://example.org/?a=1;b=2,3", "URL;VALUE=uri:http://example.org/?a=1;b=2,3",
     "URL;VALUE=URL:http://example.org/?a=1;b=2,3"},
    {"TEL;VALUE=uri:tel:+1-555-0100;ext=7", "TEL;VALUE=uri:tel:+1-555-0100;ext=7", "TEL;VALUE=URI:tel:+1-555-0100;ext=7", ""},
    {"TEL:+1-555-0100", "TEL;VALUE=text:+1-555-0100", "TEL;VALUE=phone-number:+1-555-0100", "TEL:+1-555-0100"},
    {"RELATED;TYPE=friend;VALUE=text:Ann", "RELATED;VALUE=text;TYPE=friend:Ann", "RELATED;TYPE=FRIEND;VALUE=TEXT:Ann", ""},
    {"LABEL;TYPE=home:1 Mill Lane\\nTown", "", "LABEL;TYPE=HOME:1 Mill Lane\\nTown",
     "LABEL;HOME;ENCODING=QUOTED-PRINTABLE:1 Mill Lane=0D=0ATown"},
    {"AGENT:BEGIN:VCARD\\nFN:x\\nEND:VCARD", "", "AGENT:BEGIN:VCARD\\nFN\\:x\\nEND:VCARD", ""},
    // Names
    {"ANNIVERSARY:20150601", "ANNIVERSARY:20150601", "X-ANNIVERSARY:2015-06-01", "X-ANNIVERSARY:20150601"},
    {"KIND:group", "KIND:group", "X-ADDRESSBOOKSERVER-KIND:group", "X-ADDRESSBOOKSERVER-KIND:group"},
    {"MEMBER:urn:uuid:1", "MEMBER:urn:uuid:1", "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:1", ""},
    {"X-ABLABEL:Gym", "X-ABLabel:Gym", "X-ABLabel:Gym", "X-ABLabel:Gym"},
    // Dates, zones and positions
    {"BDAY:19850412", "BDAY:19850412", "BDAY:1985-04-12", "BDAY:1985-04-12"},
    {"BDAY:19850412", "BDAY;VALUE=date:1985-04-12", "BDAY;VALUE=date:19850412", "BDAY:19850412"},
    {"BDAY:19850412T102200Z", "BDAY:19850412T102200Z", "BDAY;VALUE=date-time:1985-04-12T10:22:00Z", ""},
    {"BDAY:19850412T1022-0500", "BDAY;VALUE=date-and-or-time:19850412T1022-0500", "BDAY:1985-04-12T10:22-05:00", ""},
    {"BDAY:--0412", "BDAY:--0412", "BDAY:--04-12", "BDAY:--0412"},
    {"BDAY:19850412T10", "BDAY:19850412T10", "BDAY;VALUE=date-time:1985-04-12T10", ""},
    {"BDAY:1985-04", "BDAY:1985-04", "BDAY:1985-04", ""},
    {"BDAY;VALUE=text:circa 1800", "BDAY;VALUE=text:circa 1800", "BDAY;VALUE=text:circa 1800", ""},
    {"DEATHDATE:20200101", "DEATHDATE:20200101", "DEATHDATE:2020-01-01", ""},
    {"TZ;VALUE=utc-offset:-0500", "TZ;VALUE=utc-offset:-0500", "TZ:-05:00", "TZ:-0500"},
    {"TZ:Europe/Oslo", "TZ:Europe/Oslo", "TZ;VALUE=text:Europe/Oslo", ""},
    {"TZ:-0500", "TZ:-0500", "TZ;VALUE=text:-0500", ""},
    {"GEO:geo:37.386,-122.083", "GEO:geo:37.386,-122.083", "GEO:37.386;-122.083", "GEO:37.386;-122.083"},
    {"GEO:geo:37.24,-17.87", "GEO:geo:37.24,-17.87", "GEO:37.24;-17.87", "GEO:37.24,-17.87"},
    {"GEO:geo:37.386,-122.083;u=35", "GEO:geo:37.386,-122.083;u=35", "GEO;VALUE=uri:geo:37.386,-122.083;u=35", ""},
    {"UID:urn:uuid:1", "UID:urn:uuid:1", "UID;VALUE=uri:urn:uuid:1", ""},
    {"UID:abc", "UID;VALUE=text:abc", "UID:abc", "UID:abc"},
    // Pictures, sounds and keys
    {"PHOTO:data:image/png;base64,iVBORw==", "PHOTO:data:image/png;base64,iVBORw==", "PHOTO;ENCODING=b;TYPE=PNG:iVBORw==",
     "PHOTO;PNG;BASE64:iVBORw=="},
    {"PHOTO:data:image/gif;base64,R0lGODg=", "PHOTO:data:image/gif;base64,R0lGODg=", "PHOTO;ENCODING=b:R0lGODg=",
     "PHOTO;BASE64:R0lG\r\n ODg="},
    {"LOGO:data:image/webp;base64,UklGRgAAAABXRUJQ", "LOGO:data:image/webp;base64,UklGRgAAAABXRUJQ", "LOGO;ENCODING=b:UklGRgAAAABXRUJQ",
     "LOGO;BASE64:UklGRgAAAABXRUJQ"},
    {"PHOTO:data:image/jpeg;base64,AAAA", "PHOTO;TYPE=jpeg:data:image/JPG;base64,AAAA", "PHOTO;TYPE=JPG;ENCODING=BASE64:AAAA",
     "PHOTO;TYPE=JPEG;ENCODING=BASE64:AAAA"},
    {"PHOTO:data:image/webp;base64,AAAA", "PHOTO:data:image/webp;base64,AAAA", "PHOTO:data:image/webp;base64\\,AAAA", ""},
    {"PHOTO:data:image/heic;base64,AAAA", "PHOTO:data:image/heic;base64,AAAA", "PHOTO;ENCODING=b;MEDIATYPE=image/heic:AAAA", ""},
    {"PHOTO;PREF=1;TYPE=home:data:image/png;base64,AAAA", "PHOTO;TYPE=home;PREF=1:data:image/png;base64,AAAA",
     "PHOTO;TYPE=PNG,HOME,PREF;ENCODING=b:AAAA", "PHOTO;PNG;HOME;PREF;BASE64:AAAA"},
    {"PHOTO:http://example.org/a.jpg", "PHOTO;VALUE=uri:http://example.org/a.jpg", "PHOTO;VALUE=uri:http://example.org/a.jpg",
     "PHOTO;VALUE=URL:http://example.org/a.jpg"},
    {"LOGO;MEDIATYPE=image/jpeg:http://example.org/a", "LOGO;MEDIATYPE=image/jpeg:http://example.org/a",
     "LOGO;VALUE=URI;TYPE=JPEG:http://example.org/a", "LOGO;JPEG;VALUE=URL:http://example.org/a"},
    {"SOUND:data:audio/ogg;base64,T2dnUw==", "SOUND:data:audio/ogg;base64,T2dnUw==", "SOUND;TYPE=OGG;ENCODING=b:T2dnUw==",
     "SOUND;BASE64:T2dnUw=="},
    {"KEY:data:application/pgp-keys;base64,AAAA", "KEY:data:application/pgp-keys;base64,AAAA", "KEY;TYPE=PGP;ENCODING=b:AAAA",
     "KEY;PGP;BASE64:AAAA"},
    {"KEY:data:application/pkix-cert;base64,AAAA", "KEY:data:application/pkix-cert;base64,AAAA", "KEY;TYPE=X509;ENCODING=b:AAAA",
     "KEY;X509;ENCODING=BASE64:AAAA"},
    {"KEY:data:application/octet-stream;base64,AAAA", "KEY:data:application/octet-stream;base64,AAAA", "KEY;ENCODING=b:AAAA",
     "KEY;BASE64:AAAA"},
    {"KEY;VALUE=text:abc", "KEY;VALUE=text:abc", "KEY;VALUE=text:abc", ""},
    {"X-CARDPICTURE;VALUE=uri:data:image/jpeg;base64,AAAA", "X-CARDPICTURE;VALUE=uri:data:image/jpeg;base64,AAAA",
     "X-CARDPICTURE;TYPE=JPEG;ENCODING=b:AAAA", "X-CARDPICTURE;TYPE=JPEG;ENCODING=BASE64:AAAA"},
};

} // namespace

TEST_P(SpellingTest, OnePropertyHasOneCanonicalLineInAllVersions)
{
    const Spelling& s = GetParam();
    for (const auto& [version, raw] : {std::pair(Version::V40, s.v40), std::pair(Version::V30, s.v30), std::pair(Version::V21, s.v21)})
        if (!raw.empty()) { EXPECT_EQ(canonicalOf(raw, version), s.canonical) << raw; }
    for (const Version version : {Version::V40, Version::V30, Version::V21})
        EXPECT_EQ(canonicalOf(rawOf(s.canonical, version), version), s.canonical) << rawOf(s.canonical, version);
}

INSTANTIATE_TEST_SUITE_P(All, SpellingTest, testing::ValuesIn(kSpellings));

namespace {

TEST(CanonicalLine, LinesThatEveryCardHasForItselfHaveNone)
{
    for (const char* raw : {"BEGIN:VCARD", "END:VCARD", "REV:20200101T000000Z", "PRODID:-//x//", "item1.REV;X=1:a", "a b:c", "\xC3\xBC:c"})
        EXPECT_EQ(canonicalOf(raw, Version::V30), "") << raw;
    EXPECT_EQ(canonicalLine(Line::opaque("BEGIN:VCARD\r\n"), contextOf(Version::V40)), "");
}

TEST(CanonicalLine, TheParametersAreThoseOfTheLine)
{
    const Context context = contextOf(Version::V30);
    const auto params = [&](std::string_view raw) { return canonicalParams(Line::parse(raw, Version::V30), context); };
    EXPECT_EQ(params("TEL;TYPE=CELL,PREF;X-MB-FIELD=24;CHARSET=UTF-8:1"), ";PREF=1;TYPE=cell");
    EXPECT_EQ(params("TEL:1"), "");
    EXPECT_EQ(params("PHOTO;ENCODING=b;TYPE=PNG,HOME:iVBORw=="), ";TYPE=home");
    EXPECT_EQ(params("PHOTO;TYPE=PNG;VALUE=uri:http://example.org/a"), ";MEDIATYPE=image/png");
    EXPECT_EQ(params("TZ:-05:00"), ";VALUE=utc-offset");
    EXPECT_EQ(params("REV;X=1:a"), "");
}

TEST(CanonicalLine, ParametersAreReadInTheCharsetOfTheCard)
{
    const Context context{Version::V30, std::string(kWindows1252), "\r\n"};
    EXPECT_EQ(canonicalLine(Line::parse("ADR;LABEL=Gr\xFCn:;;\xFC;;;;", Version::V30), context), "ADR;LABEL=Gr\xC3\xBCn:;;\xC3\xBC;;;;");
    EXPECT_EQ(canonicalLine(Line::parse("ADR;LABEL=\xBF\xE0;CHARSET=ISO-8859-5:;;\xBF\xE0;;;;", Version::V30), context),
              "ADR;LABEL=\xD0\x9F\xD1\x80:;;\xD0\x9F\xD1\x80;;;;");
}

TEST(CanonicalLine, ALineIsWrittenInTheSpellingOfItsVersion)
{
    const auto expectSpellings = [](std::string_view canonical, std::string_view v40, std::string_view v30, std::string_view v21) {
        EXPECT_EQ(rawOf(canonical, Version::V40), v40);
        EXPECT_EQ(rawOf(canonical, Version::V30), v30);
        EXPECT_EQ(rawOf(canonical, Version::V21), v21);
    };
    expectSpellings("item1.TEL;PREF=1;TYPE=cell,x-mine:1", "item1.TEL;PREF=1;TYPE=cell,x-mine:1", "item1.TEL;TYPE=CELL,x-mine,PREF:1",
                    "item1.TEL;CELL;TYPE=x-mine;PREF:1");
    expectSpellings("TEL;PREF=2:1", "TEL;PREF=2:1", "TEL;PREF=2:1", "TEL;PREF=2:1");
    expectSpellings("ANNIVERSARY:20150601", "ANNIVERSARY:20150601", "X-ANNIVERSARY:2015-06-01", "X-ANNIVERSARY:2015-06-01");
    expectSpellings("ANNIVERSARY:20150601T1022-0500", "ANNIVERSARY:20150601T1022-0500",
                    "X-ANNIVERSARY;VALUE=date-time:2015-06-01T10:22-05:00", "X-ANNIVERSARY;VALUE=date-time:2015-06-01T10:22-05:00");
    expectSpellings("KIND:group", "KIND:group", "X-ADDRESSBOOKSERVER-KIND:group", "X-ADDRESSBOOKSERVER-KIND:group");
    expectSpellings("Item2.X-ABLABEL:Gym", "Item2.X-ABLabel:Gym", "Item2.X-ABLabel:Gym", "Item2.X-ABLabel:Gym");
    expectSpellings("TZ;VALUE=utc-offset:-0500", "TZ;VALUE=utc-offset:-0500", "TZ:-05:00", "TZ:-05:00");
    expectSpellings("TZ:Europe/Oslo", "TZ:Europe/Oslo", "TZ;VALUE=text:Europe/Oslo", "TZ;VALUE=text:Europe/Oslo");
    expectSpellings("GEO:geo:1.5,-2", "GEO:geo:1.5,-2", "GEO:1.5;-2", "GEO:1.5;-2");
    expectSpellings("PHOTO;PREF=1:data:image/png;base64,AAAA", "PHOTO;PREF=1:data:image/png;base64,AAAA",
                    "PHOTO;ENCODING=b;TYPE=PNG,PREF:AAAA", "PHOTO;ENCODING=BASE64;TYPE=PNG;PREF:AAAA");
    expectSpellings("PHOTO:http://example.org/a", "PHOTO:http://example.org/a", "PHOTO;VALUE=uri:http://example.org/a",
                    "PHOTO;VALUE=URL:http://example.org/a");
    expectSpellings("KEY:data:image/png,plain", "KEY:data:image/png,plain", "KEY;VALUE=uri:data:image/png,plain",
                    "KEY;VALUE=URL:data:image/png,plain");
    expectSpellings("KEY:data:application/octet-stream;base64,AAAA", "KEY:data:application/octet-stream;base64,AAAA", "KEY;ENCODING=b:AAAA",
                    "KEY;ENCODING=BASE64:AAAA");
    expectSpellings("PHOTO:data:image/heic;base64,AAAA", "PHOTO:data:image/heic;base64,AAAA", "PHOTO;ENCODING=b;MEDIATYPE=image/heic:AAAA",
                    "PHOTO;ENCODING=BASE64;MEDIATYPE=image/heic:AAAA");
    expectSpellings("UID:abc", "UID;VALUE=text:abc", "UID:abc", "UID:abc");
    expectSpellings("NOTE:a\\, b\\nc", "NOTE:a\\, b\\nc", "NOTE:a\\, b\\nc", "NOTE;ENCODING=QUOTED-PRINTABLE:a, b=0D=0Ac");
}

TEST(CanonicalLine, LongLinesAreFoldedAsTheCardFoldsThem)
{
    const std::string picture = "PHOTO:data:image/png;base64," + encodeBase64(std::string(1000, 'x'));
    const std::string note = "NOTE:" + std::string(200, 'x') + "\\n\\,\xC3\xBC" + std::string(200, 'y');
    for (const Version version : {Version::V30, Version::V40})
        for (const std::string& canonical : {picture, note}) {
            const Context context{version, std::string(kUtf8), "\n"};
            const std::string raw = lineFromCanonical(canonical, context).raw();
            for (std::size_t at = 0; at < raw.size(); at = raw.find('\n', at) + 1) EXPECT_LE(raw.find('\n', at) - at, 75u);
            EXPECT_EQ(canonicalLine(Line::parse(raw, version), context), canonical);
        }
}

// An algorithm that is not linear would take minutes.
TEST(CanonicalLine, HugeHeadersTakeLinearTime)
{
    std::string types = "TEL;TYPE=a", params = "TEL", quotes = "TEL;X=\"";
    for (int i = 400000; i > 0; --i) types += "," + std::to_string(i);
    for (int i = 100000; i > 0; --i) {
        params += ";X" + std::to_string(i) + "=1";
        quotes += ",\"\",";
    }
    for (const std::string& header : {types, params, quotes}) {
        const std::string canonical = canonicalOf(header + ":1", Version::V30);
        EXPECT_EQ(canonicalOf(rawOf(canonical, Version::V30), Version::V30), canonical);
    }
}

// Random lines

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); }

template <class Items> auto oneOf(Random& random, const Items& items) { return items[below(random, std::size(items))]; }

constexpr std::string_view kNames[] = {
    "NOTE",        "TEL",     "EMAIL",   "ADR",           "N",        "ORG",    "CATEGORIES",
    "NICKNAME",    "URL",     "IMPP",    "PHOTO",         "KEY",      "SOUND",  "BDAY",
    "TZ",          "GEO",     "UID",     "X-ANNIVERSARY", "X-CUSTOM", "LANG",   "X-ABLABEL",
    "ANNIVERSARY", "RELATED", "CREATED", "KIND",          "LABEL",    "MEMBER", "X-ADDRESSBOOKSERVER-KIND"};
constexpr std::string_view kParamNames[] = {"TYPE",     "type",     "PREF",    "LANGUAGE", "VALUE", "MEDIATYPE", "ALTID", "LABEL",
                                            "X-CUSTOM", "ENCODING", "CHARSET", "PID",      "TYPE",  "",          "X\"Y",  " A B "};
constexpr std::string_view kParamValues[] = {"home",
                                             "CELL",
                                             "pref",
                                             "1",
                                             "2",
                                             "uri",
                                             "text",
                                             "date",
                                             "image/png",
                                             "jpeg",
                                             "PNG",
                                             "a b",
                                             "\"a,b\"",
                                             "\"a:b;c\"",
                                             "^n",
                                             "^^",
                                             "de",
                                             "\xC3\xBC",
                                             "\"open",
                                             "",
                                             "b",
                                             "BASE64",
                                             "x^'",
                                             "utc-offset",
                                             "pgp",
                                             "date-time",
                                             "UTF-8",
                                             "phone-number",
                                             "data:",
                                             "=",
                                             "QUOTED-PRINTABLE",
                                             "image/x-odd",
                                             "b64\tc"};
constexpr std::string_view kPieces[] = {"a",
                                        "text ",
                                        "\\n",
                                        "\\N",
                                        "\\,",
                                        "\\;",
                                        "\\\\",
                                        "\\",
                                        "\\x",
                                        ",",
                                        ";",
                                        ":",
                                        "\"",
                                        "=",
                                        "\xC3\xBC",
                                        "\xF0\x9F\x99\x82",
                                        " ",
                                        "\t",
                                        "1985-04-12",
                                        "19850412",
                                        "T10:22:00Z",
                                        "-0500",
                                        "-05:00",
                                        "geo:1,2",
                                        "37.5;-1.25",
                                        "data:image/png;base64,AAAA",
                                        "http://example.org/",
                                        "data:image/jpeg;base64,QQ",
                                        "--04",
                                        "=0A",
                                        "\x01",
                                        "END:VCARD",
                                        "urn:uuid:1",
                                        "data:image/x-odd;base64,AA==",
                                        "data:,x"};

std::string randomLine(Random& random)
{
    std::string line(oneOf(random, kNames));
    for (std::size_t n = below(random, 4); n > 0; --n) {
        const std::string_view name = oneOf(random, kParamNames);
        line.append(";").append(name).append(name.empty() ? "" : "=").append(oneOf(random, kParamValues));
        while (below(random, 3) == 0) line.append(",").append(oneOf(random, kParamValues));
    }
    line += ':';
    for (std::size_t n = below(random, 5); n > 0; --n) line += oneOf(random, kPieces);
    if (below(random, 10) == 0) line.append(below(random, 200), 'x').append(oneOf(random, kPieces));
    return line;
}

// Returns the text of a card's only line of its own, between two other lines. The reader has to find three properties.
std::string betweenOthers(const std::string& raw)
{
    const std::string text = "BEGIN:VCARD\r\nX-FIRST:1\r\n" + raw + "X-LAST:2\r\nEND:VCARD\r\n";
    EXPECT_FALSE(scanCards(text).error) << raw;
    const std::vector<std::string> lines = logicalLines(text);
    EXPECT_EQ(lines.size(), 5u) << text;
    return lines.size() == 5 ? lines[2] : std::string();
}

struct CardKind {
    Version version;
    std::string_view charset;
};

class RandomLineTest : public testing::TestWithParam<CardKind> {};

// Returns whether the value has what a text of version 2.1 cannot tell from an escaped character.
bool changesInVersion21(std::string_view canonical)
{
    const std::size_t colon = endOfHeader(canonical);
    const std::string_view header = canonical.substr(0, colon), name = header.substr(0, header.find(';')),
                           value = canonical.substr(colon + 1);
    constexpr std::string_view kTexts[] = {"NOTE", "TEL", "EMAIL", "LANG", "X-ABLABEL", "KIND", "LABEL"}, kParts[] = {"N", "ADR", "ORG"};
    const bool uri = header.find("VALUE=uri") != header.npos;
    const bool single = !uri && (header.find("VALUE=text") != header.npos || std::ranges::find(kTexts, name) != std::end(kTexts));
    const bool parts = !uri && !single && std::ranges::find(kParts, name) != std::end(kParts);
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && single && std::string_view("\\,;n").find(value[i + 1]) == std::string_view::npos) return true;
        if (value[i] == '\\')
            ++i;
        else if ((value[i] == ',' && (single || parts)) || (value[i] == ';' && single))
            return true;
    }
    return false;
}

} // namespace

TEST_P(RandomLineTest, AnyCanonicalLineIsReadBackFromTheLineMadeOfIt)
{
    Random random(static_cast<std::uint32_t>(testing::UnitTest::GetInstance()->random_seed()));
    const Context context{GetParam().version, std::string(GetParam().charset), "\r\n"};
    for (int i = 0; i < 5000 && !HasFailure(); ++i) {
        const std::string source = randomLine(random);
        std::string canonical = canonicalOf(source, oneOf(random, std::array{Version::V21, Version::V30, Version::V40}));
        SCOPED_TRACE("seed " + std::to_string(testing::UnitTest::GetInstance()->random_seed()) + ": " + source);
        ASSERT_NE(canonical, "");
        ASSERT_EQ(canonical.find('\n'), canonical.npos);
        EXPECT_EQ(canonicalOf(canonical, Version::V40), canonical) << "it is a line of version 4.0";
        if (context.version == Version::V21 && changesInVersion21(canonical))
            canonical = canonicalLine(lineFromCanonical(canonical, context), context); // which does not change again
        const Line line = lineFromCanonical("item1." + canonical, context);
        EXPECT_EQ(line.group(), "ITEM1");
        EXPECT_EQ(canonicalLine(line, context), canonical) << line.raw();
        const Line again = Line::parse(betweenOthers(line.raw()), context.version);
        EXPECT_EQ(canonicalLine(again, context), canonical) << line.raw();
        EXPECT_EQ(canonicalOf(canonical, Version::V40), canonical);
    }
}

INSTANTIATE_TEST_SUITE_P(All, RandomLineTest,
                         testing::Values(CardKind{Version::V21, kUtf8}, CardKind{Version::V30, kUtf8}, CardKind{Version::V40, kUtf8},
                                         CardKind{Version::V21, kWindows1252}, CardKind{Version::V30, kWindows1252}));

} // namespace mb::vcard
