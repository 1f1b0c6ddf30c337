// Makes the translator of Lotus Notes loadable: its program's folder on the search path, its library registered.
#pragma once
#include <string>

namespace mb {

// Adds the folder of the program to the process's search path; nothing if the program is not installed.
void AddNotesFolderToPath();

// Registers the library beside the host's executable and gives its path, whether or not that worked. Only its bare name if no one
// knows where the host lies.
std::u16string RegisterNotesTranslator();

} // namespace mb
