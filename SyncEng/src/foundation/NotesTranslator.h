// Makes the translator of Lotus Notes loadable: adds the program's folder to the search path and registers the translator's library.
#pragma once
#include <string>

namespace mb {

// Adds the program's folder to the process's search path if the program is installed.
void AddNotesFolderToPath();

// Registers the library in the host's folder. Returns its path, even if registration failed; only the file name if the host's folder is
// unknown.
std::u16string RegisterNotesTranslator();

} // namespace mb
