// The fields of a translator of the older contract: for each a GUID that was made up once and is kept in the configuration, and the
// id by which the translator knows it. Field maps name the GUIDs, so a second load must find those of the first.
#pragma once
#include "foundation/GuidLess.h"
#include "translators/OldContract.h"
#include <map>
#include <vector>

namespace mb {

class BridgeFields {
public:
    // Reads the table, or makes it where there is none yet. What cannot be read or fetched is left out.
    void load(IDataStream* settings, IOldFieldList* list);

    [[nodiscard]] LONG count() const noexcept { return static_cast<LONG>(fields_.size()); }
    [[nodiscard]] const VARIANT* idOf(REFGUID guid) const noexcept;
    // The field with this id; it is looked for at the index first, where it usually stands.
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
