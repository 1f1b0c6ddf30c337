// Display names for two stores of the same name.
#pragma once
#include <string>
#include <string_view>
#include <utility>

namespace mb {

// If both names are equal, appends to each the shortest part of its path that differs: "vCard (Contacts)", "vCard (export.vcf)". The names
// stay unchanged if they differ, or if a path is empty or both paths are equal.
void TellStoresApart(std::u16string& name1, std::u16string_view database1, std::u16string& name2, std::u16string_view database2);

// Returns the path without final separators; on Linux with "~" for the home folder.
std::u16string PlaceOf(std::u16string_view database);

// Returns the last part of each path, preceded by as many parts as it takes to make the two differ. Equal paths give equal results.
std::pair<std::u16string, std::u16string> ShortPlaces(std::u16string_view database1, std::u16string_view database2);

} // namespace mb
