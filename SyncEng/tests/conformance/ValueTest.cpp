#include "ConformanceTest.h"

#include <algorithm>
#include <set>

namespace mbtest {
namespace {

struct Sample {
    const char* name;
    std::u16string text;
};

const std::vector<Sample>& alphabets()
{
    static const std::vector<Sample> all{{"Latin", u"Gr\u00FC\u00DFe \u00E0 la \u0141\u00F3d\u017A"},
                                         {"Greek", u"\u0391\u03B8\u03AE\u03BD\u03B1"},
                                         {"Cyrillic", u"\u041C\u043E\u0441\u043A\u0432\u0430"},
                                         {"Hebrew", u"\u05D9\u05E8\u05D5\u05E9\u05DC\u05D9\u05DD"},
                                         {"Arabic", u"\u0627\u0644\u0642\u0627\u0647\u0631\u0629"},
                                         {"Devanagari", u"\u0928\u0908 \u0926\u093F\u0932\u094D\u0932\u0940"},
                                         {"Thai", u"\u0E01\u0E23\u0E38\u0E07\u0E40\u0E17\u0E1E"},
                                         {"Chinese", u"\u5317\u4EAC\u5E02"},
                                         {"Japanese", u"\u6771\u4EAC\u30C8\u30A6\u30AD\u30E7\u30A6"},
                                         {"Korean", u"\uC11C\uC6B8\uD2B9\uBCC4\uC2DC"},
                                         {"Emoji", u"x\U0001F600\U0001F468\u200D\U0001F469y"},
                                         {"Composed", u"e\u0301 \u00E9 \uFB01"},
                                         {"Punctuation", u"a;b,c\\d:e=f\"g'h<i>&j%k#l|m^n~o`p@q{r}s[t]"},
                                         {"Markup", u"]]><a b=\"c\">&amp;</a><![CDATA[x"},
                                         {"Escapes", u"back\\nslash \\, \\; \\\\ =0D=0A =3D quoted"},
                                         {"Query", u"Robert'); DROP TABLE card;--"}};
    return all;
}

// Values that a store may normalise. The normalised value must not change when it is written again.
const std::vector<Sample>& oddities()
{
    using namespace std::string_literals;
    static const std::vector<Sample> all{{"leading and trailing blanks", u"  x  "},
                                         {"line break", u"one\r\ntwo"},
                                         {"single line feed", u"one\ntwo\n"},
                                         {"single carriage return", u"one\rtwo"},
                                         {"tabulator", u"a\tb"},
                                         {"control characters", u"a\x01\x02\x1F\x7F"
                                                                u"b"},
                                         {"zero character", u"a\0b"s},
                                         {"lone surrogates", u"a\xD800"
                                                             u"b\xDC00"},
                                         {"not a character", u"a\xFFFE\xFFFFz"},
                                         {"byte order mark", u"\xFEFFz"},
                                         {"line separator", u"a\x2028z\x2029"},
                                         {"blanks alone", u"   "},
                                         {"separators alone", u";;;,,,"},
                                         {"a card inside", u"x\r\nEND:VCARD\r\nBEGIN:VCARD\r\nN:y"},
                                         {"a number", u"007"},
                                         {"a date", u"1815-12-10"}};
    return all;
}

// Whether the field holds free text: many stores restrict the texts of the other fields.
bool isFree(const ListedField& field)
{
    constexpr LONG formed[] = {ftCategories, ftGender, ftRecordStatus, ftPrivateStatus, ftRemindBirthDay, ftRemindDays, ftDetails, ftKind};
    return std::ranges::find(formed, field.type) == std::end(formed);
}

} // namespace

TEST_P(Conformance, EveryTextFieldKeepsEveryAlphabet)
{
    Translator translator = open();
    std::map<std::u16string, std::pair<const Sample*, Values>> written;
    begin(translator);
    for (const Sample& sample : alphabets()) {
        Values values;
        for (const std::size_t i : textFields())
            if (isFree(fields_[i])) values[i] = sample.text + u" " + std::u16string(1, static_cast<char16_t>(u'A' + i % 26));
        const std::u16string id = add(translator, values);
        written[id] = {&sample, values};
    }
    end(translator);
    for (int turn = 0; turn < 2; ++turn) {
        for (const auto& [id, expected] : written) {
            const Values held = read(translator, id);
            for (const auto& [field, text] : expected.second) {
                const auto at = held.find(field);
                EXPECT_EQ(at == held.end() ? u"" : at->second, text) << expected.first->name << " in field " << fields_[field].type;
            }
        }
        close(translator);
        translator = open();
    }
    close(translator);
}

TEST_P(Conformance, AChangedFieldLeavesTheOthersAlone)
{
    Translator translator = open();
    Values expected;
    for (const std::size_t i : textFields())
        if (isFree(fields_[i])) expected[i] = u"before " + std::u16string(1, static_cast<char16_t>(u'A' + i % 26));
    std::u16string id = addAlone(translator, expected);
    const auto check = [&](std::size_t changed) {
        const Values held = read(translator, id);
        for (const auto& [field, text] : expected) {
            const auto at = held.find(field);
            EXPECT_EQ(at == held.end() ? u"" : at->second, text)
                << "field " << fields_[field].type << " after a change of " << fields_[changed].type;
        }
    };
    std::vector<std::size_t> order;
    for (const auto& [field, text] : expected) order.push_back(field);
    for (const std::size_t changed : order) {
        expected[changed] = u"after";
        id = editAlone(translator, id, {{changed, u"after"}});
        check(changed);
        expected[changed] = u"";
        id = editAlone(translator, id, {{changed, u""}});
        check(changed);
        expected[changed] = u"again";
        id = editAlone(translator, id, {{changed, u"again"}});
        check(changed);
    }
    close(translator);
}

TEST_P(Conformance, AnOddValueIsStableOnceItIsNormalised)
{
    Translator translator = open();
    for (const std::size_t field : textFields()) {
        for (const Sample& odd : oddities()) {
            const std::string where = std::string(odd.name) + " in field " + std::to_string(fields_[field].type);
            begin(translator);
            std::u16string id = add(translator, {{fieldOf(ftLastName), u"Lovelace"}, {field, odd.text}});
            const Values held = read(translator, id);
            id = edit(translator, id, held);
            EXPECT_EQ(read(translator, id), held) << where;
            end(translator);
        }
    }
    std::map<std::u16string, Values> all;
    for (const std::u16string& id : ids(translator)) all[id] = read(translator, id);
    EXPECT_EQ(all.size(), textFields().size() * oddities().size());
    close(translator);
    translator = open();
    EXPECT_EQ(ids(translator).size(), all.size());
    for (const auto& [id, values] : all) EXPECT_EQ(read(translator, id), values);
    close(translator);
}

TEST_P(Conformance, DetailsKeepTheirLinesBesideTheFields)
{
    const auto details = std::ranges::find(fields_, LONG{ftDetails}, &ListedField::type);
    if (details == fields_.end()) return; // not every store keeps more than its fields
    const auto field = static_cast<std::size_t>(details - fields_.begin());
    const auto linesOf = [](const std::u16string& text) {
        std::set<std::u16string> lines;
        for (std::size_t at = 0, end; at < text.size(); at = end + 1) {
            end = std::min(text.find(u'\n', at), text.size());
            const std::u16string line = text.substr(at, end - at);
            if (!line.starts_with(u"UID:") && !line.starts_with(u"VERSION:")) lines.insert(line);
        }
        return lines;
    };
    Translator translator = open();
    std::u16string id = addAlone(translator, {{fieldOf(ftNotes), u"note"}, {field, u"X-ONE:1\nX-TWO:\u4E2D\\, 2"}});
    Values held = read(translator, id);
    EXPECT_EQ(linesOf(held[field]), linesOf(u"X-ONE:1\nX-TWO:\u4E2D\\, 2"));
    EXPECT_EQ(held[fieldOf(ftNotes)], u"note");
    id = editAlone(translator, id, {{field, u"X-TWO:\u4E2D\\, 2\nX-THREE:3"}});
    close(translator);
    translator = open();
    held = read(translator, id);
    EXPECT_EQ(linesOf(held[field]), linesOf(u"X-TWO:\u4E2D\\, 2\nX-THREE:3"));
    EXPECT_EQ(held[fieldOf(ftNotes)], u"note");
    id = editAlone(translator, id, {{field, u""}});
    EXPECT_TRUE(linesOf(read(translator, id)[field]).empty());
    close(translator);
}

TEST_P(Conformance, AnEmptyValueClearsAField)
{
    Translator translator = open();
    VARIANT nullText;
    VariantInit(&nullText);
    nullText.vt = VT_BSTR;
    nullText.bstrVal = nullptr;
    const VARIANT empties[] = {com::Variant(u"").detach(), com::Variant().detach(), nullText};
    for (const VARIANT& empty : empties) {
        for (const std::size_t field : textFields()) {
            if (!isFree(fields_[field])) continue;
            begin(translator);
            const std::u16string id = add(translator, {{fieldOf(ftNotes), u"note"}, {field, u"value"}});
            EXPECT_EQ(translator->BeginEditRecord(bstr(id).get()), S_OK);
            EXPECT_EQ(translator->WriteField(bstr(id).get(), fields_[field].guid, empty), S_OK);
            com::Bstr saved(id);
            EXPECT_EQ(translator->SaveRecord(saved.inOut()), S_OK);
            EXPECT_EQ(read(translator, saved.text()).count(field), 0u) << "field " << fields_[field].type << " kind " << empty.vt;
            EXPECT_EQ(translator->DeleteRecord(saved.get()), S_OK);
            end(translator);
        }
    }
    VariantClear(const_cast<VARIANT*>(&empties[0]));
    close(translator);
}

TEST_P(Conformance, ALongValueIsKeptWhole)
{
    std::u16string note;
    for (int i = 0; note.size() < 200'000; ++i) note += i % 7 == 0 ? u"line \u4E2D\u6587;\n" : u"word, \U0001F600 ";
    const std::u16string name(3000, u'\u00FC');
    Translator translator = open();
    Values values;
    for (const std::size_t i : textFields())
        if (isFree(fields_[i]) && (fields_[i].maxLength == 0 || fields_[i].maxLength == 0xFFFFFFFF)) values[i] = name;
    values[fieldOf(ftNotes)] = note;
    const std::u16string id = addAlone(translator, values);
    close(translator);
    translator = open();
    const Values held = read(translator, id);
    for (const auto& [field, text] : values) EXPECT_TRUE(held.contains(field) && held.at(field) == text) << "field " << fields_[field].type;
    close(translator);
}

TEST_P(Conformance, ARecordMayHaveNoValues)
{
    Translator translator = open();
    std::u16string id = addAlone(translator, {});
    EXPECT_EQ(ids(translator), std::vector{id});
    close(translator);
    translator = open();
    EXPECT_EQ(ids(translator), std::vector{id});
    (void)read(translator, id);
    id = editAlone(translator, id, {{fieldOf(ftNotes), u"now it has one"}});
    EXPECT_EQ(read(translator, id)[fieldOf(ftNotes)], u"now it has one");
    close(translator);
}

TEST_P(Conformance, AValueOfAnotherTypeIsRefusedOrConvertedToText)
{
    VARIANT number = com::Variant(LONG{42}).detach(), date = number, unknown = number;
    date.vt = VT_DATE;
    date.date = 1.5;
    unknown.vt = VT_UNKNOWN;
    unknown.punkVal = nullptr;
    Translator translator = open();
    std::u16string id = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    for (const VARIANT& value : {number, date, unknown}) {
        for (const ListedField& field : fields_) {
            if (field.type == ftLastName) continue;
            begin(translator);
            EXPECT_EQ(translator->BeginEditRecord(bstr(id).get()), S_OK);
            const HRESULT written = translator->WriteField(bstr(id).get(), field.guid, value);
            EXPECT_NE(written, E_UNEXPECTED) << "field " << field.type << " kind " << value.vt;
            com::Bstr saved(id);
            EXPECT_EQ(translator->SaveRecord(saved.inOut()), S_OK) << "field " << field.type << " kind " << value.vt;
            id = saved.text();
            end(translator);
        }
    }
    EXPECT_EQ(read(translator, id)[fieldOf(ftLastName)], u"Lovelace");
    close(translator);
}

} // namespace mbtest
