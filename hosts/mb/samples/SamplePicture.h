// A picture for a contact: rings in colours of their own for each word.
#pragma once
#include <string>

namespace mbsamples {

// Writes a JPEG file; a Problem says if it cannot.
void drawPicture(const std::string& file, const std::string& word);

} // namespace mbsamples
