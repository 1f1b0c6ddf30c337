// The system's texts by name. Their numbers, which language modules use, stand in SyncEng/res/strings.inc.
#pragma once
#include <string>

namespace mb {

enum class Text : int {
#define STRING(id, name, text) name = id,
#include "strings.inc"
#undef STRING
};

// Returns the text of the loaded language module if it has one, else the English text; the empty text for a number outside the table.
std::u16string LoadText(Text id);

} // namespace mb
