#include "foundation/StartUp.h"

#include "files.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "registry.h"
#include "text.h"

namespace mb {
namespace {

using platform::RegistryKey;
using platform::Root;

constexpr char16_t settingsKey[] = u"Software\\Zorel\\MBSyncEng";
constexpr DWORD defaultLevel = 15, defaultSize = 1024;

// Returns the value. A missing value, or one of another type, is replaced by the default, also in the registry.
DWORD readOrWrite(const RegistryKey& key, const char16_t* name, DWORD otherwise)
{
    if (const auto value = key.number(name)) return *value;
    key.setNumber(name, otherwise);
    return otherwise;
}

void moveLegacyFiles(const std::filesystem::path& dataFolder)
{
    std::filesystem::path legacy;
    if (SUCCEEDED(GetLegacyUserFolder(legacy, false))) MoveFolderFiles(legacy, dataFolder);
}

// Whether the path contains "NAME.exe", or the file name is `name`, since Linux programs have no extension.
bool isNamed(const std::filesystem::path& executable, std::u16string_view name)
{
    return platform::lowered(platform::textOf(executable)).find(std::u16string(name) + u".exe") != std::u16string::npos ||
           platform::equalNoCase(platform::textOf(executable.filename()), name);
}

} // namespace

LogSettings ReadLogSettings()
{
    auto key = RegistryKey::open(Root::CurrentUser, settingsKey);
    if (!key && platform::createKeyPath(Root::CurrentUser, settingsKey)) key = RegistryKey::open(Root::CurrentUser, settingsKey);
    if (!key) return {};
    return {readOrWrite(*key, u"LoggingLevel", defaultLevel), readOrWrite(*key, u"MaxLogFileSize", defaultSize)};
}

bool hostIsConfigurationTool(const std::filesystem::path& executable) { return isNamed(executable, u"mbsynccfg"); }
bool hostIsContactProgram(const std::filesystem::path& executable) { return isNamed(executable, u"mb"); }

void ModuleStart::ensureStarted(const OpenStore& openConfigStore, const std::filesystem::path& host)
{
    const std::scoped_lock lock(oneAtATime_);
    if (ModuleStarted) return;
    const LogSettings settings = ReadLogSettings();
    LogLevelMask = settings.LoggingLevel;
    std::filesystem::path folder;
    if (FAILED(GetUserDataFolder(folder))) return;
    moveLegacyFiles(folder);
    platform::removeStaleTemporaries(folder);

    const bool tool = hostIsConfigurationTool(host);
    const std::filesystem::path store = folder / (tool ? "MBookCfg.xml" : "MBSync.xml");
    // The configuration tool's store becomes the host's first configuration. A host's existing configuration is never overwritten.
    if (!tool) (void)platform::copyFailingIfExists(folder / "MBookCfg.xml", store);
    if (LogLevelMask != 0) OpenLog(folder / (tool ? "MBookCfg.log" : "MBSync.log"), settings.MaxLogFileSize);
    const HRESULT hr = openConfigStore(store);
    if (SUCCEEDED(hr))
        ModuleStarted = true;
    else
        WriteLogResource(logFailures, Text::ConfigurationOpenFailed, hr, platform::textOf(store));
}

void ModuleStart::stop(const std::function<void()>& closeConfigStore)
{
    const std::scoped_lock lock(oneAtATime_);
    if (ModuleStarted) closeConfigStore();
    ModuleStarted = false;
    CloseLog();
}

} // namespace mb
