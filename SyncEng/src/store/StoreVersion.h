// The version of a store's layout, an attribute of the document's root. A file without it is of version -1.
#pragma once
#include "com.h"
#include "xml.h"
#include <string_view>

namespace mb {

LONG versionOf(const platform::XmlElement& root);
// The version that the first element of a file announces, found without parsing the document. A later version may write what this one
// takes for damage, and must be told from damage.
LONG announcedVersion(std::string_view bytes);

} // namespace mb
