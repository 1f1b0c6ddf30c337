// The host's card file treats a name or an address as one unit: touching one part loses the others. What the target held before
// the write is kept here, and what the write did not touch is put back.
#pragma once
#include "engine/FieldGroups.h"
#include "engine/PipelinePass.h"
#include <array>
#include <set>

namespace mb {

class HostUnits {
public:
    // Reads the three groups of the target record. Opens the record for reading and closes it again; ends the run where it cannot be
    // opened.
    void readBefore(PipelinePass& pass, Side target, BSTR targetId);
    void noteWritten(LONG targetType);
    // In each group that was written, writes the untouched parts back; a refusal is passed over.
    void restore(StoreClient& target, BSTR targetId) const;

private:
    struct Unit {
        FieldValueMap before;
        std::set<LONG> written;
    };
    std::array<Unit, std::size(fieldGroups)> units_;
    std::map<LONG, GUID> GroupFieldIds;
};

} // namespace mb
