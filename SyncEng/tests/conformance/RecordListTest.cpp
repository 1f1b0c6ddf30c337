#include "ConformanceTest.h"

#include <algorithm>
#include <random>
#include <set>

namespace mbtest {
namespace {

std::u16string numbered(const char16_t* text, std::size_t n)
{
    const std::string digits = std::to_string(n);
    return text + std::u16string(digits.begin(), digits.end());
}

} // namespace

TEST_P(Conformance, TheListAndFindRecordAgree)
{
    Translator translator = open();
    std::vector<std::u16string> added;
    begin(translator);
    for (std::size_t n = 0; n < 60; ++n) added.push_back(add(translator, {{fieldOf(ftLastName), numbered(u"Name ", n)}}));
    end(translator);
    std::vector<std::u16string> listed = ids(translator);
    EXPECT_THAT(listed, testing::UnorderedElementsAreArray(added));
    for (const std::u16string& id : listed) EXPECT_EQ(translator->FindRecord(bstr(id).get()), S_OK);
    com::Bstr id;
    for (const LONG index : {LONG{-1}, static_cast<LONG>(listed.size()), LONG{INT32_MAX}, LONG{INT32_MIN}})
        EXPECT_TRUE(FAILED(translator->GetRecordID(index, id.put()))) << index;
    close(translator);
}

TEST_P(Conformance, ADeletedRecordIsGoneAndTheOthersStay)
{
    Translator translator = open();
    std::vector<std::u16string> left;
    begin(translator);
    for (std::size_t n = 0; n < 20; ++n) left.push_back(add(translator, {{fieldOf(ftLastName), numbered(u"Name ", n)}}));
    end(translator);
    std::mt19937 random(1);
    while (!left.empty()) {
        const std::size_t at = std::uniform_int_distribution<std::size_t>(0, left.size() - 1)(random);
        const std::u16string gone = left[at];
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(at));
        removeAlone(translator, gone);
        EXPECT_TRUE(FAILED(translator->FindRecord(bstr(gone).get())));
        EXPECT_TRUE(FAILED(translator->DeleteRecord(bstr(gone).get()))) << "twice";
        EXPECT_THAT(ids(translator), testing::UnorderedElementsAreArray(left));
    }
    close(translator);
    translator = open();
    EXPECT_TRUE(ids(translator).empty());
    close(translator);
}

TEST_P(Conformance, IdentifiersAndValuesStayAfterReopening)
{
    Translator translator = open();
    std::map<std::u16string, Values> kept;
    begin(translator);
    for (std::size_t n = 0; n < 10; ++n) {
        const Values values{{fieldOf(ftFirstName), numbered(u"First ", n)}, {fieldOf(ftLastName), numbered(u"Last ", n)}};
        const std::u16string id = add(translator, values);
        kept[id] = read(translator, id);
        for (const auto& [field, text] : values) EXPECT_EQ(kept[id][field], text);
    }
    end(translator);
    std::map<std::u16string, DATE> dates;
    for (const auto& [id, values] : kept) dates[id] = modified(translator, id);
    close(translator);
    for (int turn = 0; turn < 2; ++turn) {
        translator = open();
        EXPECT_EQ(ids(translator).size(), kept.size());
        for (const auto& [id, values] : kept) {
            EXPECT_EQ(read(translator, id), values);
            EXPECT_EQ(modified(translator, id), dates[id]) << "reading and reopening do not change the date";
        }
        close(translator);
    }
}

TEST_P(Conformance, EveryChangeOfARecordChangesItsDateAndNoOther)
{
    Translator translator = open();
    std::u16string id = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    const std::u16string other = addAlone(translator, {{fieldOf(ftLastName), u"Turing"}});
    const DATE ofOther = modified(translator, other);
    DATE last = modified(translator, id), made = 0;
    EXPECT_GT(last, 36526.0) << "after the year 2000";
    for (std::size_t n = 0; n < 12; ++n) { // faster than the resolution of a file's date
        id = editAlone(translator, id, {{fieldOf(ftFirstName), numbered(u"Ada ", n)}});
        const DATE now = modified(translator, id);
        EXPECT_GT(now, last) << "change " << n;
        last = now;
    }
    EXPECT_EQ(modified(translator, other), ofOther);
    EXPECT_EQ(translator->GetCreateDate(bstr(id).get(), &made), S_OK);
    EXPECT_LE(made, last);
    close(translator);
    translator = open();
    EXPECT_EQ(modified(translator, id), last);
    EXPECT_EQ(modified(translator, other), ofOther);
    close(translator);
}

TEST_P(Conformance, ASecondObjectSeesWhatTheFirstWrote)
{
    Translator writer = open();
    std::u16string kept = addAlone(writer, {{fieldOf(ftLastName), u"Lovelace"}});
    const std::u16string gone = addAlone(writer, {{fieldOf(ftLastName), u"Babbage"}});
    Translator reader = open();
    EXPECT_THAT(ids(reader), testing::UnorderedElementsAre(kept, gone));
    close(reader);
    kept = editAlone(writer, kept, {{fieldOf(ftLastName), u"Byron"}});
    removeAlone(writer, gone);
    reader = open();
    EXPECT_EQ(ids(reader), std::vector{kept});
    EXPECT_EQ(read(reader, kept)[fieldOf(ftLastName)], u"Byron");
    EXPECT_EQ(modified(reader, kept), modified(writer, kept));
    close(reader);
    close(writer);
}

TEST_P(Conformance, RecordsThatAreNotSavedAreNotStored)
{
    Translator translator = open();
    const std::u16string id = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    const DATE date = modified(translator, id);
    begin(translator);
    com::Bstr made;
    EXPECT_EQ(translator->BeginAddRecord(made.put()), S_OK);
    EXPECT_EQ(translator->WriteField(made.get(), fields_[fieldOf(ftLastName)].guid, com::Variant(u"Nobody")), S_OK);
    EXPECT_TRUE(FAILED(translator->FindRecord(made.get())));
    EXPECT_EQ(ids(translator), std::vector{id});
    EXPECT_EQ(translator->BeginEditRecord(bstr(id).get()), S_OK); // discards the new record
    EXPECT_EQ(translator->WriteField(bstr(id).get(), fields_[fieldOf(ftLastName)].guid, com::Variant(u"Nobody")), S_OK);
    EXPECT_EQ(translator->Cleanup(), S_OK); // without EndUpdate, as after a failure of the other side
    translator = open();
    EXPECT_EQ(ids(translator), std::vector{id});
    EXPECT_EQ(read(translator, id)[fieldOf(ftLastName)], u"Lovelace");
    EXPECT_EQ(modified(translator, id), date);
    close(translator);
}

TEST_P(Conformance, SavedRecordsStayWithoutEndUpdate)
{
    Translator translator = open();
    const std::u16string gone = addAlone(translator, {{fieldOf(ftLastName), u"Babbage"}});
    begin(translator);
    const std::u16string id = add(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    EXPECT_EQ(translator->DeleteRecord(bstr(gone).get()), S_OK);
    close(translator);
    translator = open();
    EXPECT_EQ(ids(translator), std::vector{id}) << "the history already contains the record";
    close(translator);
}

TEST_P(Conformance, AThousandRecordsGoThroughOneBatch)
{
    constexpr std::size_t many = 1000;
    Translator translator = open();
    std::vector<std::u16string> all;
    begin(translator);
    for (std::size_t n = 0; n < many; ++n)
        all.push_back(add(translator, {{fieldOf(ftFirstName), numbered(u"F", n)}, {fieldOf(ftLastName), numbered(u"L", n)}}));
    end(translator);
    begin(translator);
    for (std::size_t n = 0; n < many; n += 2) EXPECT_EQ(translator->DeleteRecord(bstr(all[n]).get()), S_OK);
    for (std::size_t n = 1; n < many; n += 4) all[n] = edit(translator, all[n], {{fieldOf(ftFirstName), u"changed"}});
    end(translator);
    close(translator);
    translator = open();
    EXPECT_EQ(ids(translator).size(), many / 2);
    for (std::size_t n = 1; n < many; n += 50) {
        const Values values = read(translator, all[n]);
        EXPECT_EQ(values.at(fieldOf(ftLastName)), numbered(u"L", n));
        EXPECT_EQ(values.at(fieldOf(ftFirstName)), n % 4 == 1 ? u"changed" : numbered(u"F", n));
    }
    close(translator);
}

} // namespace mbtest
