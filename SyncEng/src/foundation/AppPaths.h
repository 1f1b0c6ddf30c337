// Finds installed contact programs through the App Paths key of the registry.
#pragma once
#include <string>
#include <string_view>

namespace mb {

// Returns whether the program is found; `path` is then its path. Quirk kept on purpose: a missing file is created, so a stale entry counts
// as found if its folder still exists.
bool FindAppPath(std::u16string_view exeName, std::u16string& path);
// Finds the first program whose name contains `namePart`, case-insensitive.
bool SearchAppPaths(std::u16string_view namePart, std::u16string& path);
// Finds the newest installed version.
bool FindGoldMine(std::u16string& path);

} // namespace mb
