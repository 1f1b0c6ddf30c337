// Lets the user merge the two versions of a contact in the merge component, and turns what came back into what each side is to get.
#pragma once
#include "dialogs/ConflictPrompt.h"
#include <cstdint>

namespace mb {

// The name of the merge component.
inline constexpr char16_t mergeProgId[] = u"TwinWiz.CMergeDialog";

struct MergeNames {
    std::u16string name1, name2; // what the user is told the two stores as: the names of a run, in a terminal the places
};

// Turns an image from the form of one translator into that of another; see the foundation's image values.
using ImageConverter = std::int64_t (*)(com::Variant& value, ULONG sourceCaps, ULONG targetCaps, bool forceFlag);

// 0 if the user accepted, and the change maps then hold what is to be written; what else the component answered otherwise, and a
// failure where it could not be asked: the maps are as they were. Without a converter images take no part.
HRESULT MergeConflict(ConflictQuestion& question, HWND parent, const MergeNames& names, ImageConverter convert);

// Whether the merge component can be made and both translators tell their fields.
bool MergeIsAvailable(const ConflictQuestion& question);

} // namespace mb
