// Shows the current and the new value of each field of a changed contact.
#pragma once
#include "dialogs/Dialog.h"
#include "dialogs/DialogTexts.h"
#include "interfaces.h"
#include "store/FieldData.h"

namespace mb {

// A contact that a run will change, on the side that is written.
struct ContactChange {
    ITranslator* translator = nullptr;
    GUID clsid{};
    std::u16string recordId;
    // The new values, by field types of the other side; may be null. Of ftDetails the lines that go, behind "-", and come, behind "+".
    const FieldValueMap* values = nullptr;
    const FieldTypeMap* FieldTypes = nullptr; // from field types of the other side to those of this side
    bool SyncImages = false;
    std::u16string storeName{}; // the run's name for the store; if empty, the translator's short name is shown
    std::u16string database{};
};

class CChangeDetailsDlg final : public Dialog {
public:
    enum ControlId { idMessage = 219, idList = 220 };

    explicit CChangeDetailsDlg(ContactChange change) noexcept : change_(std::move(change)) {}
    void prepare() override;
    Question question() override;

private:
    void onPress(int button) override;
    void fillList(const TranslatorFields& fields);
    ContactChange change_;
    ContactName contact_;
};

} // namespace mb
