// Shows in a few lines what a run is about to write, and lets the user go on, look at the details, start over or cancel.
#pragma once
#include "dialogs/Dialog.h"
#include "dialogs/PlannedChanges.h"

namespace mb {

inline constexpr int idReSync = 3;

class CConfirmationDlg final : public Dialog {
public:
    enum ControlId { idHelp = 201, idViewDetails = 202, idSummary = 203, idInstructions = 217 };

    explicit CConfirmationDlg(const PlannedChanges& changes) noexcept : changes_(changes) {}
    void prepare() override;
    Question question() override;

private:
    void onPress(int button) override;
    const PlannedChanges& changes_;
};

// The text of the summary; empty if nothing that is to be confirmed is pending.
std::u16string SummaryText(const PlannedChanges& changes);

} // namespace mb
