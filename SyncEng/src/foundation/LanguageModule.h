// The resource module of the user's language, loaded once; its texts replace the English ones.
#pragma once
#include <filesystem>
#include <optional>
#include <string>

namespace mb {

// Returns the language code from the registry; "en" by default.
std::u16string GetUserLanguage();

// Returns the expected path of the user's language module; empty for English or if the folder is unknown. The folder is the installation's
// if the registry names one, otherwise that of the host's executable.
std::filesystem::path LocalizedModulePath(std::u16string_view fileName);

// Loads the module. If it is missing, the English texts remain.
void LoadLocalizedModule(std::u16string_view fileName);
void FreeLocalizedModule() noexcept;

std::optional<std::u16string> TextOfLanguageModule(int id);

// Returns the folder of the help file; nullopt if the host is not installed.
std::optional<std::u16string> GetHelpFolder();

} // namespace mb
