// The two conflict dialogs as questions.
#include "dialogs/CConflictDlg.h"
#include "dialogs/CDeleteConflictDlg.h"
#include "dialogs/MergeConflict.h"
#include "dialogs/terminal/StoreLabels.h"
#include "foundation/Format.h"
#include "foundation/Strings.h"

namespace mb {
namespace {

std::u16string subject(const ContactName& contact)
{
    const std::u16string name = contact.shortened();
    return name.empty() ? u"A contact without a name" : name;
}

std::u16string countText(LONG index, LONG total) { return total > 1 ? Format(u" (%d of %d)", index, total) : std::u16string(); }

std::u16string restText(LONG rest) { return rest == 1 ? std::u16string(u"the conflict") : Format(u"the %d conflicts", rest); }

// Appends the last answers of both dialogs. `touch` brings the dialog into a state in which the check box is enabled.
void addCommonAnswers(Question& question, Dialog& dialog, int box, LONG rest, std::function<void()> touch)
{
    const bool forAll = dialog.model().find(box)->checked;
    if (rest > 0) {
        std::u16string effect =
            forAll ? u"you are asked about each conflict again" : u"your answer also settles " + restText(rest) + u" after this";
        question.answers.push_back(
            {u'a', forAll ? u"only this one" : u"the same for all", std::move(effect), [&dialog, box, forAll, touch = std::move(touch)] {
                 touch();
                 dialog.check(box, !forAll);
             }});
    }
    question.answers.push_back({u'q', u"stop", u"ends the run; no contact is written", [&dialog] { dialog.press(idCancel); }});
}

std::u16string askText(std::u16string_view verb, bool forAll, LONG rest)
{
    return std::u16string(verb) + (forAll ? u", here and in " + restText(rest) + u" after this" : u"") + u":";
}

} // namespace

std::u16string CConflictDlg::heading() const
{
    const auto labels = LabelStores(name1_, question_.side1.database, name2_, question_.side2.database);
    const std::u16string count = countText(question_.ConflictIndex, question_.ConflictTotal);
    const std::u16string who = subject(contact1_);
    if (question_.FieldMapChanged) return who + u" has different values in the fields that were mapped anew" + count;
    if (!contact1_.sameAs(contact2_))
        return who + u" in " + labels.one.shortPlace + u" and " + contact2_.shortened() + u" in " + labels.two.shortPlace +
               (question_.FirstMeeting ? u" seem to be one contact, with different values" : u" are one contact, changed in both stores") +
               count;
    return who + (question_.FirstMeeting ? u" is in both stores, with different values" : u" was changed in both stores") + count;
}

Question CConflictDlg::question()
{
    const auto [one, two] = LabelStores(name1_, question_.side1.database, name2_, question_.side2.database);
    const LONG rest = question_.ConflictTotal - question_.ConflictIndex;
    const bool forAll = model_[idApplyToAll].checked;
    const auto settle = [this](int radio) {
        return [this, radio] {
            choose(radio);
            press(idOk);
        };
    };

    Question question;
    question.text = heading();
    question.help = LoadText(Text::HelpConflict);
    question.tables.push_back({idList, {}, {u"", u"1: " + one.place, u"2: " + two.place}, true, valueLines});
    question.ask = askText(u"Keep", forAll, rest);
    question.answers.push_back({u'b', u"both", u"as two contacts in each store; nothing is lost", settle(idDuplicate)});
    if (!forAll && MergeIsAvailable(question_))
        question.answers.push_back({u'm', u"field by field", u"you choose the value of each field",
                                    [this, name1 = one.shortPlace, name2 = two.shortPlace, merge = settle(idMerge)] {
                                        mergeName1_ = name1;
                                        mergeName2_ = name2;
                                        merge();
                                    }});
    question.answers.push_back({u'1', one.shortPlace, u"its values replace those in " + two.shortPlace, settle(idTrans1Wins)});
    question.answers.push_back({u'2', two.shortPlace, u"its values replace those in " + one.shortPlace, settle(idTrans2Wins)});
    addCommonAnswers(question, *this, idApplyToAll, rest, [this] { choose(idDuplicate); });
    return question;
}

Question CDeleteConflictDlg::question()
{
    const auto [changed, deleted] = LabelStores(changedName_, question_.survivor.database, deletedName_, question_.deletedDatabase);
    const LONG rest = question_.ConflictTotal - question_.ConflictIndex;
    const bool forAll = model_[idApplyToAll].checked;
    const auto settle = [this](int radio) {
        return [this, radio] {
            choose(radio);
            press(idOk);
        };
    };

    Question question;
    question.text = subject(contact_) + u" was changed in " + changed.shortPlace + u" and deleted in " + deleted.shortPlace +
                    countText(question_.ConflictIndex, question_.ConflictTotal);
    question.help = LoadText(Text::HelpDeleteConflict);
    question.tables.push_back({idList, {}, {u"", changed.place}, true, valueLines});
    question.ask = askText(u"Keep or delete", forAll, rest);
    question.answers.push_back({u'k', u"keep", u"the contact is added to " + deleted.shortPlace + u" again", settle(idAdd)});
    question.answers.push_back({u'd', u"delete", u"the contact is deleted in " + changed.shortPlace + u" too", settle(idDelete)});
    addCommonAnswers(question, *this, idApplyToAll, rest, [] {});
    return question;
}

} // namespace mb
