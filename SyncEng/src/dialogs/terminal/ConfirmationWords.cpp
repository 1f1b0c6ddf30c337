// The confirmation dialogs as questions.
#include "dialogs/CChangeDetailsDlg.h"
#include "dialogs/CConfirmationDlg.h"
#include "dialogs/CDetailsDlg.h"
#include "dialogs/terminal/StoreLabels.h"
#include "foundation/FieldValue.h"
#include "foundation/Format.h"
#include "foundation/StoreNames.h"
#include "foundation/Strings.h"

namespace mb {
namespace {

constexpr std::size_t namedDeletions = 3;

StoreLabels labelsOf(const PlannedChanges& changes)
{
    return LabelStores(StoreNameOf(changes.side1.name, changes.side1.clsid), changes.side1.database,
                       StoreNameOf(changes.side2.name, changes.side2.clsid), changes.side2.database);
}

std::u16string contactText(const TranslatorFields& fields, const std::u16string& recordId)
{
    const std::u16string name = ReadContactName(fields, recordId, ftFirstName, ftLastName).shortened();
    if (!name.empty()) return name;
    const ContactName company = ReadContactName(fields, recordId, ftCompany, -1);
    return company.first.empty() ? u"no name" : company.shortened();
}

// Returns a text such as "1 deleted (Jo Doe)"; empty if nothing is deleted.
std::u16string deletionText(const PlannedSide& side)
{
    const TranslatorFields fields(side.translator);
    const auto count = static_cast<std::size_t>(side.counts.deletions);
    if (count == 0) return {};
    std::size_t named = 0;
    std::u16string names;
    for (const PlannedTask& task : side.tasks)
        if (task.isDeletion() && ++named <= namedDeletions) names += (names.empty() ? u"" : u", ") + contactText(fields, *task.recordId);
    if (count > namedDeletions) names += Format(u" and %d more", count - namedDeletions);
    return Format(u"%d deleted", count) + u" (" + names + u")";
}

// Returns a text such as "1 changed, 2 new, 1 deleted (Jo Doe)"; empty for a side that is not written. Unlike the window, it also counts
// what needs no confirmation.
std::u16string countsText(const PlannedSide& side)
{
    std::u16string text;
    const auto add = [&](const std::u16string& part) { text += (text.empty() || part.empty() ? u"" : u", ") + part; };
    if (side.counts.changes > 0) add(Format(u"%d changed", side.counts.changes));
    if (side.counts.additions > 0) add(Format(u"%d new", side.counts.additions));
    add(deletionText(side));
    return text;
}

} // namespace

Question CConfirmationDlg::question()
{
    const auto [one, two] = labelsOf(changes_);
    Question question;
    const std::u16string of = changes_.Categories ? u"Categories of " : u"";
    const auto addLine = [&](const std::u16string& line) { question.text += (question.text.empty() ? u"" : u"\n") + line; };
    if (const auto counts = countsText(changes_.side1); !counts.empty()) addLine(of + one.place + u": " + counts);
    if (const auto counts = countsText(changes_.side2); !counts.empty()) addLine(of + two.place + u": " + counts);
    if (changes_.UnverifiedRecords && !changes_.UnverifiedRecords->empty())
        addLine(Format(u"Left out, since not verified: %d new", changes_.UnverifiedRecords->size()));
    question.help = LoadText(Text::HelpSummary);
    question.ask = u"Write?";
    question.answers.push_back({u'n', u"no", u"ends the run; no contact is written", [this] { press(idCancel); }});
    question.answers.push_back({u'y', u"yes", u"writes this", [this] { press(idOk); }});
    question.answers.push_back({u'd', u"details", u"shows each contact first", [this] { press(idViewDetails); }});
    if (model_[idReSync].enabled)
        question.answers.push_back({u'r', u"start again", u"reads both stores anew, and then asks again", [this] { press(idReSync); }});
    return question;
}

Question CDetailsDlg::question()
{
    const auto [one, two] = labelsOf(changes_);
    const std::vector<std::u16string> headers{LoadText(Text::ActionColumn), LoadText(Text::FirstNameColumn), LoadText(Text::LastNameColumn),
                                              LoadText(Text::CompanyColumn)};
    Question question;
    question.text = u"What would be written";
    question.help = LoadText(Text::HelpDetails);
    question.tables.push_back({idList1, one.place, headers});
    question.tables.push_back({idList2, two.place, headers});
    question.answers.push_back({u'b', u"back", {}, [this] { press(idOk); }});
    question.chooseRow = [this](int list, int row) {
        select(list, row);
        if (!model_[idViewChanges].enabled) return false;
        press(idViewChanges);
        return true;
    };
    question.rowEffect = u"compare the fields of the contact in row 3";
    question.rowRefusal = u"Only a contact with the action \"" + LoadText(Text::ActionChange) + u"\" has fields to compare.";
    question.sortBy = [this](int column) {
        for (const int list : {idList1, idList2}) clickHeader(list, column);
    };
    return question;
}

Question CChangeDetailsDlg::question()
{
    const std::u16string name = contact_.joined();
    Question question;
    question.text = (name.empty() ? u"A contact without a name" : name) + u" in " +
                    (change_.database.empty() ? StoreNameOf(change_.storeName, change_.clsid) : PlaceOf(change_.database));
    question.help = LoadText(Text::HelpChangeDetails);
    question.tables.push_back({idList, {}, {u"", u"Now", u"New"}, true, valueLines});
    question.answers.push_back({u'b', u"back", {}, [this] { press(idOk); }});
    return question;
}

} // namespace mb
