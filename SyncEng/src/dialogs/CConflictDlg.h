// Asks how to resolve a contact that was changed on both sides: one side wins, both contacts are kept, or the user merges them.
#pragma once
#include "dialogs/ConflictPrompt.h"
#include "dialogs/Dialog.h"
#include "dialogs/DialogTexts.h"

namespace mb {

class TranslatorFields;

class CConflictDlg final : public Dialog {
public:
    enum ControlId {
        idHelp = 207,
        idMessage = 209,
        idDuplicate = 210,
        idTrans1Wins = 212,
        idTrans2Wins = 213,
        idMerge = 214,
        idApplyToAll = 215,
        idList = 216,
        idCounter = 221
    };

    // prepare() fills the question's lists of conflicting fields. OK stores the answer in it. Requires: `question` outlives the dialog.
    explicit CConflictDlg(ConflictQuestion& question) noexcept : question_(question) {}
    void prepare() override;
    Question question() override;

private:
    void onPress(int button) override;
    void onChoose(int radio) override;
    [[nodiscard]] ContactName nameOnSide2(const TranslatorFields& fields) const;
    [[nodiscard]] std::u16string message() const;
    [[nodiscard]] std::u16string heading() const;
    void addControls(std::u16string_view messageText);
    void preselect();
    void fillList(const TranslatorFields& fields1, const TranslatorFields& fields2);
    void accept();
    ConflictQuestion& question_;
    std::u16string name1_, name2_;           // of the two stores
    std::u16string mergeName1_, mergeName2_; // of the two stores in the merge
    ContactName contact1_, contact2_;
};

} // namespace mb
