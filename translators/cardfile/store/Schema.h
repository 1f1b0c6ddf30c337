// The tables of a card file, made on request and brought up to date by one step a version.
#pragma once
#include "Database.h"

namespace mb::cardfile {

enum class FileKind { Card, Blank, Foreign, Later };

// Brings an older card file up to the present version; leaves any other file as it is.
[[nodiscard]] FileKind prepareFile(Database& database);
// Makes an empty file a card file, too.
[[nodiscard]] FileKind makeFile(Database& database);

} // namespace mb::cardfile
