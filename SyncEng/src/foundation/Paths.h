// Where the user's files live.
#pragma once
#include "com.h"
#include <filesystem>
#include <optional>
#include <string>

namespace mb {

// The folder exists already, or create was asked for and it could be made: one level only.
HRESULT EnsureFolder(const std::filesystem::path& path, bool create);

// DataFolder: the application-data folder, Zorel, MBSync. Both levels are made. Where that fails, the legacy folder serves.
HRESULT GetUserDataFolder(std::filesystem::path& path);

// The folder of earlier versions: below the installation, one a user.
HRESULT GetLegacyUserFolder(std::filesystem::path& path, bool create);

// Moves every plain file; a file that is there already is replaced. A file that cannot be copied stays where it is.
void MoveFolderFiles(const std::filesystem::path& from, const std::filesystem::path& to);

// The folder of the host's executable as the registry tells it, up to and with its last separator; none if it does not.
std::optional<std::u16string> HostFolder();

// Whether the file can be opened and is not empty.
bool FileHasContent(const std::filesystem::path& path);

} // namespace mb
