#include "LineReader.h"

#include "FileText.h"
#include "Line.h"
#include "Samples.h"

#include <gtest/gtest.h>

namespace mb::vcard {
namespace {

std::vector<std::string> linesOf(std::string_view text)
{
    std::vector<std::string> lines;
    LineReader reader(text);
    for (RawLine line; reader.next(line);) lines.emplace_back(line.bytes);
    return lines;
}

void expectError(std::string_view text, std::size_t line, std::string_view words)
{
    const ScanResult result = scanCards(text);
    ASSERT_TRUE(result.error) << text;
    EXPECT_EQ(result.error->line, line) << result.error->message;
    EXPECT_NE(result.error->message.find(words), std::string::npos) << result.error->message;
    EXPECT_TRUE(result.cards.empty());
}

using FilesOfCards = SampleTest;
INSTANTIATE_TEST_SUITE_P(Samples, FilesOfCards, eachSource, nameOf);

TEST_P(FilesOfCards, ConcatenatedLinesAreTheText)
{
    for (const auto& [name, bytes] : samples(GetParam())) {
        const auto file = openText(bytes);
        ASSERT_TRUE(file) << name;
        std::string joined;
        for (const std::string& line : linesOf(file->text)) joined += line;
        EXPECT_EQ(joined, file->text) << name;
    }
}

TEST(LineReader, JoinsFoldsSoftBreaksBase64AndBackslashes)
{
    EXPECT_EQ(linesOf("A:1\n 2\n\t3\nB:4\n").size(), 2u);
    EXPECT_EQ(linesOf("A;ENCODING=QUOTED-PRINTABLE:1=\r\n2=\r\n3\r\nB:4\r\n").size(), 2u);
    EXPECT_EQ(linesOf("A;QUOTED-PRINTABLE:1=\nB:=32\nC:4\n").size(), 2u);
    EXPECT_EQ(linesOf("A:1=\nB:2\n").size(), 2u) << "only quoted-printable has soft breaks";
    EXPECT_EQ(linesOf("PHOTO;BASE64:\nAAAA\nBBBB\n\nB:1\n").size(), 3u);
    EXPECT_EQ(linesOf("ADR:;;one\\\ntwo\\\nthree;c\nB:1\n").size(), 2u);
    EXPECT_EQ(linesOf("A;ENCODING=QUOTED-PRINTABLE:1=\nEND:VCARD\n").size(), 2u) << "a soft break does not join END";
    EXPECT_EQ(linesOf("A:1\r\r\nB:2\r\r\n").size(), 2u);
    EXPECT_EQ(linesOf("A:1\rB:2\r").size(), 2u);
}

TEST(LineReader, AnEscapedBackslashAtTheEndOfALineJoinsNothing)
{
    EXPECT_EQ(linesOf("NOTE:C:\\\\\nX-LONG;NAME=first\n second:1\n"),
              (std::vector<std::string>{"NOTE:C:\\\\\n", "X-LONG;NAME=first\n second:1\n"}));
    EXPECT_EQ(linesOf("NOTE:C:\\\n \\\nX-LONG;NAME=first\n second:1\n").size(), 2u) << "a fold splits the escaped backslash";
    EXPECT_EQ(linesOf("NOTE:C:\\\\\n \\\nmore\nB:1\n").size(), 2u) << "an escaped backslash and an unescaped one";
    EXPECT_EQ(linesOf("NOTE:C:\\\\\\\nmore\nB:1\n").size(), 2u);
}

TEST(LineReader, AFoldedHeaderAfterBase64IsANewLine)
{
    EXPECT_EQ(linesOf("KEY;ENCODING=b:AAAA\nX-LONG;NAME=first\n second:1\n").size(), 2u);
    EXPECT_EQ(linesOf("KEY;ENCODING=b:AAAA\nBBBB\nX-LONG;NAME=first\n second:1\n").size(), 2u);
    EXPECT_EQ(linesOf("KEY;ENCODING=b:AAAA\nXLO\n N\n G:1\n").size(), 2u) << "in front of the first parameter";
    EXPECT_EQ(linesOf("KEY;ENCODING=b:AAAA\nBBBB\n CCCC\nXLONG:1\n").size(), 2u) << "a line of base64 that is folded";
    EXPECT_EQ(linesOf("KEY;ENCODING=b:AAAA\nBBBB\n CCCC\n\n X:1\n").size(), 3u);
}

// LineReader and Line must agree on soft line breaks; otherwise a line added behind the value would become part of it.
TEST(LineReader, AgreesWithLineOnWhatIsQuotedPrintable)
{
    for (const char* header : {"NOTE;ENCODING=QUOTED-PRINTABLE", "NOTE;QUOTED-PRINTABLE", "NOTE;X-ENC=QUOTED-PRINTABLE",
                               "NOTE;ENCODING=\"QUOTED-PRINTABLE\"", "NOTE; ENCODING = quoted-printable", "NOTE; QUOTED-PRINTABLE",
                               "NOTE;X=\"a:b\";ENCODING=QUOTED-PRINTABLE", "NOTE;8BIT;QUOTED-PRINTABLE", "NOTE;TYPE=QUOTED-PRINTABLE",
                               "NOTE;ENCODING=QUOTED-\r\n PRINTABLE", "NOTE;X=\"a;QUOTED-PRINTABLE;b\"", "X-NOTE"}) {
        const std::string first = std::string(header) + ":1=\r\n";
        const std::size_t own = linesOf(first + "X-NEXT:2\r\n").size();
        for (const Version version : {Version::V21, Version::V30}) EXPECT_EQ(Line::parse(first, version).openEnded(), own == 1) << header;
    }
    EXPECT_TRUE(Line::parse("NOTE;ENCODING=\"quoted-printable\":1=\r\n", Version::V30).openEnded());
    EXPECT_FALSE(Line::parse("NOTE;X-ENC=QUOTED-PRINTABLE:1=\r\n", Version::V30).openEnded());
}

TEST(LineReader, SplitsFilesIntoCards)
{
    const ScanResult two = scanCards("BEGIN:VCARD\nN:1\nEND:VCARD\n\nbegin:vcard\nN:2\nend:vCard");
    ASSERT_FALSE(two.error);
    ASSERT_EQ(two.cards.size(), 2u);
    EXPECT_EQ(two.cards[1].line, 5u);
    const ScanResult nested = scanCards("BEGIN:VCARD\nAGENT:\nBEGIN:VCARD\nEND:VCARD\nEND:VCARD\n");
    ASSERT_FALSE(nested.error);
    EXPECT_EQ(nested.cards.size(), 1u);
}

TEST_P(FilesOfCards, CountsTheCards)
{
    const std::map<std::string, std::size_t> counts = GetParam() == Source::Ours
                                                          ? std::map<std::string, std::size_t>{{"telephone-book.vcf", 3},
                                                                                               {"person-and-group.vcf", 2},
                                                                                               {"nested.vcf", 1},
                                                                                               {"plain.vcf", 1},
                                                                                               {"empty.vcf", 0}}
                                                          : std::map<std::string, std::size_t>{{"ezvcard__John_Doe_ANDROID.vcf", 6},
                                                                                               {"fkvcards__LargeFile.vcf", 1000},
                                                                                               {"aosp__v21_nest.vcf", 1},
                                                                                               {"fkvcards__v3.vcf", 2},
                                                                                               {"fkvcards__Empty.vcf", 0}};
    const auto files = samples(GetParam());
    for (const auto& [name, count] : counts) EXPECT_TRUE(files.contains(name)) << name;
    for (const auto& [name, bytes] : files) {
        const ScanResult result = scanCards(openText(bytes)->text);
        const auto known = counts.find(name);
        if (known != counts.end()) { EXPECT_EQ(result.cards.size(), known->second) << name; }
        const bool isEmpty = known != counts.end() && known->second == 0;
        EXPECT_EQ(result.error.has_value(), isEmpty) << name << ": " << (result.error ? result.error->message : "");
    }
}

TEST(LineReader, ReportsTheLineOfAnError)
{
    expectError("", 1, "no card");
    expectError("\n\n", 1, "no card");
    expectError("hello\n", 1, "no card");
    expectError("hello\nFN:1\n", 2, "outside");
    expectError("BEGIN:VCARD\nN:1\n", 1, "no END");
    expectError("BEGIN:VCARD\nN:1\nEND:VCARD\nBEGIN:VCARD\nN:2\n", 4, "no END");
    expectError("END:VCARD\n", 1, "END:VCARD");
    expectError(std::string_view("BEGIN:VCARD\nN:\0\nEND:VCARD\n", 27), 2, "NUL");
}

TEST(LineReader, ReportsTheFirstLineThatIsNotAPropertyAndFindsTheCards)
{
    const auto expectNoProperty = [](std::string_view text, std::size_t line, std::size_t cards = 1) {
        const ScanResult result = scanCards(text);
        EXPECT_FALSE(result.error) << text << result.error->message;
        EXPECT_EQ(result.noProperty, line) << text;
        EXPECT_EQ(result.cards.size(), cards) << text;
    };
    expectNoProperty("BEGIN:VCARD\nN:1\nEND:VCARD\n", 0);
    expectNoProperty("BEGIN:VCARD\nN:1\n folded\nnonsense\nmore\nEND:VCARD\n", 4);
    expectNoProperty("BEGIN:VCARD\n:1\nEND:VCARD\n", 2);
    expectNoProperty("BEGIN:VCARD\n ;X=y:1\nEND:VCARD\n", 2);
    expectNoProperty("BEGIN:VCARD\n# TEL:1\n and more\nEND:VCARD\n", 2);
    expectNoProperty("BEGIN:VCARD\nITEM1.X-LONG;TYPE=a\n ;TYPE=b:1\nEND:VCARD\n", 0);
    expectNoProperty("# see http://example.org\nBEGIN:VCARD\nEND:VCARD\nthe rest\nBEGIN:VCARD\nEND:VCARD\n", 1, 2);
    expectNoProperty("BEGIN:VCARD\nEND:VCARD\n\n#\n", 4);
}

TEST(LineReader, RefusesAFileWhoseCardsHaveUncertainBounds)
{
    const std::string card = "BEGIN:VCARD\nN:1\nEND:VCARD\n";
    expectError("BEGIN VCARD\nN:1\nEND:VCARD\n", 2, "outside");
    expectError("#BEGIN:VCARD\n#N:1\nEND:VCARD\n", 3, "END:VCARD");
    expectError("BEGIN:VCARD\nN:1\nEND VCARD\n" + card, 1, "no END");
    for (std::size_t n = 1; n < std::string_view("BEGIN:VCARD").size(); ++n) { // a truncated file
        EXPECT_TRUE(scanCards(card + card.substr(0, n)).error) << n;
        EXPECT_TRUE(scanCards(card + std::string("begin:vcard").substr(0, n) + "\r\n").error) << n;
    }
}

TEST(LineReader, RefusesDeepNestingAndGiantLines)
{
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "BEGIN:VCARD\n";
    expectError(deep, 33, "deep");
    expectError("BEGIN:VCARD\nNOTE:" + std::string(kMaxLine, 'x') + "\nEND:VCARD\n", 2, "longer");
}

TEST_P(FilesOfCards, TruncatedFilesNeverCrash)
{
    for (const auto& [name, bytes] : samples(GetParam())) {
        const std::size_t step = bytes.size() / 200 + 1;
        for (std::size_t n = 0; n < bytes.size(); n += step)
            if (const auto file = openText(bytes.substr(0, n))) {
                const ScanResult result = scanCards(file->text);
                EXPECT_NE(result.error.has_value(), !result.cards.empty()) << name << " cut at " << n;
            }
    }
}

TEST_P(FilesOfCards, TheirTextKeepsEveryByte)
{
    for (const auto& [name, bytes] : samples(GetParam())) {
        const auto file = openText(bytes);
        ASSERT_TRUE(file) << name;
        EXPECT_EQ(closeText(*file, file->text), bytes) << name;
    }
}

TEST(FileText, KeepsUtf16WithoutAMarkByteForByte)
{
    const std::string noMark = utf16("BEGIN:VCARD", false).substr(2);
    EXPECT_EQ(openText(noMark)->text, "BEGIN:VCARD");
    EXPECT_EQ(closeText(*openText(noMark), "BEGIN:VCARD"), noMark);
    for (const char* begin : {"begin:vcard", "item1.BEGIN:VCARD", "# cards", "\r\nBEGIN:VCARD"})
        for (const bool big : {false, true}) {
            const std::string bytes = utf16(begin, big).substr(2);
            const auto file = openText(bytes);
            ASSERT_TRUE(file) << begin;
            EXPECT_EQ(file->text, begin);
            EXPECT_EQ(closeText(*file, file->text), bytes);
        }
}

TEST(FileText, RefusesBrokenUtf16)
{
    EXPECT_FALSE(openText(utf16("BEGIN:VCARD", false) + "x"));
    EXPECT_FALSE(openText(std::string("\xFF\xFE\x00\xD8", 4)));
    EXPECT_FALSE(openText(std::string("\xFE\xFF\xDC\x00", 4)));
}

} // namespace
} // namespace mb::vcard
