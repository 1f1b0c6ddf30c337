#include "ConformanceTest.h"

#include <fstream>

namespace mbtest {
namespace {

std::vector<std::u16string> strangeIdentifiers(const std::u16string& known)
{
    using namespace std::string_literals;
    return {u"",
            u" ",
            u".",
            u"..",
            u"/",
            u"../x",
            u"../x.vcf",
            u"..\\x",
            u"./x.vcf",
            u"/etc/passwd",
            u"C:\\x",
            u"a/b",
            u"x.vcf/..",
            u"*",
            u"%s%n%s",
            u"'; DROP TABLE card; --",
            u"\0"s,
            known + u"\0"s,
            known + u"\0.vcf"s,
            known + u" ",
            u" " + known,
            known + u"#",
            known + known,
            known.substr(0, known.size() - 1),
            u"\xD800",
            u"\xDC00\xD800",
            u"\x00E9\x4E2D\xD83D\xDE00",
            u"\r\n",
            std::u16string(10000, u'x'),
            std::u16string(10000, u'/'),
            std::u16string(10000, u'.')};
}

} // namespace

TEST_P(Conformance, AnUnknownOrStrangeIdentifierIsRefusedByEveryMethod)
{
    Translator translator = open();
    const std::u16string known = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    const Values values = read(translator, known);
    // Files that could be reached if an identifier were used as a path.
    const std::string card = "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Decoy;;;;\r\nFN:Decoy\r\nEND:VCARD\r\n";
    subject().folder.write("x", card);
    subject().folder.write("x.vcf", card);
    begin(translator);
    for (const std::u16string& id : strangeIdentifiers(known)) {
        const com::Bstr key(id);
        const std::string name = "identifier of " + std::to_string(id.size()) + " characters: " + testing::PrintToString(id.substr(0, 40));
        DATE date = 0;
        com::Variant value;
        EXPECT_TRUE(FAILED(translator->FindRecord(key.get()))) << name;
        EXPECT_TRUE(FAILED(translator->GetModifiedDate(key.get(), &date))) << name;
        EXPECT_TRUE(FAILED(translator->GetCreateDate(key.get(), &date))) << name;
        EXPECT_TRUE(FAILED(translator->BeginReadRecord(key.get()))) << name;
        EXPECT_TRUE(FAILED(translator->ReadField(key.get(), fields_[0].guid, value.put()))) << name;
        EXPECT_TRUE(FAILED(translator->BeginEditRecord(key.get()))) << name;
        EXPECT_TRUE(FAILED(translator->WriteField(key.get(), fields_[0].guid, com::Variant(u"x")))) << name;
        com::Bstr saved(id);
        EXPECT_TRUE(FAILED(translator->SaveRecord(saved.inOut()))) << name;
        EXPECT_TRUE(FAILED(translator->DeleteRecord(key.get()))) << name;
    }
    DATE date = 0;
    EXPECT_TRUE(FAILED(translator->FindRecord(nullptr)));
    EXPECT_TRUE(FAILED(translator->GetModifiedDate(nullptr, &date)));
    EXPECT_TRUE(FAILED(translator->BeginReadRecord(nullptr)));
    EXPECT_TRUE(FAILED(translator->BeginEditRecord(nullptr)));
    EXPECT_TRUE(FAILED(translator->DeleteRecord(nullptr)));
    end(translator);
    EXPECT_EQ(subject().folder.read(subject().folder.path() / "x"), card);
    EXPECT_EQ(subject().folder.read(subject().folder.path() / "x.vcf"), card);
    EXPECT_EQ(ids(translator), std::vector{known});
    EXPECT_EQ(read(translator, known), values);
    close(translator);
}

TEST_P(Conformance, AnIdentifierIsNeverAPathOutsideOfTheStore)
{
    Translator translator = open();
    // A record may have any content. The store chooses the identifier, which must not become a path.
    for (const char16_t* name : {u"../../escape", u"/tmp/escape", u"con", u"a\\b:c*?\"<>|", u"..", u"."}) {
        const std::u16string id = addAlone(translator, {{fieldOf(ftLastName), name}, {fieldOf(ftFirstName), name}});
        EXPECT_EQ(id.find(u'/'), id.npos);
        EXPECT_EQ(id.find(u'\\'), id.npos);
        EXPECT_EQ(id.find(u"escape"), id.npos);
        EXPECT_EQ(read(translator, id)[fieldOf(ftLastName)], name);
    }
    close(translator);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(subject().folder.path()))
        EXPECT_EQ(entry.path().string().find("escape"), std::string::npos) << entry.path();
}

} // namespace mbtest
