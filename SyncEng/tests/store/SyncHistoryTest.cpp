#include "store/CSyncHistory.h"

#include "EventSinkFake.h"
#include "store/CBase64.h"
#include "TestFolder.h"
#include "text.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

namespace mb {
namespace {

constexpr GUID map{0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};

class SyncHistory : public testing::Test {
protected:
    SyncHistory() { EXPECT_EQ(history.Open(map), S_OK); }
    void link(const std::u16string& one, const std::u16string& two)
    {
        EXPECT_EQ(history.WriteEntry(u"Trans1", {one, 46000.5, two, false}), S_OK);
        EXPECT_EQ(history.WriteEntry(u"Trans2", {two, 46001.5, one, false}), S_OK);
    }
    std::vector<HistoryEntry> load(std::u16string_view side, bool validate = true)
    {
        std::vector<HistoryEntry> entries;
        EXPECT_EQ(history.LoadEntries(side, entries, false, validate), S_OK);
        return entries;
    }
    // The records in the saved file.
    std::vector<std::u16string> savedRecords(std::u16string_view side)
    {
        CSyncHistory saved(nullptr);
        EXPECT_EQ(saved.Open(map), S_OK);
        std::vector<std::u16string> ids;
        EXPECT_EQ(saved.ListRecords(side, ids), S_OK);
        return ids;
    }
    mbtest::TestFolder folder;
    CSyncHistory history{nullptr};
};

} // namespace

TEST_F(SyncHistory, TheFileIsNamedAfterTheMap)
{
    EXPECT_TRUE(std::filesystem::exists(folder.data() / "{11111111-2222-3333-4444-555555555555}.xml"));
    LONG version = 0;
    EXPECT_EQ(history.GetVersion(version), S_OK);
    EXPECT_EQ(version, 4);
}

TEST_F(SyncHistory, EntriesAreLoadedInFileOrder)
{
    link(u"b", u"2");
    link(u"a", u"1");
    const auto entries = load(u"Trans1");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].Id, u"b");
    EXPECT_EQ(entries[0].MappedId, u"2");
    EXPECT_EQ(entries[0].ModifiedTime, 46000.5);
    EXPECT_FALSE(entries[0].FieldMapChanged);
}

TEST_F(SyncHistory, ABrokenEntryIsDeletedAtTheNextLoadAndTheFileIsSaved)
{
    link(u"a", u"1");
    history.store().WriteDouble(u"Trans1", u"half", u"ModifiedTime", 1.0, false, true);
    EXPECT_EQ(load(u"Trans1").size(), 1u);
    CSyncHistory again(nullptr);
    ASSERT_EQ(again.Open(map), S_OK);
    std::vector<std::u16string> ids;
    EXPECT_EQ(again.ListRecords(u"Trans1", ids), S_OK);
    EXPECT_EQ(ids, (std::vector<std::u16string>{u"a"}));
}

TEST_F(SyncHistory, AnEntryWithoutItsPartnerIsDeletedOnlyOnRequest)
{
    link(u"a", u"1");
    link(u"b", u"2");
    EXPECT_EQ(history.DeleteEntry(u"Trans2", u"1", false), S_OK);
    EXPECT_EQ(load(u"Trans1", false).size(), 2u);
    EXPECT_EQ(load(u"Trans1", true).size(), 1u);
    EXPECT_EQ(load(u"Trans1", false).size(), 1u);
}

TEST_F(SyncHistory, WithoutARunNoDatabaseIsRecorded)
{
    std::u16string database = u"before";
    EXPECT_TRUE(FAILED(history.GetDatabase(u"Trans1", database)));
    EXPECT_EQ(database, u"");
    LONG status = 7;
    DATE time = 7;
    EXPECT_TRUE(FAILED(history.GetLastSyncStatus(u"Trans1", status)));
    EXPECT_TRUE(FAILED(history.GetLastSyncTime(u"Trans1", time)));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(time, 0.0);
}

TEST_F(SyncHistory, AnyTextThatDoesNotBeginWithTrans1MeansSideTwo)
{
    EXPECT_EQ(history.SetDatabase(u"tRANS1 and more", u"one"), S_OK);
    EXPECT_EQ(history.SetDatabase(u"whatever", u"two"), S_OK);
    std::u16string database;
    EXPECT_EQ(history.GetDatabase(u"Trans1", database), S_OK);
    EXPECT_EQ(database, u"one");
    EXPECT_EQ(history.GetDatabase(u"Trans2", database), S_OK);
    EXPECT_EQ(database, u"two");
}

TEST_F(SyncHistory, ASuffixWithAnEmptyTextIsIgnored)
{
    history.SetSectionSuffix(u"", u"B");
    EXPECT_EQ(history.SectionFor(u"Trans1"), u"Trans1");
    history.SetSectionSuffix(u"C:\\A", u"B");
    EXPECT_EQ(history.SectionFor(u"Trans1"), u"Trans1c:\\ab");
    EXPECT_EQ(history.SectionFor(u"Trans2"), u"Trans2c:\\ab");
    link(u"a", u"1");
    EXPECT_EQ(load(u"Trans1").size(), 1u) << "the partner is looked up under the same suffix";
}

TEST_F(SyncHistory, FieldDataRoundTripsInAscendingOrderOfType)
{
    FieldValueMap fields;
    fields[ftPhone] = u"1";
    fields[ftFirstName] = u"Ada\r\n'\"";
    fields[3001] = u"";
    EXPECT_EQ(history.WriteFieldData(u"Trans1", u"a", fields, false, false), S_OK);
    std::u16string text;
    EXPECT_EQ(history.store().ReadValue(u"Trans1", u"a", u"FieldData", text), S_OK);
    EXPECT_EQ(text, u"2\u0003\u0006Ada\r\n'\"\u0003\u000620\u0003\u00061\u0003\u00063001\u0003\u0006\u0003\u0006");
    FieldValueMap read;
    EXPECT_EQ(history.ReadFieldData(u"Trans1", u"a", read), S_OK);
    EXPECT_EQ(read, fields);
}

TEST_F(SyncHistory, EmptyFieldDataIsTheEmptyText)
{
    EXPECT_EQ(history.WriteFieldData(u"Trans1", u"a", {}, false, false), S_OK);
    FieldValueMap read;
    read[1] = u"before";
    EXPECT_EQ(history.ReadFieldData(u"Trans1", u"a", read), S_OK);
    EXPECT_TRUE(read.empty());
}

TEST_F(SyncHistory, FieldsBeforeAnErrorInFieldDataAreKept)
{
    const FieldValueMap read = parseFieldData(u"2\u0003\u0006Ada\u0003\u0006x\u0003\u0006?\u0003\u00064\u0003\u0006B\u0003\u0006");
    EXPECT_EQ(read.size(), 1u);
    EXPECT_TRUE(parseFieldData(u"2\u0003\u0006never closed").empty());
    EXPECT_EQ(parseFieldData(u"2\u0003\u0006a\u0003\u00062\u0003\u0006b\u0003\u0006").find(2)->second, u"b")
        << "a later value replaces an earlier one";
}

TEST_F(SyncHistory, EntriesAreFoundByStatus)
{
    link(u"a", u"1");
    link(u"b", u"2");
    FieldValueMap fields;
    fields[ftRecordStatus] = u"-6";
    history.WriteFieldData(u"Trans1", u"b", fields, false, false);
    std::vector<HistoryEntry> entries;
    EXPECT_EQ(history.LoadEntriesWithStatus(u"Trans1", -6, entries, true), S_OK);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].Id, u"b");
}

TEST_F(SyncHistory, AFileOfVersionOneGivesAllEntriesWhateverTheirStatus)
{
    link(u"a", u"1");
    history.SetVersion(1);
    CSyncHistory old(nullptr);
    ASSERT_EQ(old.Open(map), S_OK);
    std::vector<HistoryEntry> entries;
    EXPECT_EQ(old.LoadEntriesWithStatus(u"Trans1", -6, entries, true), S_OK);
    EXPECT_EQ(entries.size(), 1u);
}

TEST_F(SyncHistory, AClearedHistoryHasTheCurrentVersion)
{
    history.SetVersion(2);
    CSyncHistory old(nullptr);
    ASSERT_EQ(old.Open(map), S_OK);
    EXPECT_EQ(old.Clear(), S_OK);
    LONG version = 0;
    EXPECT_EQ(old.GetVersion(version), S_OK);
    EXPECT_EQ(version, 4);
}

TEST_F(SyncHistory, FieldMapChangedIsReadWithTheEntryOnlyOnRequest)
{
    link(u"a", u"1");
    EXPECT_EQ(history.SetFieldMapChanged(u"Trans1", {u"a", 0, {}, false}, true, false, false), S_OK);
    HistoryEntry entry;
    entry.Id = u"a";
    EXPECT_EQ(history.ReadEntry(u"Trans1", entry, false), S_OK);
    EXPECT_FALSE(entry.FieldMapChanged);
    EXPECT_EQ(history.ReadEntry(u"Trans1", entry, true), S_OK);
    EXPECT_TRUE(entry.FieldMapChanged);
    EXPECT_TRUE(load(u"Trans1")[0].FieldMapChanged);
}

TEST_F(SyncHistory, EntriesAreSavedWithTheLastRunsData)
{
    const auto writers = {+[](CSyncHistory& h) { return h.SetDatabase(u"Trans1", u"d"); },
                          +[](CSyncHistory& h) { return h.SetLastSyncTime(u"Trans1", 1.0); },
                          +[](CSyncHistory& h) { return h.SetLastSyncStatus(u"Trans1", 1); }};
    std::u16string id = u"a";
    std::size_t kept = 0;
    for (const auto write : writers) {
        link(id, id);
        EXPECT_EQ(history.WriteFieldData(u"Trans1", id, {}, false, false), S_OK);
        EXPECT_EQ(savedRecords(u"Trans1").size(), kept);
        EXPECT_EQ(write(history), S_OK);
        EXPECT_EQ(savedRecords(u"Trans1").size(), ++kept);
        id += u"a";
    }
}

TEST_F(SyncHistory, AWriterOfEntriesSavesOnRequest)
{
    link(u"a", u"1");
    EXPECT_EQ(history.WriteFieldData(u"Trans1", u"a", {}, false, true), S_OK);
    EXPECT_EQ(savedRecords(u"Trans1"), (std::vector<std::u16string>{u"a"}));
    EXPECT_EQ(history.RenameEntry(u"Trans1", {u"a", 0, {}, false}, u"b", true), S_OK);
    EXPECT_EQ(savedRecords(u"Trans1"), (std::vector<std::u16string>{u"b"}));
    HistoryEntry entry;
    entry.Id = u"1";
    EXPECT_EQ(history.SetMappedId(u"Trans2", entry, u"b", true), S_OK);
    EXPECT_EQ(entry.MappedId, u"a") << "it returns the former identifier";
    CSyncHistory saved(nullptr);
    ASSERT_EQ(saved.Open(map), S_OK);
    EXPECT_EQ(saved.ReadEntry(u"Trans2", entry, false), S_OK);
    EXPECT_EQ(entry.MappedId, u"b");
    EXPECT_EQ(history.SetFieldMapChangedForAll(u"Trans2", true, true), S_OK);
    ASSERT_EQ(saved.Open(map), S_OK);
    EXPECT_EQ(saved.ReadEntry(u"Trans2", entry, true), S_OK);
    EXPECT_TRUE(entry.FieldMapChanged);
    EXPECT_EQ(history.DeleteEntry(u"Trans1", u"b", true), S_OK);
    EXPECT_TRUE(savedRecords(u"Trans1").empty());
}

TEST_F(SyncHistory, WithASuffixFieldMapChangedIsFoundByTheWholeSectionNameOnly)
{
    history.SetSectionSuffix(u"A", u"B");
    link(u"a", u"1");
    HistoryEntry entry;
    entry.Id = u"a";
    EXPECT_EQ(history.SetFieldMapChanged(u"Trans1", entry, true, false, false), S_OK);
    EXPECT_EQ(history.ReadEntry(u"Trans1ab", entry, true), S_OK);
    EXPECT_FALSE(entry.FieldMapChanged) << "the flag was written under the section name as given";
    EXPECT_EQ(history.SetFieldMapChanged(u"Trans1ab", entry, true, false, false), S_OK);
    EXPECT_EQ(history.ReadEntry(u"Trans1ab", entry, true), S_OK);
    EXPECT_TRUE(entry.FieldMapChanged);
    EXPECT_EQ(history.SetFieldMapChanged(u"Trans1", entry, false, false, false), S_OK);
    EXPECT_EQ(history.ReadEntry(u"Trans1", entry, true), S_OK);
    EXPECT_FALSE(entry.FieldMapChanged) << "and is read under it";
}

TEST_F(SyncHistory, ALoadReportsProgressAndACancelKeepsTheHistory)
{
    const auto sink = com::make<mbtest::EventSinkFake>();
    (void)history.exchangeSink(com::Ptr<ISyncEvents>(sink));
    link(u"a", u"1");
    history.store().WriteDouble(u"Trans1", u"half", u"ModifiedTime", 1.0, false, true);
    std::vector<HistoryEntry> entries;
    sink->cancelAt = 2;
    EXPECT_EQ(history.LoadEntries(u"Trans1", entries, false, true), E_ABORT);
    EXPECT_TRUE(entries.empty());
    EXPECT_EQ(sink->labels, (std::vector<std::u16string>{u"Loading synchronization history."}));
    EXPECT_EQ(sink->lastPercent, 100.0) << "the second of two";
    std::vector<std::u16string> ids;
    EXPECT_EQ(history.ListRecords(u"Trans1", ids), S_OK);
    EXPECT_EQ(ids.size(), 2u) << "the broken entry is still there";
    EXPECT_EQ(history.LoadEntries(u"Trans1", entries, true, true), S_OK);
    EXPECT_EQ(entries.size(), 1u);
    EXPECT_EQ(sink->labels.back(), u"Loading synchronization history (categories).");
}

TEST_F(SyncHistory, TheLastRunsDataAreNoEntryButCountInTheProgress)
{
    const auto sink = com::make<mbtest::EventSinkFake>();
    (void)history.exchangeSink(com::Ptr<ISyncEvents>(sink));
    for (const char16_t* side : {u"Trans1", u"Trans2"}) EXPECT_EQ(history.SetDatabase(side, u"d"), S_OK);
    link(u"a", u"1");
    sink->cancelAt = 1;
    std::vector<HistoryEntry> entries;
    EXPECT_EQ(history.LoadEntries(u"Trans1", entries, false, true), E_ABORT);
    EXPECT_EQ(sink->lastPercent, 50.0) << "the first of two";
    EXPECT_EQ(load(u"Trans1").size(), 1u);
    EXPECT_EQ(sink->calls, 3);
    EXPECT_EQ(sink->lastPercent, 100.0);
    std::u16string database;
    EXPECT_EQ(history.GetDatabase(u"Trans1", database), S_OK) << "the last run's data are not removed as a broken entry";
}

TEST_F(SyncHistory, TheLastRunsDataAreFoundByTheirEncodedNameInAnyCase)
{
    const std::string other = "u3LUY0LUZM8="; // the encoded "SyncInfo" in other case
    const auto keys = [](const char* mapped) {
        return std::string("<Ky><KN>TWFwcGVkSUQ=</KN><KV>") + mapped + "</KV></Ky><Ky><KN>TW9kaWZpZWRUaW1l</KN><KV>MQ==</KV></Ky>";
    };
    const auto file = folder.data() / "{11111111-2222-3333-4444-555555555555}.xml";
    const std::string text = "<Scs Version=\"4\"><Sc><ST>Trans1</ST><SN>" + other + "</SN>" + keys("MQ==") +
                             "</Sc><Sc><ST>Trans1</ST><SN>YQ==" + "</SN>" + keys("MQ==") + "</Sc><Sc><ST>Trans2</ST><SN>MQ==</SN>" +
                             keys("YQ==") + "</Sc></Scs>";
    std::ofstream(file, std::ios::binary) << text;
    ASSERT_EQ(history.Open(map), S_OK);
    const auto entries = load(u"Trans1");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].Id, u"a");
    EXPECT_EQ(history.SetFieldMapChangedForAll(u"Trans1", true, true), S_OK);
    const std::string saved = folder.read(file);
    const std::size_t at = saved.find(other);
    ASSERT_NE(at, std::string::npos) << "the section is still there";
    EXPECT_EQ(saved.substr(at, saved.find("</Sc>", at) - at).find(encodeBase64(u"FieldMapChanged")), std::string::npos)
        << "and its flag was not set";
}

// Both sides are read before entries are removed; an entry removed from side 1 must still be missing as a partner for side 2.
TEST_F(SyncHistory, LoadingBothSidesEqualsLoadingOneAfterTheOther)
{
    std::mt19937 random(7);
    const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const std::filesystem::path file = folder.data() / "{11111111-2222-3333-4444-555555555555}.xml";
    const auto entry = [](const char16_t* key, std::string_view value) {
        return "<Ky><KN>" + encodeBase64(key) + "</KN><KV>" + std::string(value) + "</KV></Ky>";
    };
    for (int round = 0; round < 300; ++round) {
        // Random names, some duplicated or with a blank inside, and links to partners or to missing records.
        std::string text = "<Scs Version=\"4\">";
        for (std::size_t i = 0, count = below(14); i < count; ++i) {
            const bool one = i % 2 == 0, astray = below(4) == 0;
            const auto idOf = [&](bool first, std::size_t n) {
                return std::u16string(1, static_cast<char16_t>((first ? u'a' : u'A') + n));
            };
            std::string name = encodeBase64(below(8) == 0 ? u"SyncInfo" : idOf(one, below(8) == 0 ? below(7) : i / 2));
            if (below(8) == 0) name.insert(1, " ");
            text += std::string("<Sc><ST>Trans") + (one ? "1" : "2") + "</ST>" + (below(12) == 0 ? "<ST>Trans2</ST>" : "") + "<SN>" + name +
                    "</SN>";
            if (below(8) != 0) text += entry(u"MappedID", encodeBase64(idOf(!one, astray ? below(7) : i / 2)));
            if (below(8) != 0) text += entry(u"ModifiedTime", encodeBase64(u"46000.5"));
            text += "</Sc>";
        }
        text += "</Scs>";
        const auto written = [&](auto&& loadLists) {
            std::ofstream(file, std::ios::binary) << text;
            CSyncHistory opened(nullptr);
            EXPECT_EQ(opened.Open(map), S_OK);
            std::vector<HistoryEntry> entries1, entries2;
            loadLists(opened, entries1, entries2);
            std::u16string all;
            for (const auto* list : {&entries1, &entries2}) {
                for (const HistoryEntry& e : *list) all += e.Id + u">" + e.MappedId + u" ";
                all += u"| ";
            }
            std::ifstream saved(file, std::ios::binary);
            return platform::utf8(all) + std::string(std::istreambuf_iterator<char>(saved), {});
        };
        EXPECT_EQ(written([](CSyncHistory& opened, auto& one, auto& two) { EXPECT_EQ(opened.LoadBothSides(one, two, false), S_OK); }),
                  written([](CSyncHistory& opened, auto& one, auto& two) {
                      EXPECT_EQ(opened.LoadEntries(u"Trans1", one, false, true), S_OK);
                      EXPECT_EQ(opened.LoadEntries(u"Trans2", two, false, true), S_OK);
                  }))
            << text;
    }
}

TEST_F(SyncHistory, ALoadOfBothSidesCancelledOnTheFirstDoesNotLoadTheSecond)
{
    link(u"a", u"1");
    link(u"b", u"2");
    const auto sink = com::make<mbtest::EventSinkFake>();
    (void)history.exchangeSink(com::Ptr<ISyncEvents>(sink));
    std::vector<HistoryEntry> one, two{{u"before", 0.0, u"", false}};
    sink->cancelAt = 2;
    EXPECT_EQ(history.LoadBothSides(one, two, false), E_ABORT);
    EXPECT_EQ(sink->calls, 2);
    EXPECT_TRUE(one.empty());
    EXPECT_EQ(two.size(), 1u);
    sink->cancelAt = 0;
    EXPECT_EQ(history.LoadBothSides(one, two, false), S_OK);
    EXPECT_EQ(sink->calls, 6) << "once per entry";
    ASSERT_EQ(one.size(), 2u);
    ASSERT_EQ(two.size(), 2u);
    EXPECT_EQ(two[1].Id, u"2");
    EXPECT_EQ(two[1].MappedId, u"b");
}

TEST_F(SyncHistory, ClearingOneSideKeepsTheOther)
{
    for (const char16_t* cleared : {u"Trans1", u"Trans2"}) {
        link(u"a", u"1");
        EXPECT_EQ(history.SetVersion(2), S_OK);
        CSyncHistory old(nullptr);
        ASSERT_EQ(old.Open(map), S_OK);
        EXPECT_EQ(old.Clear(cleared), S_OK);
        for (const char16_t* side : {u"Trans1", u"Trans2"}) EXPECT_EQ(savedRecords(side).empty(), std::u16string_view(side) == cleared);
        LONG version = 0;
        EXPECT_EQ(old.GetVersion(version), S_OK);
        EXPECT_EQ(version, 4);
        ASSERT_EQ(history.Open(map), S_OK);
    }
}

TEST_F(SyncHistory, TheStatusHasItsOwnKeyWhichMayBeEmpty)
{
    FieldValueMap fields;
    fields[ftRecordStatus] = u"-6";
    EXPECT_EQ(history.WriteFieldData(u"Trans1", u"a", fields, false, false), S_OK);
    EXPECT_EQ(history.WriteFieldData(u"Trans1", u"b", {}, false, false), S_OK);
    std::u16string status, data;
    EXPECT_EQ(history.store().ReadValue(u"Trans1", u"a", u"FMStatus", status), S_OK);
    EXPECT_EQ(status, u"-6");
    EXPECT_EQ(history.store().ReadValue(u"Trans1", u"a", u"FieldData", data), S_OK);
    EXPECT_EQ(data, u"42\u0003\u0006-6\u0003\u0006") << "the status is also part of the field data";
    EXPECT_EQ(history.store().ReadValue(u"Trans1", u"b", u"FMStatus", status), S_OK);
    EXPECT_EQ(status, u"");
    std::vector<std::u16string> keys;
    EXPECT_EQ(history.store().ListKeys(u"Trans1", u"a", keys), S_OK);
    EXPECT_EQ(keys, (std::vector<std::u16string>{u"FMStatus", u"FieldData"}));
    EXPECT_EQ(history.WriteFieldData(u"Trans1", u"a", fields, true, false), S_OK);
    EXPECT_EQ(history.store().ListKeys(u"Trans1", u"a", keys), S_OK);
    EXPECT_EQ(keys.size(), 4u) << "appended";
}

TEST_F(SyncHistory, DeletingTheHistoryDeletesItsFile)
{
    EXPECT_EQ(history.DeleteFile(), 0);
    EXPECT_FALSE(std::filesystem::exists(folder.data() / "{11111111-2222-3333-4444-555555555555}.xml"));
    EXPECT_EQ(CSyncHistory::DeleteHistoryFile(map), S_OK) << "deleting it again succeeds";
}

} // namespace mb
