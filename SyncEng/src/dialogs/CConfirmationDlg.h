// Shows a summary of what a run is about to write. The user continues, views the details, starts the run over or cancels it.
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

// Returns the text of the summary; empty if nothing needs confirmation.
std::u16string SummaryText(const PlannedChanges& changes);

} // namespace mb
