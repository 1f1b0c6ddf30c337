#include "dialogs/CConflictDlg.h"
#include "FrontEndFake.h"
#include "People.h"
#include "SyncScenario.h"
#include "text.h"
#include "WithoutDocuments.h"

#include <gmock/gmock.h>
#include <optional>

namespace {

using mbtest::ada;
using mbtest::FakeValues;
using mbtest::person;
using mbtest::SyncScenario;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char16_t quotedEmail[] = u"\"ada\"@example.org";

} // namespace

TEST(Duplicates, AnEqualContactIsLinkedAndNotCopied)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add(ada());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_THAT(s.log().starting("2 WriteField"), IsEmpty()) << "a matched record gets no field written";
    EXPECT_THAT(s.log().starting("2 BeginEditRecord"), SizeIs(1));
    EXPECT_THAT(s.log().starting("2 SaveRecord"), SizeIs(1));
    EXPECT_THAT(s.logText(), HasSubstr("MATCHED: Ada Lovelace"));
    s.expectInStep();
}

TEST(Duplicates, ADifferentTitleMakesAPossibleDuplicateThatASilentRunKeepsApart)
{
    SyncScenario s;
    s.one().add(ada(u"Countess"));
    s.two().add(ada(u"Mathematician"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
    EXPECT_THAT(s.one().records, SizeIs(2));
    EXPECT_THAT(s.two().records, SizeIs(2));
    s.expectInStep();
}

TEST(Duplicates, LetterCaseAndPunctuationDoNotMakeTwoContactsDiffer)
{
    SyncScenario s;
    FakeValues other = ada();
    other[ftFirstName] = u"ADA";
    other[ftCity1] = u"lon-don";
    s.one().add(ada());
    s.two().add(other);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Duplicates, NamelessContactsWithEqualContentAreExactDuplicates)
{
    SyncScenario s;
    s.one().add({{ftCompany, u"Analytical Engines"}, {ftPhone, u"1"}});
    s.two().add({{ftCompany, u"Analytical Engines"}, {ftPhone, u"1"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Duplicates, NotesThatDifferMakeAConflictThoughTheContentIsEqual)
{
    SyncScenario s;
    FakeValues one = ada(), two = ada();
    one[ftNotes] = u"first";
    two[ftNotes] = u"second";
    s.one().add(one);
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
}

TEST(Duplicates, AValueLongerThanTheOtherFieldIsComparedUpToItsLength)
{
    SyncScenario s;
    for (auto& field : s.two().fields)
        if (field.type == ftCompany) field.maxLength = 10;
    FakeValues one = ada(), two = ada();
    one[ftCompany] = u"Analytical Engines Limited";
    two[ftCompany] = u"Analytical";
    s.one().add(one);
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
}

// Cut to what the other field can hold, the two texts would differ.
TEST(Duplicates, EqualNotesAreNoConflictThoughTheFieldsHoldDifferentLengths)
{
    SyncScenario s;
    const auto limitNotes = [](mbtest::FakeStore& store, ULONG length) {
        std::ranges::find(store.fields, LONG{ftNotes}, &mbtest::FakeField::type)->maxLength = length;
    };
    limitNotes(s.one(), 4);
    limitNotes(s.two(), 6);
    FakeValues noted = ada();
    noted[ftNotes] = u"12345678";
    s.one().add(noted);
    s.two().add(noted);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("MATCHED: Ada Lovelace"));
    EXPECT_THAT(s.logText(), Not(HasSubstr("CONFLICT")));
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Duplicates, ALastNameWithAQuoteIsFoundByItsContent)
{
    SyncScenario s;
    FakeValues quoted = ada();
    quoted[ftLastName] = u"\"The\" Lovelace";
    s.one().add(quoted);
    s.two().add(quoted);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Duplicates, ALastNameWithAQuoteIsTurnedAwayByTheRule)
{
    SyncScenario s;
    FakeValues one = ada(u"Countess"), two = ada(u"Mathematician");
    one[ftLastName] = two[ftLastName] = u"\"The\" Lovelace";
    s.one().add(one);
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("No conflicts detected")) << "the gate compares the raw name with the escaped one";
}

// The other side has something to do all the same, so its list of tasks is not empty.
TEST(Duplicates, WithNoNewRecordOnOneSideNoneIsRead)
{
    for (const bool newOnOne : {true, false}) {
        SyncScenario s;
        const auto known1 = s.one().add(ada());
        ASSERT_EQ(s.sync(), S_OK);
        const auto known2 = s.two().order.at(0);
        const auto added = (newOnOne ? s.one() : s.two()).add(ada());
        (newOnOne ? s.two() : s.one()).set(newOnOne ? known2 : known1, ftCity1, u"Paris");
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.lastLog(), HasSubstr("No duplicates found"));
        const auto& lines = s.log().lines;
        const std::vector<std::string> beforeWrites(lines.begin(), std::ranges::find(lines, "2 BeginUpdate"));
        EXPECT_LT(beforeWrites.size(), lines.size());
        EXPECT_THAT(beforeWrites, Not(Contains((newOnOne ? "1 BeginReadRecord " : "2 BeginReadRecord ") + platform::utf8(added))));
        EXPECT_THAT(s.one().records, SizeIs(2));
        EXPECT_THAT(s.two().records, SizeIs(2));
    }
}

TEST(Duplicates, AMatchedRecordIsNotMatchedAgain)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add(ada());
    s.two().add(ada());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2)) << "one is linked, the other is new";
    EXPECT_THAT(s.two().records, SizeIs(2));
    s.expectInStep();
}

TEST(Duplicates, ARecordThatCannotBeReadEndsTheSearchAndIsChargedToTranslatorOne)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add(ada());
    s.one().options.errorMessage1 = u"The card cannot be read.";
    s.log().failOn("2 BeginReadRecord", 1, static_cast<HRESULT>(0x80040208));
    EXPECT_EQ(s.sync(), static_cast<HRESULT>(0x80040208));
    EXPECT_EQ(s.lastError().first, u"The card cannot be read.");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
}

TEST(Duplicates, ARecordWhoseReadingIsCancelledWaitsAndIsChargedToNobody)
{
    for (const char* side : {"1", "2"}) {
        SyncScenario s;
        for (mbtest::FakeStore* store : {&s.one(), &s.two()}) {
            store->options.errorMessage1 = u"Cancelled.";
            store->add(ada());
            store->add(person(u"Grace", u"Hopper"));
        }
        s.log().failOn(std::string(side) + " BeginReadRecord", 1, E_ABORT);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.log().starting("1 GetLastError"), IsEmpty());
        EXPECT_THAT(s.log().starting("2 GetLastError"), IsEmpty());
        EXPECT_EQ(s.lastError().first, u"");
        EXPECT_THAT(s.lastLog(), HasSubstr("MATCHED: Grace Hopper")) << "the search went on";
        EXPECT_THAT(s.one().records, SizeIs(2)) << "the one that was not read waits";
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.lastLog(), HasSubstr("MATCHED: Ada Lovelace"));
        EXPECT_THAT(s.one().records, SizeIs(2));
        EXPECT_EQ(SyncScenario::contents(s.one()), SyncScenario::contents(s.two()));
    }
}

TEST(Duplicates, CancellingTheSearchEndsTheRunBeforeAnyWrite)
{
    SyncScenario s;
    for (int i = 0; i < 10; ++i) {
        s.one().add(ada());
        s.two().add(ada());
    }
    s.makeMap();
    s.sink().cancelAt = 30;
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST(Duplicates, EachRecordIsReadOnceForTheSearch)
{
    SyncScenario s;
    s.one().add(ada());
    s.two().add(ada());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 ReadField A000001 Title"), SizeIs(1));
}

TEST(Duplicates, AFirstNameWithoutAnEmailIsNeverLookedUpByTheEmptyEmail)
{
    SyncScenario s;
    const FakeValues firm{{ftLastName, u"Lovelace"}, {ftCompany, u"Analytical Engines Ltd"}, {ftTitle, u"Countess"}};
    FakeValues one = firm, two = firm;
    one[ftFirstName] = u"Ada";
    two[ftFirstName] = u"Byron";
    two[ftTitle] = u"Lord";
    s.one().add(one);
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("No duplicates found")) << "by their firm they would be one";
    EXPECT_THAT(s.one().records, SizeIs(2));
}

TEST(Duplicates, WithoutAFirstNameTheEmailAloneFindsACandidateEvenTheEmptyOne)
{
    SyncScenario s;
    FakeValues one{{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCompany, u"Analytical Engines Ltd"}};
    FakeValues two{{ftLastName, u"Lovelace"}, {ftCompany, u"Analytical Engines Inc"}};
    s.one().add(one);
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
}

TEST(Duplicates, AnotherFirstNameIsFoundByTheEmail)
{
    SyncScenario s;
    FakeValues two = ada();
    two[ftFirstName] = u"Augusta";
    two[ftEmail1] = u"ADA@Example.org"; // in any letter case
    s.one().add(ada());
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1)) << "with equal content the first name makes no conflict";
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Duplicates, AnotherFirstNameAndOtherContentAreFoundByTheEmailAndTheRule)
{
    SyncScenario s;
    FakeValues two = ada(u"Mathematician");
    two[ftFirstName] = u"Augusta";
    s.one().add(ada());
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
}

TEST(Duplicates, AnotherEmailAndOtherContentAreFoundByTheNameAndTheRule)
{
    SyncScenario s;
    FakeValues two = ada(u"Mathematician");
    two[ftEmail1] = u"another@example.org";
    s.one().add(ada());
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
}

TEST(Duplicates, AnEmailWithAQuoteIsFoundByItsContent)
{
    SyncScenario s;
    FakeValues one = ada(), two = ada();
    one[ftEmail1] = two[ftEmail1] = quotedEmail;
    two[ftFirstName] = u"Augusta";
    s.one().add(one);
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("MATCHED: Ada Lovelace"));
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST(Duplicates, AnEmailWithAQuoteTellsTwoCandidatesOfOneNameApart)
{
    SyncScenario s;
    FakeValues wanted = ada(u"Countess"), other = ada(u"Lady"), two = ada(u"Mathematician");
    wanted[ftEmail1] = two[ftEmail1] = quotedEmail;
    s.one().add(wanted);
    s.one().add(other); // by the name alone the later of the two would win
    s.two().add(two);
    mbtest::FrontEndFake user;
    std::vector<std::u16string> title;
    user.script.emplace_back([&](mb::Dialog& dialog) { title = dialog.model().find(mb::CConflictDlg::idList)->rows.at(0).cells; });
    EXPECT_EQ(s.syncAsking(), E_ABORT);
    EXPECT_THAT(title, testing::ElementsAre(u"Title", u"Countess", u"Mathematician"));
}

// Quirk kept on purpose: the rule compares the e-mail as it was read with the escaped one.
TEST(Duplicates, AnEmailWithAQuoteIsTurnedAwayByTheRuleWhereTheFirstNamesDiffer)
{
    SyncScenario s;
    FakeValues one = ada(u"Countess"), two = ada(u"Mathematician");
    one[ftEmail1] = two[ftEmail1] = quotedEmail;
    two[ftFirstName] = u"Augusta";
    s.one().add(one);
    s.two().add(two);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("No duplicates found"));
    EXPECT_THAT(s.one().records, SizeIs(2));
}

// In either search: with documents, and in memory.
TEST(Duplicates, TheKeysOfSideTwoAreReadFromTheFieldsThatTheMapNames)
{
    for (const LONG key : {ftFirstName, ftEmail1})
        for (const bool inMemory : {false, true}) {
            SCOPED_TRACE(std::to_string(key) + (inMemory ? " in memory" : " with documents"));
            SyncScenario s;
            const LONG other = key == ftEmail1 ? LONG{ftEmail2} : LONG{ftNickName};
            std::ranges::find(s.two().fields, key, &mbtest::FakeField::type)->type = other;
            s.mapFields(key, other);
            FakeValues one = ada(), two = ada(u"Mathematician");
            two[other] = std::u16string(two[key]);
            two.erase(key);
            // The key that is not looked at differs.
            if (key == ftEmail1)
                two[ftFirstName] = u"Augusta";
            else
                two[ftEmail1] = u"another@example.org";
            s.one().add(one);
            s.two().add(two);
            std::optional<mbtest::WithoutDocuments> broken;
            if (inMemory) broken.emplace();
            EXPECT_EQ(s.sync(), S_OK);
            EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
        }
}

// The search for exact duplicates asks with empty keys, so a contact with a name is first met by its name and its content, and there
// the first one of the other side is taken, whatever its e-mail.
TEST(Duplicates, OfTwoWithEqualContentTheFirstIsTakenThoughTheOtherHasTheEmailToo)
{
    SyncScenario s;
    FakeValues other = ada();
    other[ftEmail1] = u"another@example.org";
    s.one().add(other);
    s.one().add(ada());
    s.two().add(ada());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("CONFLICT: Ada Lovelace"));
}

TEST(Duplicates, AMatchedRecordIsNoCandidateOnEitherSide)
{
    SyncScenario s;
    for (mbtest::FakeStore* store : {&s.one(), &s.two()})
        for (const char16_t* title : {u"Countess", u"Mathematician"}) store->add({{ftCompany, u"Analytical Engines"}, {ftTitle, title}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2));
    EXPECT_THAT(s.two().records, SizeIs(2));
    s.expectInStep();
}

TEST(Duplicates, ACategoryPassHasLabelsOfItsOwn)
{
    SyncScenario s;
    s.one().options.categories = s.two().options.categories = true;
    s.one().addCategory(u"Friends");
    s.two().addCategory(u"Work");
    s.makeMap();
    s.sink().cancelAtWrite = 1; // only the categories
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(
        s.sink().labels,
        testing::IsSupersetOf({u"Preparing to search for duplicates (categories).", u"Searching for exact duplicates (categories).",
                               u"Searching for conflicting duplicates (categories).", u"Resolving possible conflicts (categories)."}));
    for (const std::u16string& label : s.sink().labels) EXPECT_NE(label.find(u"(categories)"), label.npos);
}

TEST(Duplicates, AContactThatCouldNotBeReadInTheSearchIsReadAgainByTheNextRun)
{
    for (const char* side : {"1", "2"}) {
        SyncScenario s;
        (*side == '1' ? s.one() : s.two()).add(ada());
        (*side == '1' ? s.two() : s.one()).add(mbtest::person(u"Grace", u"Hopper"));
        s.makeMap();
        for (int n = 1; n <= 15; ++n) s.log().failOn(std::string(side) + " ReadField", n, E_FAIL);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.one().records, SizeIs(1)) << "both wait, since they may be one contact";
        EXPECT_THAT(s.two().records, SizeIs(1));
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.one().records, SizeIs(2));
        EXPECT_EQ(SyncScenario::contents(s.one()), SyncScenario::contents(s.two()));
    }
}
