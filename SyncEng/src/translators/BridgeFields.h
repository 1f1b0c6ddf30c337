// The fields of a translator of the older contract: for each field the translator's own id and a GUID that the engine generated. The GUIDs
// are kept in the configuration, because field maps refer to them: every load of the translator must return the same GUIDs.
#pragma once
#include "foundation/GuidLess.h"
#include "translators/OldContract.h"
#include <map>
#include <vector>

namespace mb {

class BridgeFields {
public:
    // Reads the table from `settings`, or makes it from `list` and stores it if there is none. Fields that cannot be read are left out.
    void load(IDataStream* settings, IOldFieldList* list);

    [[nodiscard]] LONG count() const noexcept { return static_cast<LONG>(fields_.size()); }
    [[nodiscard]] const VARIANT* idOf(REFGUID guid) const noexcept;
    // Returns the GUID of the field with this id, or nullptr. Compares the field at `index` first, which usually matches.
    [[nodiscard]] const GUID* guidOf(const VARIANT& id, LONG index) const noexcept;

private:
    struct Field {
        GUID guid;
        com::Variant id;
    };
    bool read(IDataStream* settings);
    void make(IDataStream* settings, IOldFieldList* list);
    void add(const GUID& guid, com::Variant id);

    std::vector<Field> fields_; // in the order of the table
    std::map<GUID, std::size_t, GuidLess> places_;
};

} // namespace mb
