// Lists of record identifiers, one for each file name, in a store file of their own. add() does not save; the removals and close() do.
#pragma once
#include "store/StoreFile.h"

namespace mb {

class FilterStore {
public:
    // Creates the folder and the file if they are missing.
    HRESULT open();
    [[nodiscard]] const std::u16string& openFailure() const noexcept { return store_.openFailure(); }
    HRESULT add(std::u16string_view file, std::u16string_view recordId);
    // Returns the identifier at `index`, in insertion order; E_FAIL past the end.
    HRESULT at(std::u16string_view file, ULONG index, std::u16string& recordId);
    HRESULT remove(std::u16string_view file, std::u16string_view recordId);
    HRESULT removeFile(std::u16string_view file);
    HRESULT removeAll();
    HRESULT close() { return store_.Save(true); }

private:
    // Cache of the list that at() read last, so that an enumeration reads the list only once. Every change clears it.
    struct Listed {
        std::u16string file;
        std::vector<std::u16string> ids;
    };
    StoreFile store_;
    std::optional<Listed> listed_;
};

} // namespace mb
