#include "foundation/LanguageModule.h"

#include "files.h"
#include "foundation/AppPaths.h"
#include "foundation/FieldValue.h"
#include "foundation/Paths.h"
#include "registry.h"
#include "string_module.h"
#include "text.h"

namespace mb {
namespace {

using platform::RegistryKey;
using platform::Root;

constexpr char16_t localeKey[] = u"Software\\Zorel\\Mirabook\\Locale";
constexpr char16_t english[] = u"en";

platform::StringModule& loadedModule()
{
    static platform::StringModule module;
    return module;
}

std::optional<RegistryKey> openLocale()
{
    auto key = RegistryKey::open(Root::CurrentUser, localeKey);
    return key ? key : RegistryKey::open(Root::LocalMachine, localeKey);
}

std::optional<std::u16string> installPath()
{
    const auto key = RegistryKey::open(Root::LocalMachine, u"Software\\Zorel\\MBSyncEng");
    return key ? key->text(u"InstallPath") : std::nullopt;
}

constexpr char16_t separator = static_cast<char16_t>(std::filesystem::path::preferred_separator);

std::u16string folderOfLanguage(std::u16string base, std::u16string_view language, std::u16string_view fileName)
{
    base += u"locale";
    base += separator;
    base += language;
    base += separator;
    base += fileName;
    return base;
}

} // namespace

std::u16string GetUserLanguage()
{
    const auto key = openLocale();
    return key ? key->text(u"DefaultLanguage").value_or(english) : english;
}

std::filesystem::path LocalizedModulePath(std::u16string_view fileName)
{
    const auto key = openLocale();
    const std::u16string code = key ? key->text(u"DefaultLanguage").value_or(u"") : u"";
    if (code.empty() || platform::equalNoCase(code, english)) return {};
    const std::u16string language = TrimFieldValue(code);
    // The code must not lead out of the folder.
    if (language.find_first_of(u"/\\") != std::u16string::npos || language == u"..") return {};

    if (const auto installed = installPath())
        return platform::pathOf(folderOfLanguage(TrimFieldValue(*installed) + separator, language, fileName));
    std::u16string host;
    if (!FindAppPath(u"mb.exe", host)) return {};
    host = TrimFieldValue(host);
    const std::size_t at = platform::lowered(host).find(u"mb.exe");
    if (at == std::u16string::npos || at == 0) return {};
    return platform::pathOf(folderOfLanguage(host.substr(0, at), language, fileName));
}

void LoadLocalizedModule(std::u16string_view fileName)
{
    const auto path = LocalizedModulePath(fileName);
    loadedModule() = path.empty() ? platform::StringModule() : platform::StringModule(path);
}

void FreeLocalizedModule() noexcept { loadedModule() = platform::StringModule(); }

std::optional<std::u16string> TextOfLanguageModule(int id) { return loadedModule().text(id); }

std::optional<std::u16string> GetHelpFolder()
{
    std::u16string language = english, folderName = u"Locale";
    if (const auto key = openLocale()) {
        language = key->text(u"DefaultLanguage").value_or(language);
        folderName = key->text(u"LocaleDir").value_or(folderName);
    }
    const auto hostFolder = HostFolder();
    if (!hostFolder) return std::nullopt;
    std::u16string folder = *hostFolder;
    if (folder.empty() || (folder.back() != u'\\' && folder.back() != separator)) folder += separator;
    if (!folderName.empty()) folder += folderName + separator;
    if (!language.empty()) folder += language + separator;
    return folder;
}

} // namespace mb
