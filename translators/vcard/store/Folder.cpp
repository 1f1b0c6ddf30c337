// The part of Folder that is the same on every platform.
#include "Folder.h"

namespace mb::vcard {

void Folder::failChanged(const std::string& name, const std::string& kept) const
{
    throw FileError("the file \"" + pathOf(name) + "\" was changed by another program" +
                        (kept.empty() ? "" : ", twice; its content in between is kept as \"" + pathOf(kept) + "\""),
                    FileError::Why::Changed);
}

} // namespace mb::vcard
