// The details of the cards of a store, and the UID that a new card takes from them.
#include "CardStoreFixture.h"

#include <gmock/gmock.h>

namespace mb::vcard {
namespace {

using testing::HasSubstr;
using CardStoreDetails = CardStoreTest;

std::string addWith(CardStore& store, std::u16string_view lastName, std::u16string_view details)
{
    const std::string id = store.beginAdd();
    store.write(id, ftLastName, lastName);
    store.write(id, ftDetails, details);
    return store.save(id);
}

TEST_F(CardStoreDetails, AreReadAndWrittenWithTheCard)
{
    put("a.vcf", cardText("Doe", "1"));
    CardStore store = open();
    EXPECT_EQ(read(store, "a.vcf#1", ftDetails), u"X-OTHER:kept\nUID:1\nVERSION:3.0");
    edit(store, "a.vcf#1", ftDetails, u"X-OTHER:kept\nLANG:fr\nUID:2\nVERSION:4.0");
    EXPECT_EQ(get("a.vcf"), "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:1\r\nN:Doe;;;;\r\nFN:Doe\r\nX-OTHER:kept\r\nLANG:fr\r\nEND:VCARD\r\n");
    EXPECT_EQ(read(store, "a.vcf#1", ftDetails), u"X-OTHER:kept\nLANG:fr\nUID:1\nVERSION:3.0");
    const auto before = fs::last_write_time(folder / "a.vcf");
    edit(store, "a.vcf#1", ftDetails, u"LANG:fr\nX-OTHER:kept");
    EXPECT_EQ(fs::last_write_time(folder / "a.vcf"), before) << "equal details write nothing";
}

TEST_F(CardStoreDetails, ANewCardTakesTheUidIfNoCardHasIt)
{
    put("a.vcf", cardText("Doe", "Taken"));
    CardStore store = open();
    store.beginBatch();
    const std::string first = addWith(store, u"Roe", u"LANG:fr\nUID:free/1");
    EXPECT_THAT(first, testing::EndsWith(".vcf#free%2f1"));
    const std::string name = first.substr(0, first.find('#'));
    EXPECT_THAT(get(name), HasSubstr("UID:free/1\r\n"));
    EXPECT_TRUE(store.exists(first));
    EXPECT_EQ(read(store, first, ftLastName), u"Roe");
    for (const char16_t* taken : {u"UID:taken", u"UID:free/1", u"UID:Taken"}) {
        const std::string other = addWith(store, u"Poe", taken);
        EXPECT_THAT(other, testing::EndsWith(".vcf")) << "a UID of its own";
        EXPECT_THAT(get(other), HasSubstr("UID:urn:uuid:" + other.substr(0, other.size() - 4)));
    }
    store.endBatch(false);
    store.close();
    CardStore again = open();
    EXPECT_EQ(again.count(), 5u);
    EXPECT_TRUE(again.updatedId(first).empty());
    EXPECT_EQ(read(again, first, ftDetails), u"LANG:fr\nUID:free/1\nVERSION:3.0");
}

TEST_F(CardStoreDetails, ANewCardInAFileOfManyTakesTheUid)
{
    put("all.vcf", cardText("Doe", "1") + cardText("Roe", "2"));
    CardStore store = open(folder / "all.vcf");
    store.beginBatch();
    const std::string id = addWith(store, u"Poe", u"UID:3"), other = addWith(store, u"Moe", u"UID:2");
    EXPECT_EQ(id, "all.vcf#3");
    EXPECT_THAT(other, HasSubstr("all.vcf#urn:uuid:"));
    store.endBatch(false);
    store.close();
    CardStore again = open(folder / "all.vcf");
    EXPECT_EQ(again.count(), 4u);
    EXPECT_EQ(read(again, "all.vcf#3", ftLastName), u"Poe");
    EXPECT_EQ(read(again, other, ftLastName), u"Moe");
}

TEST_F(CardStoreDetails, OfHugeSizeAreRefusedWithTheNameOfTheCard)
{
    CardStore store = open();
    const std::string id = store.beginAdd();
    store.write(id, ftLastName, u"Doe");
    store.write(id, ftDetails, u"X-LONG:" + std::u16string(2u << 20, u'x'));
    expectFailure(Step::WriteField, "\"Doe\"", [&] { store.write(id, ftDetails, u"X-LONG:" + std::u16string(33u << 20, u'x')); });
    const std::u16string lines = u"X-A:" + std::u16string(22u << 20, u'x') + u'\n';
    expectFailure(Step::WriteField, "64 MiB", [&] { store.write(id, ftDetails, lines + lines + lines); });
    const std::string saved = store.save(id);
    EXPECT_GT(get(saved).size(), 2u << 20) << "a line of 2 MiB travels";
    CardStore again = open();
    EXPECT_EQ(read(again, saved, ftDetails).substr(0, (2u << 20) + 8), u"X-LONG:" + std::u16string(2u << 20, u'x') + u'\n');
    expectFailure(Step::WriteField, "\"Doe\"", [&] { edit(store, saved, ftDetails, u"X-LONG:" + std::u16string(33u << 20, u'x')); });
    EXPECT_GT(get(saved).size(), 2u << 20) << "the card keeps what it had";
}

std::string versionLine(const std::string& bytes)
{
    const std::size_t at = bytes.find("VERSION:");
    return bytes.substr(at, bytes.find('\r', at) - at);
}

TEST_F(CardStoreDetails, ANewCardHasTheVersionOfMostCards)
{
    const std::string old = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:a\r\nEND:VCARD\r\n",
                      now = "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:a\r\nEND:VCARD\r\n";
    put("1.vcf", old);
    put("2.vcf", cardText("Doe"));
    put("3.vcf", now);
    CardStore store = open();
    EXPECT_EQ(versionLine(get(addWith(store, u"Roe", u"VERSION:4.0"))), "VERSION:3.0") << "2.1 counts as 3.0";
    put("4.vcf", now + now + now + now);
    CardStore again = open();
    EXPECT_EQ(versionLine(get(add(again, u"Poe"))), "VERSION:4.0") << "each card of a file counts";
}

TEST_F(CardStoreDetails, TheFirstCardOfAStoreHasTheVersionThatItsDetailsName)
{
    const auto first = [&](std::u16string_view details) {
        fs::remove_all(folder);
        fs::create_directories(folder);
        CardStore store = open();
        const std::string id = store.beginAdd();
        store.write(id, ftLastName, u"Doe");
        store.write(id, ftMiscPhone1, u"1");
        store.writeImage(id, ftImage1, "\xFF\xD8\xFF\xE0");
        store.write(id, ftDetails, details);
        store.save(id);
        const std::string bytes = get(id);
        EXPECT_EQ(versionLine(get(add(store, u"Roe"))), versionLine(bytes)) << "so has the second";
        return bytes;
    };
    const std::string card = first(u"LANG:fr\n@89;TYPE=cell\nUID:1\nVERSION:2.1");
    EXPECT_EQ(card, "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:1\r\nN:Doe;;;;\r\nPHOTO;ENCODING=b;TYPE=JPEG:/9j/4A==\r\n"
                    "TEL;TYPE=CELL;X-MB-FIELD=89:1\r\nLANG:fr\r\nFN;DERIVED=true:Doe\r\nEND:VCARD\r\n");
    EXPECT_EQ(versionLine(first(u"VERSION:3.0")), "VERSION:3.0");
    EXPECT_EQ(versionLine(first(u"VERSION:4.0")), "VERSION:4.0");
    EXPECT_EQ(versionLine(first(u"LANG:fr")), "VERSION:4.0");
}

TEST_F(CardStoreDetails, ANewCardHasTheVersionThatItsDetailsDemandWhateverTheStoreHas)
{
    const std::string of21 = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:a\r\nEND:VCARD\r\n",
                      of40 = "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:a\r\nEND:VCARD\r\n";
    for (const std::string& other : {std::string(), of21, cardText("Doe"), of40})
        for (const bool one : {false, true}) {
            SCOPED_TRACE(other + (one ? " in one file" : " in a folder"));
            const auto added = [&](std::u16string_view version) {
                fs::remove_all(folder);
                fs::create_directories(folder);
                put(one ? "all.vcf" : "a.vcf", other);
                CardStore store = one ? open(folder / "all.vcf") : open();
                const std::string id = addWith(store, u"Roe", std::u16string(u"LANG:fr\nUID:urn:x:7\n").append(version));
                const std::string bytes = get(id.substr(0, id.find('#')));
                EXPECT_THAT(bytes, HasSubstr("LANG:fr\r\n"));
                EXPECT_THAT(bytes, HasSubstr("UID:urn:x:7\r\n"));
                const std::string next = get(add(store, u"Poe"));
                if (!one && !other.empty()) {
                    EXPECT_EQ(versionLine(next), other == of40 ? "VERSION:4.0" : "VERSION:3.0") << "as the store";
                }
                return bytes.substr(bytes.rfind("VERSION:"), 11);
            };
            EXPECT_EQ(added(u"VERSION;PREF=1:3.0"), "VERSION:3.0");
            EXPECT_EQ(added(u"VERSION;PREF=1:4.0"), "VERSION:4.0");
            EXPECT_EQ(added(u"VERSION;PREF=1:2.1"), "VERSION:3.0") << "no new card is of version 2.1";
            EXPECT_EQ(added(u"VERSION;PREF=1:5.0"), added(u"")) << "a version that is not known";
        }
}

TEST_F(CardStoreDetails, AnIndexOfAnEarlierVersionIsCompletedByReading)
{
    put("1.vcf", cardText("Doe"));
    put("2.vcf", cardText("Roe"));
    {
        CardStore(folder.string(), (root / "cache").string(), report, recent).close();
    }
    fs::path index;
    for (const auto& entry : fs::directory_iterator(root / "cache")) index = entry.path();
    std::string text = readBytes(index);
    ASSERT_TRUE(text.starts_with("vcard index 4\n")) << text;
    text[std::string("vcard index ").size()] = '3';
    for (std::size_t at = 0; (at = text.find(" 0 1 0 ,", at)) != text.npos;) text.erase(at, 6);
    writeBytes(index, text);
    RecentIndexes none;
    CardStore store(folder.string(), (root / "cache").string(), report, none);
    EXPECT_EQ(store.count(), 2u);
    EXPECT_EQ(versionLine(get(add(store, u"Poe"))), "VERSION:3.0");
}

} // namespace
} // namespace mb::vcard
