// Lists each contact that a run will touch, one list a side, sortable by any column; of a changed one the fields can be seen.
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
    // The task of a row; null for a record that is not verified.
    [[nodiscard]] const PlannedTask* taskOf(int list, std::size_t row) const;
    // The side that the list's changes go to.
    [[nodiscard]] const PlannedSide& targetOf(int list) const noexcept { return list == idList1 ? changes_.side1 : changes_.side2; }
    // From the types of the values that come to the list's side to those of its fields.
    [[nodiscard]] const FieldTypeMap& typesFor(int list) const noexcept { return list == idList1 ? types21_ : types12_; }

private:
    void onPress(int button) override;
    void onSelect(int list, int row) override;
    void onClickHeader(int list, int column) override;
    void fillList(int list, const PlannedSide& own, const PlannedSide& other, const TranslatorFields& ownFields,
                  const TranslatorFields& otherFields);
    void addRow(int list, const TranslatorFields& source, const std::u16string& recordId, Text action, const PlannedTask* task);
    void addUnverified(const TranslatorFields& fields1, const TranslatorFields& fields2);
    void sort(Control& list) const;
    void viewChanges();

    const PlannedChanges& changes_;
    std::vector<const PlannedTask*> tasks_; // by the tag of a row
    FieldTypeMap types12_, types21_;
};

} // namespace mb
