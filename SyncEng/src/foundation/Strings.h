// The system's texts by name. SyncEng/res/strings.inc has their numbers, which language modules use.
#pragma once
#include <string>

namespace mb {

enum class Text : int {
#define STRING(id, name, text) name = id,
#include "strings.inc"
#undef STRING
};

// Returns the language module's text if there is one, otherwise the English text; empty for an unknown number.
std::u16string LoadText(Text id);

} // namespace mb
