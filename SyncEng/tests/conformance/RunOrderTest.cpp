#include "ConformanceTest.h"

namespace mbtest {

// The calls on a translator in the order of a run.
TEST_P(Conformance, TheCallsOfARunInTheirOrder)
{
    const std::size_t first = fieldOf(ftFirstName), last = fieldOf(ftLastName);
    Translator translator = open();
    EXPECT_TRUE(ids(translator).empty());
    begin(translator);
    // A new record: its date is read only after its save.
    com::Bstr id;
    EXPECT_EQ(translator->BeginAddRecord(id.put()), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), fields_[first].guid, com::Variant(u"Ada")), S_OK);
    EXPECT_EQ(translator->WriteField(id.get(), fields_[last].guid, com::Variant(u"Lovelace")), S_OK);
    EXPECT_EQ(translator->SaveRecord(id.inOut()), S_OK);
    EXPECT_EQ(read(translator, id.text())[last], u"Lovelace") << "the record is read back inside of the batch";
    const DATE made = modified(translator, id.text());
    // A change: the target may be read before it is edited.
    EXPECT_EQ(read(translator, id.text())[first], u"Ada");
    std::u16string now = edit(translator, id.text(), {{first, u"Augusta"}});
    EXPECT_EQ(read(translator, now)[first], u"Augusta");
    EXPECT_EQ(read(translator, now)[last], u"Lovelace");
    EXPECT_GT(modified(translator, now), made);
    // A record that is only linked: an edit without a field.
    const Values before = read(translator, now);
    now = edit(translator, now, {});
    EXPECT_EQ(read(translator, now), before);
    const std::u16string second = add(translator, {{last, u"Babbage"}});
    EXPECT_EQ(translator->DeleteRecord(bstr(second).get()), S_OK);
    const DATE stamped = modified(translator, now);
    end(translator);
    EXPECT_EQ(modified(translator, now), stamped) << "the date of the history must outlive the end of the batch";
    close(translator);
    EXPECT_EQ(subject().violations(), std::vector<std::string>());
    translator = open();
    EXPECT_EQ(ids(translator), std::vector{now});
    EXPECT_EQ(modified(translator, now), stamped) << "otherwise the next run takes the engine's own write for a change";
    close(translator);
}

TEST_P(Conformance, OneRecordIsReadWhileAnotherIsWritten)
{
    const std::size_t last = fieldOf(ftLastName);
    Translator translator = open();
    const std::u16string source = addAlone(translator, {{last, u"Source"}});
    const std::u16string target = addAlone(translator, {{last, u"Target"}});
    begin(translator);
    const com::Bstr sourceKey(source);
    EXPECT_EQ(translator->BeginEditRecord(bstr(target).get()), S_OK);
    EXPECT_EQ(translator->BeginReadRecord(sourceKey.get()), S_OK);
    com::Variant value;
    EXPECT_EQ(translator->ReadField(sourceKey.get(), fields_[last].guid, value.put()), S_OK);
    EXPECT_EQ(value.text(), u"Source");
    EXPECT_EQ(translator->WriteField(bstr(target).get(), fields_[last].guid, value), S_OK);
    com::Bstr saved(target);
    EXPECT_EQ(translator->SaveRecord(saved.inOut()), S_OK);
    EXPECT_EQ(translator->EndReadRecord(sourceKey.get()), S_OK);
    end(translator);
    EXPECT_EQ(read(translator, saved.text())[last], u"Source");
    close(translator);
}

// A run that is cancelled before BeginUpdate still calls EndUpdate.
TEST_P(Conformance, EndingABatchThatWasNotBegunSucceeds)
{
    Translator translator = open();
    end(translator);
    const std::u16string id = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    end(translator);
    close(translator);
    translator = open();
    EXPECT_EQ(ids(translator), std::vector{id});
    close(translator);
}

TEST_P(Conformance, BatchesFollowEachOther)
{
    Translator translator = open();
    std::vector<std::u16string> added;
    for (int turn = 0; turn < 5; ++turn) {
        added.push_back(addAlone(translator, {{fieldOf(ftLastName), u"Same name"}}));
        begin(translator); // an empty batch
        end(translator);
    }
    EXPECT_THAT(ids(translator), testing::UnorderedElementsAreArray(added)) << "equal records are separate records";
    close(translator);
}

} // namespace mbtest
