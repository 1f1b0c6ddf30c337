#include "xml.h"
#include "xml_guard.h"

#include <gtest/gtest.h>

namespace {

using platform::XmlDocument;
using platform::XmlElement;

XmlDocument loaded(std::string bytes)
{
    XmlDocument document;
    EXPECT_TRUE(document.load(std::move(bytes)));
    return document;
}

std::string nested(std::size_t depth)
{
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) text += "<a>";
    for (std::size_t i = 0; i < depth; ++i) text += "</a>";
    return text;
}

} // namespace

TEST(Xml, AnElementsTextIncludesItsDescendants)
{
    const auto document = loaded("<r>a<b>b<c>c</c></b>d<![CDATA[<e>]]></r>");
    EXPECT_EQ(document.root().text(), "abcd<e>");
}

TEST(Xml, CharacterReferencesAreRead) { EXPECT_EQ(loaded("<r>&lt;&#x41;&#233;&amp;</r>").root().text(), "<A\xC3\xA9&"); }

TEST(Xml, WhiteSpaceAndCommentsSurviveALoadAndASave)
{
    const std::string text = "<r>\n  <a x=\"1\">b</a>\n  <!-- a remark -->\n</r>";
    EXPECT_EQ(loaded(text).bytes(), text);
}

TEST(Xml, Utf16WithAByteOrderMarkIsRead)
{
    const std::u16string text = u"\uFEFF<r>\u00E9</r>";
    EXPECT_EQ(loaded(std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2)).root().text(), "\xC3\xA9");
}

TEST(Xml, AUtf8ByteOrderMarkIsSkipped) { EXPECT_EQ(loaded("\xEF\xBB\xBF<r>x</r>").root().text(), "x"); }

TEST(Xml, AnInvalidDocumentDoesNotLoad)
{
    for (const char* bad : {"", "   ", "text", "<r>", "<r></s>", "<r/><r/>", "<r/>text", "<r a=1/>", "<!DOCTYPE r><r/>",
                            "<!DOCTYPE r [<!ENTITY a \"b\">]><r>&a;</r>"}) {
        XmlDocument document;
        EXPECT_FALSE(document.load(bad)) << bad;
        EXPECT_FALSE(document.root()) << bad;
    }
}

TEST(Xml, NestingDeeperThanTheLimitDoesNotLoad)
{
    XmlDocument document;
    EXPECT_TRUE(document.load(nested(platform::deepestXml)));
    EXPECT_FALSE(document.load(nested(platform::deepestXml + 1)));
    EXPECT_FALSE(document.load(nested(1000000)));
}

TEST(Xml, MarkupInCommentsAndAttributesIsNotNesting)
{
    EXPECT_TRUE(platform::isHarmlessXml("<r a=\"<<<\"><!-- <a><a><!DOCTYPE --><![CDATA[<!DOCTYPE]]></r>"));
}

TEST(Xml, ATextIsReplacedWhateverItsForm)
{
    auto document = loaded("<r><a>1</a><b/><c>x<d/>y</c></r>");
    for (XmlElement e = document.root().firstChild(); e; e = e.nextSibling()) e.setText("n<w");
    EXPECT_EQ(document.bytes(), "<r><a>n&lt;w</a><b>n&lt;w</b><c>n&lt;w</c></r>");
}

TEST(Xml, SelectionReturnsElementsInDocumentOrder)
{
    auto document = loaded("<r><a k=\"2\"/><b><a/></b><a/></r>");
    EXPECT_EQ(document.select("//a").size(), 3u);
    EXPECT_EQ(document.selectFirst("r/a").attribute("k"), "2");
    EXPECT_TRUE(document.select("///").empty()) << "an invalid expression selects nothing";
    EXPECT_FALSE(document.selectFirst("r/none"));
}

TEST(Xml, ElementsAreAppendedAndRemoved)
{
    XmlDocument document;
    const XmlElement root = document.create("r");
    const XmlElement a = root.appendChild("a"), b = root.appendChild("b");
    b.setAttribute("k", "\"1\"");
    EXPECT_EQ(document.bytes(), "<r><a/><b k=\"&quot;1&quot;\"/></r>");
    root.removeChild(a);
    EXPECT_EQ(root.firstChild(), b);
    EXPECT_EQ(b.parent(), root);
    EXPECT_FALSE(root.parent());
}
