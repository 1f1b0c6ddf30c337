// The resource module of the user's language, found once at load: its texts take the place of the English ones.
#pragma once
#include <filesystem>
#include <optional>
#include <string>

namespace mb {

// The language code from the registry, "en" where there is none.
std::u16string GetUserLanguage();

// Where the module of the user's language should lie; empty for English and where nothing tells. The folder that the installation
// names is the only one tried if it names one; else the one beside the host's executable.
std::filesystem::path LocalizedModulePath(std::u16string_view fileName);

// Loads the module; without one the English texts serve.
void LoadLocalizedModule(std::u16string_view fileName);
void FreeLocalizedModule() noexcept;

std::optional<std::u16string> TextOfLanguageModule(int id);

// The folder of the help file; none if the host is not installed.
std::optional<std::u16string> GetHelpFolder();

} // namespace mb
