// Lists of record identifiers by file, in a store file of their own. Adding does not save; taking out and closing do.
#pragma once
#include "store/StoreFile.h"

namespace mb {

class FilterStore {
public:
    // Makes the folder and the file where they are missing.
    HRESULT open();
    [[nodiscard]] const std::u16string& openFailure() const noexcept { return store_.openFailure(); }
    HRESULT add(std::u16string_view file, std::u16string_view recordId);
    // The identifier at the index, in the order in which they came; E_FAIL past the end.
    HRESULT at(std::u16string_view file, ULONG index, std::u16string& recordId);
    HRESULT remove(std::u16string_view file, std::u16string_view recordId);
    HRESULT removeFile(std::u16string_view file);
    HRESULT removeAll();
    HRESULT close() { return store_.Save(true); }

private:
    // The list that was enumerated last. It is as good as one read anew for as long as nothing is written, and spares a walk over all
    // identifiers for each of them.
    struct Listed {
        std::u16string file;
        std::vector<std::u16string> ids;
    };
    StoreFile store_;
    std::optional<Listed> listed_;
};

} // namespace mb
