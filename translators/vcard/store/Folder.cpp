// What a folder says on every platform.
#include "Folder.h"

namespace mb::vcard {

void Folder::failChanged(const std::string& name, const std::string& kept) const
{
    throw FileError("the file \"" + pathOf(name) + "\" was changed by another program" +
                        (kept.empty() ? "" : ", twice; what it held in between is kept as \"" + pathOf(kept) + "\""),
                    FileError::Why::Changed);
}

} // namespace mb::vcard
