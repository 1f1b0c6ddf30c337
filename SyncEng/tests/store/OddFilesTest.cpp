// Store files that other programs wrote: unusual but valid XML, which the parsers of both platforms must read alike.
#include "store/StoreFile.h"

#include "TestFolder.h"

#include <gtest/gtest.h>

namespace mb {
namespace {

struct Odd {
    const char* name;
    std::string bytes;
};

std::string utf16(std::u16string_view text, bool bigEndian)
{
    std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char16_t c : text) {
        const char low = static_cast<char>(c & 0xFF), high = static_cast<char>(c >> 8);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

// Each file has the value "v1" in type T, section "s", key "k1", and "" in key "k2".
std::vector<Odd> oddFiles()
{
    const std::string plain = "<Scs Version=\"4\"><Sc><ST>T</ST><SN>cw==</SN><Ky><KN>azE=</KN><KV>djE=</KV></Ky>"
                              "<Ky><KN>azI=</KN><KV/></Ky></Sc></Scs>";
    const std::u16string plain16(plain.begin(), plain.end());
    return {
        {"Plain", plain},
        {"Utf8Mark", "\xEF\xBB\xBF" + plain},
        {"Utf16LittleEndian", utf16(plain16, false)},
        {"Utf16BigEndian", utf16(plain16, true)},
        {"Declaration", "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n" + plain + "\r\n"},
        {"Utf16Declaration", utf16(u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + plain16, false)},
        {"WhiteSpace", "<Scs Version=\"4\">\r\n\t<Sc>\n  <ST>T</ST>\n <SN>cw==</SN>\n <Ky>\n  <KN>azE=</KN>\n  <KV>djE=</KV>\n </Ky>\n"
                       " <Ky> <KN>azI=</KN> <KV></KV> </Ky>\n</Sc>\n</Scs>\n"},
        {"Comments", "<!-- a --><Scs Version=\"4\"><!-- b --><Sc><!-- c --><ST>T</ST><SN>cw==</SN><Ky><!-- <KN>x</KN> --><KN>azE=</KN>"
                     "<KV>djE=</KV></Ky><Ky><KN>azI=</KN><KV/></Ky></Sc></Scs><!-- d -->"},
        {"Instructions", "<?a b?><Scs Version=\"4\"><?c d?><Sc><ST>T</ST><SN>cw==</SN><Ky><?e?><KN>azE=</KN><KV>djE=</KV></Ky>"
                         "<Ky><KN>azI=</KN><KV/></Ky></Sc></Scs>"},
        {"CData", "<Scs Version=\"4\"><Sc><ST><![CDATA[T]]></ST><SN><![CDATA[cw==]]></SN><Ky><KN>a<![CDATA[zE]]>=</KN>"
                  "<KV><![CDATA[djE=]]></KV></Ky><Ky><KN>azI=</KN><KV/></Ky></Sc></Scs>"},
        {"CharacterReferences",
         "<Scs Version=\"&#52;\"><Sc><ST>&#84;</ST><SN>cw&#x3D;&#61;</SN><Ky><KN>&#x61;zE=</KN><KV>dj&#69;=</KV></Ky>"
         "<Ky><KN>azI=</KN><KV/></Ky></Sc></Scs>"},
        {"UnknownAttributes", "<Scs Version=\"4\" by='&quot;me&quot;' x:y=\"1\" xmlns:x=\"urn:x\"><Sc a=\"1\"><ST b='2'>T</ST><SN>cw==</SN>"
                              "<Ky c=''><KN>azE=</KN><KV d=\"&lt;\">djE=</KV></Ky><Ky><KN>azI=</KN><KV/></Ky></Sc></Scs>"},
        {"UnknownElements", "<Scs Version=\"4\"><Note>x</Note><Sc><Extra/><ST>T</ST><SN>cw==</SN><Ky><KN>azE=</KN><Kx>9</Kx><KV>djE=</KV>"
                            "</Ky><Ky><KN>azI=</KN><KV/></Ky></Sc></Scs>"},
    };
}

class OddFiles : public testing::TestWithParam<Odd> {
protected:
    std::u16string value(std::u16string_view key) const
    {
        std::u16string text;
        return SUCCEEDED(store.ReadValue(u"T", u"s", key, text)) ? text : u"<absent>";
    }
    mbtest::TestFolder folder;
    StoreFile store;
};

} // namespace

TEST_P(OddFiles, AreReadCorrectly)
{
    folder.write("store.xml", GetParam().bytes);
    ASSERT_EQ(store.Open(folder.path() / "store.xml", false), S_OK);
    EXPECT_EQ(value(u"k1"), u"v1");
    EXPECT_EQ(value(u"k2"), u"");
    LONG version = 0;
    EXPECT_EQ(store.GetVersion(version), S_OK);
    EXPECT_EQ(version, 4);
}

TEST_P(OddFiles, AnEditKeepsOtherValues)
{
    folder.write("store.xml", GetParam().bytes);
    ASSERT_EQ(store.Open(folder.path() / "store.xml", false), S_OK);
    ASSERT_EQ(store.WriteValue(u"T", u"s", u"k2", u"changed", false, true), S_OK);
    ASSERT_EQ(store.Open(folder.path() / "store.xml", false), S_OK);
    EXPECT_EQ(value(u"k1"), u"v1");
    EXPECT_EQ(value(u"k2"), u"changed");
}

INSTANTIATE_TEST_SUITE_P(Store, OddFiles, testing::ValuesIn(oddFiles()), [](const auto& odd) { return std::string(odd.param.name); });

} // namespace mb
