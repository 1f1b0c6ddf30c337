// The version of a store's layout: an attribute of the document's root, -1 if missing.
#pragma once
#include "com.h"
#include <string_view>

namespace mb {

// Of the attribute's text.
LONG versionFrom(std::string_view text);
// Returns the version in the first tag of a file without parsing the document. A later version may contain what this one would take for
// damage, so the version is checked first.
LONG announcedVersion(std::string_view bytes);

} // namespace mb
