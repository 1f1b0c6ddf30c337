// The index returns the same sections as the XPath expressions, also on documents that the store did not write.
#include "store/StoreIndex.h"

#include "ExpressionStore.h"
#include "store/CBase64.h"
#include "store/StoreFile.h"
#include "TestFolder.h"
#include "text.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace mb {
namespace {

// A random document and random queries. Either the store could have written the document, or (foreign) another program.
class RandomStore {
public:
    RandomStore(unsigned seed, bool foreign) : random_(seed), foreign_(foreign) {}
    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }
    std::u16string word()
    {
        static constexpr const char16_t* words[] = {u"",    u"a",      u"A",        u"b",  u"o'hara", u"\"q\"",
                                                    u"<&>", u"\u00E9", u"SyncInfo", u" a", u"aa",     u"FieldMapChanged"};
        return words[below(std::size(words))];
    }
    std::u16string type()
    {
        static constexpr const char16_t* types[] = {u"Trans1", u"Trans2", u"trans1", u"Trans1o'x", u"Trans1\"x", u""};
        return types[below(std::size(types))];
    }
    std::string document()
    {
        std::string text = foreign_ && below(12) == 0 ? "<Other>" : "<Scs Version=\"4\">";
        const std::string root = text.substr(1, text[1] == 'O' ? 5 : 3);
        for (int n = below(8); n > 0; --n) text += section();
        return text + "</" + root + ">";
    }

    // A document in exactly the form that the store writes, but for an empty name, value or type here and there.
    std::string exactDocument()
    {
        std::string sections;
        std::set<std::pair<std::u16string, std::u16string>> present;
        for (int n = below(8); n > 0; --n) {
            const std::u16string type = plainType(), name = word();
            if (!present.emplace(type, name).second) continue;
            sections += "<Sc>" + exact("ST", platform::utf8(type)) + exact("SN", encodeBase64(name));
            for (int k = below(12) == 0 ? 60 : below(5); k > 0; --k)
                sections += "<Ky>" + exact("KN", encodeBase64(word())) + exact("KV", encodeBase64(word())) + "</Ky>";
            sections += "</Sc>";
        }
        return "<Scs Version=\"4\"" + (sections.empty() ? "/>" : ">" + sections + "</Scs>");
    }
    // The same, one byte off: a byte was left out, doubled, replaced or moved.
    std::string almostExactDocument()
    {
        static constexpr char bytes[] = "<>/&=\"' \n\r\tScKyNVT4a;-![]\x01\x7F\xE9";
        std::string text = exactDocument();
        const auto at = static_cast<std::size_t>(below(static_cast<int>(text.size())));
        const char byte = bytes[below(static_cast<int>(std::size(bytes) - 1))];
        switch (below(4)) {
        case 0: return text.erase(at, 1);
        case 1: return text.insert(at, 1, byte);
        case 2: text[at] = byte; return text;
        default: std::swap(text[at], text[(at + 1) % text.size()]); return text;
        }
    }

private:
    std::u16string plainType()
    {
        static constexpr const char16_t* types[] = {u"Trans1", u"Trans2", u"trans1", u""};
        return types[below(std::size(types))];
    }
    std::string exact(const std::string& name, const std::string& text)
    {
        if (text.empty() && below(2) == 0) return "<" + name + "/>";
        return "<" + name + ">" + text + "</" + name + ">";
    }
    bool odd() { return foreign_ && below(5) == 0; }
    static std::string escaped(const std::u16string& raw)
    {
        std::string out;
        for (const char c : platform::utf8(raw)) out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : std::string(1, c);
        return out;
    }
    std::string element(const char* name, const std::string& text)
    {
        std::string inside = text;
        if (odd()) inside = "<!-- c -->" + text + (below(2) ? "<x/>" : "");
        if (odd() && text.size() > 1) inside = text.substr(0, 1) + "<y><![CDATA[" + text.substr(1) + "]]></y>";
        return std::string("<") + name + ">" + inside + "</" + name + ">" + (below(6) == 0 ? "\n " : "");
    }
    std::string typeElement() { return element("ST", escaped(EscapeTypeName(type(), true))); }
    std::string name(const char* kind) { return element(kind, encodeBase64(word())); }
    std::string entry()
    {
        std::string text;
        for (int n = odd() ? below(4) : 1; n > 0; --n) text += name("KN");
        if (odd()) text += "<KX>YQ==</KX>";
        for (int n = odd() ? below(4) : 1; n > 0; --n) text += name("KV");
        return "<Ky>" + text + "</Ky>";
    }
    std::string section()
    {
        std::string text;
        if (odd()) text += entry();
        for (int n = odd() ? below(8) : 1; n > 0; --n) text += typeElement();
        for (int n = odd() ? below(8) : 1; n > 0; --n) text += name("SN");
        for (int n = below(12) == 0 ? 60 : below(5); n > 0; --n) text += entry();
        if (odd()) text = "<Sc>" + text + "</Sc>";
        return (odd() ? "<!-- x --><Sy/>" : "") + ("<Sc>" + text + "</Sc>");
    }
    std::mt19937 random_;
    bool foreign_;
};

platform::XmlDocument loaded(std::string bytes)
{
    platform::XmlDocument document;
    EXPECT_TRUE(document.load(std::move(bytes)));
    return document;
}

// Normalises the spelling of empty elements.
std::string rewritten(const std::string& bytes) { return loaded(bytes).bytes(); }

// Runs the same operations on the store and on the reference implementation.
class Pair {
public:
    Pair(const std::filesystem::path& file, const std::string& bytes) : measure(bytes), file_(file)
    {
        EXPECT_EQ(store.Open(file, false), S_OK);
        EXPECT_TRUE(store.isOpen()) << bytes;
    }
    void expectSameAnswers(RandomStore& random)
    {
        const std::u16string type = random.type(), section = random.word(), key = random.word(), value = random.word();
        std::u16string fast, slow;
        EXPECT_EQ(store.ReadValue(type, section, key, fast), measure.ReadValue(type, section, key, slow));
        EXPECT_EQ(fast, slow);
        EXPECT_EQ(store.hasEncodedKey(encodedType(type), encodeBase64(section), encodeBase64(key)),
                  measure.ReadValue(type, section, key, slow) == S_OK);
        std::vector<std::u16string> list;
        EXPECT_EQ(store.ListSections(type, list), S_OK);
        EXPECT_EQ(list, measure.ListSections(type));
        EXPECT_EQ(store.ListKeys(type, section, list), S_OK);
        EXPECT_EQ(list, measure.ListKeys(type, section));
        EXPECT_EQ(store.ListValues(type, section, key, list), S_OK);
        EXPECT_EQ(list, measure.ListValues(type, section, key));
        VARIANT_BOOL has = VARIANT_FALSE;
        (void)store.KeyHasValue(type, section, key, value, has);
        EXPECT_EQ(has != VARIANT_FALSE, measure.KeyHasValue(type, section, key, value));
        list.clear();
        store.listRowsHaving(type, key, value, {}, [&](const StoreContent::Row& row) { list.push_back(decodedText(row.name)); });
        EXPECT_EQ(list, measure.sectionsWithValue(type, key, value));
    }
    void change(RandomStore& random)
    {
        const std::u16string type = random.type(), section = random.word(), key = random.word(), value = random.word();
        switch (random.below(12)) {
        case 0:
            EXPECT_EQ(store.RemoveSection(type, section, false), S_OK);
            measure.RemoveSection(type, section);
            break;
        case 1:
        case 2: EXPECT_EQ(store.RenameSection(type, section, value, false), measure.RenameSection(type, section, value)); break;
        case 3:
            EXPECT_EQ(store.RemoveKey(type, section, key), S_OK);
            measure.RemoveKey(type, section, key);
            break;
        case 4:
            if (random.below(6) != 0) break;
            EXPECT_EQ(store.RemoveType(type), S_OK);
            measure.RemoveType(type);
            break;
        case 5:
            EXPECT_EQ(store.SetFlagInAllSections(type, random.below(2), false), S_OK);
            measure.SetFlagInAllSections(type, valueOfFlag(type));
            break;
        case 6:
        case 7: {
            const std::u16string otherKey = random.word(), otherValue = random.word();
            // Under another root no section is found again, so each single write adds a section.
            if (otherKey == key || !measure.document.root().isNamed("Scs")) break;
            const bool append = random.below(3) == 0;
            const std::string encodedKey = encodeBase64(key), encodedOther = encodeBase64(otherKey);
            const HRESULT first = measure.WriteValue(type, section, key, value, append),
                          second = measure.WriteValue(type, section, otherKey, otherValue, append);
            EXPECT_EQ(store.WriteValues(type, section, {{encodedKey, value}, {encodedOther, otherValue}}, append, false),
                      FAILED(first) ? first : second);
            break;
        }
        default:
            const bool append = random.below(3) == 0;
            EXPECT_EQ(store.WriteValue(type, section, key, value, append, false), measure.WriteValue(type, section, key, value, append));
        }
    }
    void expectSameDocument(const mbtest::TestFolder& folder)
    {
        EXPECT_EQ(store.Save(), S_OK);
        EXPECT_EQ(rewritten(folder.read(file_)), rewritten(measure.document.bytes()));
    }
    StoreFile store;
    mbtest::ExpressionStore measure;

private:
    // The value of the flag after the store has set it, read from any section of the type.
    LONG valueOfFlag(const std::u16string& type)
    {
        const std::string key = encodeBase64(u"FieldMapChanged");
        const std::array<std::string_view, 1> keys{key};
        std::optional<LONG> flag;
        store.listRows(type, keys, [&](const StoreContent::Row& row) {
            if (flag || sameEncodedName(row.name, encodeBase64(u"SyncInfo"))) return;
            flag = row.values[0] && decodedText(*row.values[0]) == u"1" ? 1 : 0;
        });
        return flag.value_or(0);
    }
    std::filesystem::path file_;
};

enum class Form { Exact, AlmostExact, OfTheStore, Foreign };

std::string documentOf(RandomStore& random, Form form)
{
    switch (form) {
    case Form::Exact: return random.exactDocument();
    case Form::AlmostExact: return random.almostExactDocument();
    default: return random.document();
    }
}

void runRandomly(Form form, unsigned seeds)
{
    const mbtest::TestFolder folder;
    const auto file = folder.path() / "store.xml";
    for (unsigned seed = 1; seed <= seeds && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        RandomStore random(seed, form == Form::Foreign);
        const std::string bytes = documentOf(random, form);
        SCOPED_TRACE(bytes);
        folder.write("store.xml", bytes);
        platform::XmlDocument document;
        const bool readable = document.load(std::string(bytes));
        if (!readable || document.root().attribute("Version").value_or("4") > "4") {
            StoreFile store;
            EXPECT_NE(store.Open(file, false), S_OK) << "no document, or one of a later version";
            EXPECT_FALSE(store.isOpen());
            continue;
        }
        Pair pair(file, bytes);
        for (int step = 0; step < 20 && !testing::Test::HasFailure(); ++step) {
            for (int i = 0; i < 5; ++i) pair.expectSameAnswers(random);
            pair.change(random);
        }
        pair.expectSameDocument(folder);
    }
}

} // namespace

TEST(StoreIndex, AnswersLikeTheExpressionsOnDocumentsOfTheStore) { runRandomly(Form::OfTheStore, 60); }

TEST(StoreIndex, AnswersLikeTheExpressionsOnDocumentsInExactlyTheFormOfTheStore) { runRandomly(Form::Exact, 120); }

TEST(StoreIndex, AnswersLikeTheExpressionsOnDocumentsOneByteOffThatForm) { runRandomly(Form::AlmostExact, 400); }

TEST(StoreIndex, AnswersLikeTheExpressionsOnDocumentsOfOtherPrograms) { runRandomly(Form::Foreign, 120); }

TEST(StoreIndex, SectionsOfOneNameStayInDocumentOrderAfterRenames)
{
    const auto document = loaded("<Scs><Sc><ST>T</ST><SN>YQ==</SN></Sc><Sc><ST>T</ST><SN>Yg==</SN></Sc></Scs>");
    const auto first = document.root().firstChild(), second = first.nextSibling();
    StoreIndex index;
    index.build(document.root());
    const auto place = index.remove(first);
    EXPECT_FALSE(index.first("T", "YQ=="));
    first.firstChild("SN").setText("Yg==");
    index.restore(first, place);
    EXPECT_EQ(index.first("T", "Yg=="), first) << "the first of two in document order";
    EXPECT_EQ(index.all("T", "Yg=="), (std::vector{first, second}));
}

TEST(StoreIndex, ASectionWithManyNamesIsFoundByEach)
{
    std::string names;
    for (char c = 'a'; c < 'k'; ++c) names += std::string("<SN>") + c + "</SN>";
    const auto document = loaded("<Scs><Sc><ST>T</ST><SN>c</SN></Sc><Sc><ST>T</ST>" + names + "</Sc></Scs>");
    const auto plain = document.root().firstChild(), many = plain.nextSibling();
    StoreIndex index;
    index.build(document.root());
    EXPECT_EQ(index.all("T", "c"), (std::vector{plain, many}));
    EXPECT_EQ(index.first("T", "j"), many);
    (void)index.remove(many);
    EXPECT_FALSE(index.first("T", "j"));
}

TEST(StoreIndex, FindsNothingUnderAnotherRoot)
{
    const auto document = loaded("<Other><Sc><ST>T</ST><SN>YQ==</SN></Sc></Other>");
    StoreIndex index;
    index.build(document.root());
    EXPECT_FALSE(index.first("T", "YQ=="));
    EXPECT_TRUE(index.all("T", "YQ==").empty());
}

TEST(StoreIndex, GrowsWithItsSections)
{
    platform::XmlDocument document;
    const auto root = document.create("Scs");
    StoreIndex index;
    index.build(root);
    std::vector<platform::XmlElement> sections;
    for (int i = 0; i < 2000; ++i) {
        const auto section = root.appendChild("Sc");
        section.appendChild("ST").setText("T");
        section.appendChild("SN").setText(std::to_string(i));
        index.append(section, "T", std::to_string(i));
        sections.push_back(section);
    }
    for (int i = 0; i < 2000; ++i) ASSERT_EQ(index.first("T", std::to_string(i)), sections[static_cast<std::size_t>(i)]) << i;
}

} // namespace mb
