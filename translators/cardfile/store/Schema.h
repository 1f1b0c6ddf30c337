// The tables of a card file, created on request and upgraded one version at a time.
#pragma once
#include "Database.h"

namespace mb::cardfile {

enum class FileKind { Card, Blank, Foreign, Later };

// Upgrades an older card file; leaves any other file unchanged. Returns the kind of the file.
[[nodiscard]] FileKind prepareFile(Database& database);
// As prepareFile(), but also turns an empty file into a card file.
[[nodiscard]] FileKind makeFile(Database& database);

} // namespace mb::cardfile
