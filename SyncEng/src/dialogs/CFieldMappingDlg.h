// Lets the user say which field of one translator goes with which of the other: a row a pair, checked if it is mapped. A field of the
// left column is dragged to another row, and the two change places. The store changes on Reset and on OK; Cancel undoes Reset.
#pragma once
#include "dialogs/Dialog.h"
#include "interfaces.h"
#include <filesystem>
#include <utility>
#include <vector>

namespace mb {

// The map that is edited, as far as the dialog needs it.
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
    // Of what OK or Cancel wrote.
    [[nodiscard]] HRESULT result() const noexcept { return result_; }

private:
    struct Field {
        GUID guid{};
        std::u16string name;
        LONG dataType = 0;
    };
    struct Row { // numbers of fields; -1 for none
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
    std::vector<Row> rows_; // in step with the list's
    std::vector<Pair> OpeningPairs;
    std::u16string NoFieldText;
    bool ResetDone = false;
    bool loaded_ = false; // both sides' fields are known: else nothing may be written, for it would unmap what is not shown
    int DragRow = -1;
    HRESULT result_ = S_OK;
};

// The sections of the map's history that learn of a changed field map. The contact program keeps its histories by database.
std::vector<std::u16string> SectionsToMark(const TrMapRecord& map, const std::filesystem::path& host);

// The label of a data type in messages: its name, or its number.
std::u16string DataTypeText(LONG dataType);

// Shows the dialog for a map; S_FALSE if the user cancelled.
HRESULT EditFieldMapping(HWND parent, REFGUID map, bool setFlagForHistory);

} // namespace mb
