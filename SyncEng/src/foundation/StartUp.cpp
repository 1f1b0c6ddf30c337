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

// A value that is missing or of the wrong kind becomes the default, in the registry too.
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

// By its file's name anywhere in the path, or by the name alone on a system where programs have no ending.
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
    // What the configuration tool wrote serves as the host's first configuration, and is never written over it.
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
