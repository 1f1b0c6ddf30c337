// The numbers of the controls. The dialog templates of the engine and of its language modules contain them.
#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/CConfirmationDlg.h"
#include "dialogs/CConflictDlg.h"
#include "dialogs/CDeleteConflictDlg.h"
#include "dialogs/CDetailsDlg.h"
#include "dialogs/CFieldMappingDlg.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace mb {
namespace {

using Ids = std::vector<int>;

TEST(ControlId, TheNumbersAreThoseOfTheDialogTemplates)
{
    EXPECT_THAT((Ids{idOk, idCancel, idReSync}), ElementsAre(1, 2, 3));
    using Confirmation = CConfirmationDlg;
    EXPECT_THAT((Ids{Confirmation::idHelp, Confirmation::idViewDetails, Confirmation::idSummary, Confirmation::idInstructions}),
                ElementsAre(201, 202, 203, 217));
    using Details = CDetailsDlg;
    EXPECT_THAT((Ids{Details::idTitle1, Details::idList1, Details::idTitle2, Details::idList2, Details::idViewChanges}),
                ElementsAre(204, 205, 206, 208, 218));
    EXPECT_THAT((Ids{CChangeDetailsDlg::idMessage, CChangeDetailsDlg::idList}), ElementsAre(219, 220));
    using Conflict = CConflictDlg;
    EXPECT_THAT((Ids{Conflict::idHelp, Conflict::idMessage, Conflict::idDuplicate, Conflict::idTrans1Wins, Conflict::idTrans2Wins,
                     Conflict::idMerge, Conflict::idApplyToAll, Conflict::idList, Conflict::idCounter}),
                ElementsAre(207, 209, 210, 212, 213, 214, 215, 216, 221));
    using Deletion = CDeleteConflictDlg;
    EXPECT_THAT((Ids{Deletion::idHelp, Deletion::idMessage, Deletion::idAdd, Deletion::idDelete, Deletion::idApplyToAll, Deletion::idList,
                     Deletion::idCounter}),
                ElementsAre(207, 209, 212, 213, 215, 216, 221));
    using FieldMapping = CFieldMappingDlg;
    EXPECT_THAT((Ids{FieldMapping::idInstructions, FieldMapping::idHelp, FieldMapping::idList, FieldMapping::idReset}),
                ElementsAre(-1, 1034, 1038, 1039));
}

} // namespace
} // namespace mb
