#include "foundation/AppPaths.h"

#include "files.h"
#include "registry.h"
#include "text.h"

namespace mb {
namespace {

constexpr std::size_t longestPath = 259;
constexpr char16_t appPathsKey[] = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths";

bool programOpens(const std::u16string& exeName, std::u16string& path)
{
    const auto key = platform::RegistryKey::open(platform::Root::LocalMachine, std::u16string(appPathsKey) + u"\\" + exeName);
    const auto value = key ? key->text(u"") : std::nullopt;
    if (!value || value->empty() || value->size() > longestPath || !platform::openOrCreate(platform::pathOf(*value))) return false;
    path = *value;
    return true;
}

} // namespace

bool FindAppPath(std::u16string_view exeName, std::u16string& path)
{
    path.clear();
    return !exeName.empty() && programOpens(std::u16string(exeName), path);
}

bool SearchAppPaths(std::u16string_view namePart, std::u16string& path)
{
    path.clear();
    const auto key = platform::RegistryKey::open(platform::Root::LocalMachine, appPathsKey);
    if (!key) return false;
    const std::u16string wanted = platform::lowered(namePart);
    for (const std::u16string& name : key->subkeys())
        if (platform::lowered(name).find(wanted) != std::u16string::npos && programOpens(name, path)) return true;
    return false;
}

bool FindGoldMine(std::u16string& path)
{
    for (const char16_t* exeName : {u"gmw7.exe", u"gmw6.exe", u"gmw5.exe"})
        if (FindAppPath(exeName, path) && !path.empty()) return true;
    return SearchAppPaths(u"gmw", path) && !path.empty();
}

} // namespace mb
