// Lets the user edit a field map. Each row shows a field of each translator and is checked if they are mapped. Dragging a field of the left
// column to another row swaps the two left fields. Reset and OK change the configuration store; Cancel undoes Reset.
#pragma once
#include "dialogs/Dialog.h"
#include "interfaces.h"
#include <filesystem>
#include <utility>
#include <vector>

namespace mb {

// The map whose field map is edited.
struct TrMapRecord {
    GUID guid{}, Translator1Clsid{}, Translator2Clsid{};
    std::u16string name1, name2, database1, database2;
};

class CFieldMappingDlg final : public Dialog {
public:
    enum ControlId { idInstructions = -1, idHelp = 1034, idList = 1038, idReset = 1039 };

    CFieldMappingDlg(TrMapRecord map, bool setFlagForHistory) : map_(std::move(map)), SetFlagForHistory(setFlagForHistory) {}
    void prepare() override;
    Question question() override;
    // The result of writing on OK or Cancel.
    [[nodiscard]] HRESULT result() const noexcept { return result_; }

private:
    struct Field {
        GUID guid{};
        std::u16string name;
        LONG dataType = 0;
    };
    struct Row { // indices of fields; -1 for none
        int left = -1, right = -1;
    };
    using Pair = std::pair<GUID, GUID>;

    void onPress(int button) override;
    void onCheckRow(int list, int row, bool on) override;
    bool onBeginDrag(int list, int row) override;
    void onDrop(int row) override;

    void fill(bool initial);
    bool loadFields(ITranslator* translator, _TransIds side, std::vector<Field>& fields) const;
    [[nodiscard]] std::vector<Pair> readPairs(ITranslator* translator1, ITranslator* translator2) const;
    void placeFields(const std::vector<Pair>& pairs);
    void showRow(std::size_t row, bool checked);
    void refuse(const Field& one, const Field& other);
    [[nodiscard]] bool canMap(const Row& row) const;

    void reset();
    HRESULT save();
    HRESULT writeRows(const GUID& fresh, bool& changed);
    HRESULT markHistory() const;
    HRESULT restore() const;

    TrMapRecord map_;
    bool SetFlagForHistory;
    GUID FieldMapGuid{};
    com::Ptr<ITrMap> maps_;
    com::Ptr<IFieldMap> fieldMaps_;
    std::vector<Field> Fields1, Fields2;
    std::vector<Row> rows_; // parallel to the rows of the list
    std::vector<Pair> OpeningPairs;
    std::u16string NoFieldText;
    bool ResetDone = false;
    bool loaded_ = false; // the fields of both sides were loaded; otherwise OK must not write, or it would unmap fields that are not shown
    int DragRow = -1;
    HRESULT result_ = S_OK;
};

// Returns the sections of the map's history to mark when the field map changed. If `host` is the contact program, the section is named
// after the databases.
std::vector<std::u16string> SectionsToMark(const TrMapRecord& map, const std::filesystem::path& host);

// Returns the name of a data type for messages, or its number if it has no name.
std::u16string DataTypeText(LONG dataType);

// Shows the dialog for a map. Returns S_FALSE if the user cancelled it, E_ABORT if a translator reported a cancel.
HRESULT EditFieldMapping(HWND parent, REFGUID map, bool setFlagForHistory);

} // namespace mb
