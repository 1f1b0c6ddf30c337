// Pictures in conflicts: which changes of a pair clash where a picture is among them, and whose picture is left.
#include "dialogs/CConflictDlg.h"
#include "dialogs/ConflictPrompt.h"
#include "FrontEndFake.h"
#include "SyncScenario.h"
#include "TestImages.h"

#include <gmock/gmock.h>

namespace {

using mb::CConflictDlg;
using mbtest::FakeValues;
using mbtest::makePicture;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

const std::u16string small = makePicture(20, 10), medium = makePicture(30, 20), large = makePicture(40, 30);

class ImageConflict : public testing::Test {
protected:
    ImageConflict()
    {
        s.one().addImageFields();
        s.two().addImageFields();
    }
    static FakeValues ada(FakeValues more)
    {
        more[ftFirstName] = u"Ada";
        more[ftLastName] = u"Lovelace";
        return more;
    }
    // Contacts that are in step; the answers are their identifiers on side 2.
    std::vector<std::u16string> bringIntoStep(const std::vector<FakeValues>& contacts)
    {
        for (const FakeValues& values : contacts) s.one().add(values);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.two().order, SizeIs(contacts.size()));
        return s.two().order;
    }
    SyncScenario s;
};

} // namespace

TEST_F(ImageConflict, APictureOfOneSideAndAnotherFieldOfTheOtherAreNoneInEitherLook)
{
    const auto ids2 = bringIntoStep({{{ftLastName, u"A"}}, {{ftLastName, u"B"}}});
    const auto ids1 = s.one().order;
    s.one().set(ids1.at(0), ftImage1, small);
    s.one().set(ids1.at(1), ftImage2, large);
    for (const std::u16string& id : ids2) s.two().set(id, ftCity1, u"Rome");
    // With a new contact on both sides, the search for duplicates looks at the pairs once more.
    s.one().add({{ftLastName, u"Hopper"}});
    s.two().add({{ftLastName, u"Turing"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), Not(HasSubstr("CONFLICT")));
    for (const std::u16string& id : ids1) EXPECT_EQ(s.one().get(id, ftCity1), u"Rome");
    EXPECT_EQ(s.two().get(ids2.at(0), ftImage1), small);
    EXPECT_EQ(s.two().get(ids2.at(1), ftImage2), large);
    s.expectInStep();
}

TEST_F(ImageConflict, DuplicatesWithDifferentPicturesInDifferentFieldsExchangeThem)
{
    const auto id1 = s.one().add(ada({{ftImage1, small}}));
    const auto id2 = s.two().add(ada({{ftImage2, large}}));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), Not(HasSubstr("CONFLICT")));
    EXPECT_EQ(s.one().get(id1, ftImage2), large);
    EXPECT_EQ(s.two().get(id2, ftImage1), small);
    s.expectInStep();
}

TEST_F(ImageConflict, DuplicatesThatDifferInAnotherFieldTooAreInConflict)
{
    s.one().add(ada({{ftImage1, small}, {ftTitle, u"Countess"}}));
    s.two().add(ada({{ftTitle, u"Mathematician"}}));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), HasSubstr("CONFLICT: Ada Lovelace"));
    EXPECT_THAT(s.one().records, SizeIs(2));
    EXPECT_THAT(s.two().records, SizeIs(2));
}

TEST_F(ImageConflict, DuplicatesWithDifferentPicturesInOneFieldAreInConflict)
{
    s.one().add(ada({{ftImage1, small}}));
    s.two().add(ada({{ftImage1, large}}));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.lastLog(), HasSubstr("CONFLICT: Ada Lovelace"));
    EXPECT_THAT(s.one().records, SizeIs(2));
}

// Through the dialog, and for a conflict that an answer for all settles. Side 2 is written first: a picture that side 1 still
// sent would replace the winner's.
TEST_F(ImageConflict, ThePictureOfTheWinnerReplacesTheOtherAndStaysWhereItIs)
{
    const auto ids2 = bringIntoStep({{{ftLastName, u"A"}, {ftImage1, small}}, {{ftLastName, u"B"}, {ftImage1, small}}});
    for (const std::u16string& id : s.one().order) s.one().set(id, ftImage1, medium);
    for (const std::u16string& id : ids2) s.two().set(id, ftImage1, large);
    mbtest::FrontEndFake user;
    user.byDefault = mb::idOk; // to the summary
    user.script.emplace_back([](mb::Dialog& dialog) {
        dialog.choose(CConflictDlg::idTrans2Wins);
        dialog.check(CConflictDlg::idApplyToAll, true);
        dialog.press(mb::idOk);
    });
    EXPECT_EQ(s.syncAsking(), S_OK);
    EXPECT_THAT(user.captions, ElementsAre(u"Resolve Conflicting Changes", u"Confirm Changes"));
    for (const std::u16string& id : ids2) EXPECT_TRUE(s.two().get(id, ftImage1) == large) << "untouched";
    for (const std::u16string& id : s.one().order) EXPECT_TRUE(s.one().get(id, ftImage1) == large);
    s.expectInStep();
}

TEST_F(ImageConflict, TheDialogIsToldWhetherPicturesTakePart)
{
    struct Prompt final : mb::ConflictPrompt {
        bool ask(mb::ConflictQuestion& question) override
        {
            images.push_back(question.SyncImages);
            return false;
        }
        bool ask(mb::DeleteConflictQuestion&) override { return false; }
        std::vector<bool> images;
    } prompt;
    const auto ids2 = bringIntoStep({ada({{ftCity1, u"London"}})});
    s.one().set(s.one().order.at(0), ftCity1, u"Paris");
    s.two().set(ids2.at(0), ftCity1, u"Rome");
    mb::ConflictPrompt* const former = mb::SetConflictPrompt(&prompt);
    EXPECT_EQ(s.syncAsking(), E_ABORT);
    s.setOption(soSyncImages, 0);
    EXPECT_EQ(s.syncAsking(), E_ABORT);
    mb::SetConflictPrompt(former);
    EXPECT_THAT(prompt.images, ElementsAre(true, false));
}
