// The folders of the user's files.
#pragma once
#include "com.h"
#include <filesystem>
#include <optional>
#include <string>

namespace mb {

// Succeeds if the folder exists, or if `create` is set and the folder (one level) could be created.
HRESULT EnsureFolder(const std::filesystem::path& path, bool create);

// Returns DataFolder, Zorel/MBSync below the application data folder, and creates it. If that fails, returns the legacy folder.
HRESULT GetUserDataFolder(std::filesystem::path& path);

// Returns the folder of earlier versions: one per user below the installation.
HRESULT GetLegacyUserFolder(std::filesystem::path& path, bool create);

// Moves every plain file and replaces existing files. A file that cannot be copied stays.
void MoveFolderFiles(const std::filesystem::path& from, const std::filesystem::path& to);

// Returns the folder of the host's executable from the registry, with its final separator; nullopt if the registry does not name it.
std::optional<std::u16string> HostFolder();

// Returns whether the file can be read and is not empty.
bool FileHasContent(const std::filesystem::path& path);

} // namespace mb
