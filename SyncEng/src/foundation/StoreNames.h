// Names for two stores that a text must tell apart.
#pragma once
#include <string>
#include <string_view>
#include <utility>

namespace mb {

// Adds the place of each store to two names that are equal, as short as tells the stores apart: "vCard (Contacts)", "vCard (export.vcf)".
// Names that differ stay, and so do those of stores whose places are not known or are the same.
void TellStoresApart(std::u16string& name1, std::u16string_view database1, std::u16string& name2, std::u16string_view database2);

// The database without a separator at its end, and with "~" for the user's home folder where the system has such a sign.
std::u16string PlaceOf(std::u16string_view database);

// The last part of each path, with as many parts before it as tell the two apart. Equal databases give equal texts.
std::pair<std::u16string, std::u16string> ShortPlaces(std::u16string_view database1, std::u16string_view database2);

} // namespace mb
