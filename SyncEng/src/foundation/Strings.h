// The system's texts by number: from the language module where one is loaded and has the text, else the English ones.
#pragma once
#include <string>

namespace mb {

// The empty text for a number that no table knows.
std::u16string LoadText(int id);

} // namespace mb
