#include "dialogs/CConfirmationDlg.h"

#include "dialogs/CDetailsDlg.h"
#include "dialogs/DialogTexts.h"
#include "foundation/Format.h"
#include "foundation/HelpTopic.h"
#include "foundation/Strings.h"
#include "translators/Cancelled.h"
#include "translators/TranslatorIds.h"

namespace mb {
namespace {

// Returns the counts of a side. What needs no confirmation counts as 0, although it will be written.
PlannedCounts confirmedCounts(const PlannedChanges& changes, const PlannedSide& side)
{
    return {changes.ConfirmAdds ? side.counts.additions : 0, changes.ConfirmUpdates ? side.counts.changes : 0,
            changes.ConfirmDeletes ? side.counts.deletions : 0};
}

std::u16string blockText(std::u16string_view from, std::u16string_view to, const PlannedCounts& counts)
{
    if (counts.additions + counts.changes + counts.deletions == 0) return {};
    std::u16string text = Format(LoadText(Text::ChangesWillBeApplied), from, to) + u"\r\n";
    const auto addLine = [&](LONG count, Text one, Text many) {
        if (count > 0) text += u"\t" + Format(LoadText(count == 1 ? one : many), count) + u"\r\n";
    };
    addLine(counts.additions, Text::Addition, Text::Additions);
    addLine(counts.changes, Text::Change, Text::Changes);
    addLine(counts.deletions, Text::Deletion, Text::Deletions);
    return text;
}

std::u16string unverifiedText(const PlannedChanges& changes, std::u16string_view name1, std::u16string_view name2)
{
    if (!changes.ConfirmAdds || !changes.UnverifiedRecords || changes.UnverifiedRecords->empty()) return {};
    const std::size_t count = changes.UnverifiedRecords->size();
    return Format(LoadText(Text::ChangesNotApplied), name1, name2) + u"\r\n\t" +
           Format(LoadText(count == 1 ? Text::UnverifiedAddition : Text::UnverifiedAdditions), count);
}

// Returns the translator's word for its kind of database.
std::u16string databaseLabel(const PlannedSide& side, std::u16string_view name)
{
    com::Bstr shortName, longName, label;
    const auto info = com::Ptr<ITranslator>(side.translator).tryAs<ITranslatorInfo>();
    if (info && SUCCEEDED(unlessCancelled(com::call(info, &ITranslatorInfo::GetInfo, shortName.put(), longName.put(), label.put()))))
        return label.text();
    return Format(LoadText(Text::DatabaseLabel),
                  name.empty() && side.clsid == lotusNotesTranslator ? LoadText(Text::NameNotes) : std::u16string(name));
}

} // namespace

std::u16string SummaryText(const PlannedChanges& changes)
{
    const std::u16string name1 = StoreNameOf(changes.side1.name, changes.side1.clsid),
                         name2 = StoreNameOf(changes.side2.name, changes.side2.clsid);
    const std::u16string first = blockText(name2, name1, confirmedCounts(changes, changes.side1));
    const std::u16string unverified = unverifiedText(changes, name1, name2);
    const std::u16string second = blockText(name1, name2, confirmedCounts(changes, changes.side2));
    if (first.empty() && unverified.empty() && second.empty()) return {};

    std::u16string text = Format(LoadText(Text::DatabaseLine), databaseLabel(changes.side1, name1), changes.side1.database) +
                          Format(LoadText(Text::DatabaseLine), databaseLabel(changes.side2, name2), changes.side2.database) + u"\r\n" +
                          first;
    if (!unverified.empty()) text += (first.empty() ? u"" : u"\r\n") + unverified;
    if (!second.empty()) text += (first.empty() && unverified.empty() ? u"" : u"\r\n\r\n") + second;
    return text;
}

void CConfirmationDlg::prepare()
{
    const std::u16string summary = SummaryText(changes_);
    if (summary.empty()) return end(idOk);
    model_.layout = DialogLayout::Confirmation;
    model_.caption = u"Confirm Changes";
    model_.help = LoadText(Text::HelpSummary);
    model_.add(idInstructions, ControlKind::Text, LoadText(Text::SummaryInstructions));
    model_.add(idSummary, ControlKind::Edit, summary);
    model_.addButton(idViewDetails, u"&View Details");
    model_.addButton(idOk, u"OK", ButtonRole::Default);
    model_.addButton(idReSync, u"&Re-Sync").enabled = changes_.AllowReSync;
    model_.addButton(idCancel, u"Cancel", ButtonRole::Cancel);
    model_.addButton(idHelp, u"&Help", ButtonRole::Help);
    model_.focus = idOk;
}

void CConfirmationDlg::onPress(int button)
{
    switch (button) {
    case idViewDetails: {
        CDetailsDlg details(changes_);
        (void)ShowDialog(details, window);
        return;
    }
    case idHelp: (void)ShowHelpTopic(window, helpConfirmation); return;
    case idOk:
    case idReSync:
    case idCancel: return end(button);
    }
}

} // namespace mb
