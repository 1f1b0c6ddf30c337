// Lets the user merge the two versions of a contact in the merge component, and puts the result into the question's change maps.
#pragma once
#include "dialogs/ConflictPrompt.h"
#include <cstdint>

namespace mb {

// The ProgID of the merge component.
inline constexpr char16_t mergeProgId[] = u"TwinWiz.CMergeDialog";

struct MergeNames {
    std::u16string name1, name2; // of the two stores, as the user sees them: names in a window, places in a terminal
};

// Converts an image between the forms that two translators support; see foundation/ImageValue.h.
using ImageConverter = std::int64_t (*)(com::Variant& value, ULONG sourceCaps, ULONG targetCaps, bool forceFlag);

// Returns 0 if the user accepted the merge; the change maps then hold the values to write. Otherwise the change maps are unchanged: it
// returns the component's answer, or a failure is returned or thrown. Without a converter, images are not merged.
HRESULT MergeConflict(ConflictQuestion& question, HWND parent, const MergeNames& names, ImageConverter convert);

// Whether the merge component can be created and both translators list their fields.
bool MergeIsAvailable(const ConflictQuestion& question);

} // namespace mb
