// The field mapping dialog as a question.
#include "dialogs/CFieldMappingDlg.h"
#include "dialogs/terminal/StoreLabels.h"
#include "foundation/Strings.h"

namespace mb {

Question CFieldMappingDlg::question()
{
    const auto [one, two] = LabelStores(map_.name1, map_.database1, map_.name2, map_.database2);
    Question question;
    question.text = u"Which field goes with which: [x] is copied, [ ] is not.";
    question.help = LoadText(Text::HelpFieldMapping);
    question.tables.push_back({idList, {}, {one.place, two.place}});
    question.ask = u"A row's number checks the row, or takes its check away. m 3 5 moves the left field of row 3 to row 5.";
    question.answers.push_back({u's', u"save", u"keeps the fields as they stand here", [this] { press(idOk); }});
    question.answers.push_back({u'd', u"default", u"puts the fields that mean the same side by side", [this] { press(idReset); }});
    question.answers.push_back({u'q', u"cancel", u"leaves the map as it was", [this] { press(idCancel); }});
    question.chooseRow = [this](int list, int row) {
        const bool wanted = !model_[list].rows[static_cast<std::size_t>(row)].checked;
        checkRow(list, row, wanted);
        return model_[list].rows[static_cast<std::size_t>(row)].checked == wanted;
    };
    question.rowEffect = u"check row 3, or take its check away";
    question.rowRefusal = u"A row is mapped only if it has a field on each side, of the same type.";
    question.moveRow = [this](int list, int from, int to) {
        if (!beginDrag(list, from)) return false;
        drop(to);
        return true;
    };
    return question;
}

} // namespace mb
