// Where a contact program is, as the registry's App Paths tell.
#pragma once
#include <string>
#include <string_view>

namespace mb {

// Wanted: a stale entry whose folder remains counts as found, and the file is made empty.
bool FindAppPath(std::u16string_view exeName, std::u16string& path);
// The first program whose name holds the text, ignoring case.
bool SearchAppPaths(std::u16string_view namePart, std::u16string& path);
// The newest of that program's versions.
bool FindGoldMine(std::u16string& path);

} // namespace mb
