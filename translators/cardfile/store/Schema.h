// The tables of a card file, made at its first use and brought up to date by one step a version.
#pragma once
#include "Database.h"

namespace mb::cardfile {

enum class FileKind { Card, Foreign, Later };

// Makes the file a card file of the present version, if it is empty or an older card file; leaves any other as it is.
[[nodiscard]] FileKind prepareFile(Database& database);

} // namespace mb::cardfile
