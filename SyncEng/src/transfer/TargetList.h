// The targets that a host may offer for a transfer.
#pragma once
#include "com.h"
#include <vector>

namespace mb {

struct TransferTarget {
    std::u16string guid, name, path; // path of the target's program: see FindTranslatorProgram
    bool configurable = true, images = false;
};

// The registered translators but the host's own, in the order of their registration. The Lotus Notes translator is among them even if it
// is not registered, as long as its library is there. Without images nothing is asked about them. E_FAIL if there is none.
HRESULT ListTargets(bool withImages, const std::u16string& notesTranslatorPath, std::vector<TransferTarget>& targets);

} // namespace mb
