// A picture for a contact: coloured rings that differ for each word.
#pragma once
#include <string>

namespace mbsamples {

// Writes a JPEG file. Throws a Problem if that fails.
void drawPicture(const std::string& file, const std::string& word);

} // namespace mbsamples
