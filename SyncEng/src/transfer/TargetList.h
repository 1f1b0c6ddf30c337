// The targets that a host may offer for a transfer.
#pragma once
#include "com.h"
#include <vector>

namespace mb {

struct TransferTarget {
    std::u16string guid, name, path; // path of the target's program: see FindTranslatorProgram
    bool configurable = true, images = false;
};

// Lists the registered translators except the host's own, in registration order. Then adds the Lotus Notes translator if it is missing but
// its library exists. `withImages`: also asks which translators support images. Returns E_FAIL if no translator but the host's is
// registered.
HRESULT ListTargets(bool withImages, const std::u16string& notesTranslatorPath, std::vector<TransferTarget>& targets);

} // namespace mb
