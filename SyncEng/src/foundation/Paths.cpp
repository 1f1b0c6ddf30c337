#include "foundation/Paths.h"

#include "files.h"
#include "host.h"
#include "registry.h"
#include "text.h"
#include <fstream>

namespace mb {
namespace {

namespace fs = std::filesystem;

HRESULT ensureEach(fs::path& path, std::initializer_list<const char*> levels)
{
    for (const char* level : levels) {
        path /= level;
        const HRESULT hr = EnsureFolder(path, true);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

HRESULT applicationDataFolder(fs::path& path)
{
    path = platform::userDataFolder();
    if (path.empty()) return E_FAIL;
    (void)platform::createFolders(path); // the system's folder; a new account may lack it
    return ensureEach(path, {"Zorel", "MBSync"});
}

} // namespace

HRESULT EnsureFolder(const fs::path& path, bool create)
{
    std::error_code error;
    if (fs::is_directory(path, error)) return S_OK;
    return create && platform::createFolder(path) ? S_OK : E_FAIL;
}

HRESULT GetUserDataFolder(fs::path& path) { return SUCCEEDED(applicationDataFolder(path)) ? S_OK : GetLegacyUserFolder(path, true); }

HRESULT GetLegacyUserFolder(fs::path& path, bool create)
{
    const auto key = platform::RegistryKey::open(platform::Root::LocalMachine, u"Software\\Zorel\\MBSyncEng");
    const auto installed = key ? key->text(u"InstallPath") : std::nullopt;
    path = installed ? platform::pathOf(*installed) : platform::machineDataFolder();
    if (path.empty()) return E_FAIL;
    path /= "MBSync";
    if (FAILED(EnsureFolder(path, create))) return E_FAIL;
    if (const std::u16string user = platform::userName(); !user.empty()) path /= platform::pathOf(user);
    return EnsureFolder(path, create);
}

void MoveFolderFiles(const fs::path& from, const fs::path& to)
{
    if (platform::equalNoCase(platform::textOf(from), platform::textOf(to))) return;
    std::error_code error;
    for (fs::directory_iterator it(from, error), end; !error && it != end; it.increment(error)) {
        std::error_code failure;
        if (!it->is_regular_file(failure)) continue;
        // Delete only what was copied: this may be the only copy of a user's settings.
        if (!platform::copyReplacing(it->path(), to / it->path().filename())) fs::remove(it->path(), failure);
    }
}

std::optional<std::u16string> HostFolder()
{
    const auto key = platform::RegistryKey::open(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main");
    auto host = key ? key->text(u"Path") : std::nullopt;
    if (host) host->resize(host->find_last_of(u"\\/") + 1);
    return host;
}

bool FileHasContent(const fs::path& path)
{
    std::error_code error;
    const auto size = fs::file_size(path, error);
    return !error && size != 0 && std::ifstream(path).is_open();
}

} // namespace mb
