// Lists each contact that a run will write, in one list for each side, sortable by any column. A changed contact's fields can be viewed.
#pragma once
#include "dialogs/Dialog.h"
#include "dialogs/DialogTexts.h"
#include "dialogs/PlannedChanges.h"
#include "foundation/Strings.h"

namespace mb {

class CDetailsDlg final : public Dialog {
public:
    enum ControlId { idTitle1 = 204, idList1 = 205, idTitle2 = 206, idList2 = 208, idViewChanges = 218 };

    explicit CDetailsDlg(const PlannedChanges& changes) noexcept : changes_(changes) {}
    void prepare() override;
    Question question() override;
    // Returns the task of a row; null for an unverified record.
    [[nodiscard]] const PlannedTask* taskOf(int list, std::size_t row) const;
    // Returns the side that the list's changes are written to.
    [[nodiscard]] const PlannedSide& targetOf(int list) const noexcept { return list == idList1 ? changes_.side1 : changes_.side2; }
    // Returns the map from field types of the other side to those of the list's side.
    [[nodiscard]] const FieldTypeMap& typesFor(int list) const noexcept { return list == idList1 ? types21_ : types12_; }

private:
    void onPress(int button) override;
    void onSelect(int list, int row) override;
    void onClickHeader(int list, int column) override;
    void fillList(int list, const PlannedSide& side, const TranslatorFields& ownFields, const TranslatorFields& otherFields);
    void addRow(int list, const TranslatorFields& source, const std::u16string& recordId, Text action, const PlannedTask* task);
    void addUnverified(const TranslatorFields& fields1, const TranslatorFields& fields2);
    void sort(Control& list) const;
    void viewChanges();

    const PlannedChanges& changes_;
    std::vector<const PlannedTask*> tasks_; // indexed by ListRow::tag
    FieldTypeMap types12_, types21_;
};

} // namespace mb
