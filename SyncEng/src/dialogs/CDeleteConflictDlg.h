// Asks how to resolve a contact that was changed on one side and deleted on the other: it is added again, or deleted on both sides.
#pragma once
#include "dialogs/ConflictPrompt.h"
#include "dialogs/Dialog.h"
#include "dialogs/DialogTexts.h"

namespace mb {

class CDeleteConflictDlg final : public Dialog {
public:
    enum ControlId { idHelp = 207, idMessage = 209, idAdd = 212, idDelete = 213, idApplyToAll = 215, idList = 216, idCounter = 221 };

    // OK stores the answer in the question. Requires: `question` outlives the dialog.
    explicit CDeleteConflictDlg(DeleteConflictQuestion& question) noexcept : question_(question) {}
    void prepare() override;
    Question question() override;

private:
    void onPress(int button) override;
    void fillList(const TranslatorFields& fields);
    void takeAnswer();
    DeleteConflictQuestion& question_;
    std::u16string changedName_, deletedName_; // of the store that changed the contact, and of the store that deleted it
    ContactName contact_;
};

} // namespace mb
