// Asks what becomes of a contact that was changed on one side and deleted on the other: it is added again, or deleted.
#pragma once
#include "dialogs/ConflictPrompt.h"
#include "dialogs/Dialog.h"

namespace mb {

class TranslatorFields;

class CDeleteConflictDlg final : public Dialog {
public:
    enum ControlId { idHelp = 207, idMessage = 209, idAdd = 212, idDelete = 213, idApplyToAll = 215, idList = 216, idCounter = 221 };

    // The answer goes into the question if the dialog ends with OK.
    explicit CDeleteConflictDlg(DeleteConflictQuestion& question) noexcept : question_(question) {}
    void prepare() override;

private:
    void onPress(int button) override;
    void fillList(const TranslatorFields& fields, std::u16string_view changedName, std::u16string_view deletedName);
    void takeAnswer();
    DeleteConflictQuestion& question_;
};

} // namespace mb
