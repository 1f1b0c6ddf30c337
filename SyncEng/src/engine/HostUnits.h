// The host's card file stores a name or an address as one unit: writing one part clears the others. This class keeps the parts that the
// target had before the write, and writes the untouched ones back.
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
    // Writes the untouched parts of each written group back. A refusal is ignored.
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
