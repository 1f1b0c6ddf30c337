// Shows of one changed contact the value that each field has now and the one it will get.
#pragma once
#include "dialogs/Dialog.h"
#include "dialogs/DialogTexts.h"
#include "interfaces.h"
#include "store/FieldData.h"

namespace mb {

// The contact that will be changed, on the side where it is.
struct ContactChange {
    ITranslator* translator = nullptr;
    GUID clsid{};
    std::u16string recordId;
    const FieldValueMap* values = nullptr;    // by the types of the side that they come from; may be null
    const FieldTypeMap* FieldTypes = nullptr; // from those to the types of this side
    bool SyncImages = false;
    std::u16string storeName{}; // as the run calls the store; the translator's short name where the run gives none
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
