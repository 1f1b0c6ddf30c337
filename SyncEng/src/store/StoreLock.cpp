#include "store/StoreLock.h"

#include "files.h"
#include "foundation/Format.h"
#include "foundation/Paths.h"
#include "foundation/Strings.h"
#include "host.h"
#include "store/FileResult.h"

namespace mb {
namespace {

constexpr std::chrono::milliseconds longestChange = std::chrono::seconds(10);

std::u16string holderOf(const std::filesystem::path& file)
{
    std::u16string holder = platform::lockHolder(file);
    return holder.empty() ? LoadText(321) : holder;
}

bool mayGoWithout()
{
    const auto told = platform::environment(u"MB_WITHOUT_LOCKS");
    return told && !told->empty() && *told != u"0";
}

} // namespace

HRESULT StoreLock::takeMap(const GUID& map)
{
    std::filesystem::path file;
    const HRESULT hr = GetUserDataFolder(file);
    if (FAILED(hr)) return hr;
    file /= platform::pathOf(com::guidText(map) + u".lock");
    const std::error_code error = lock_.take(file);
    return settle(error, file, error == std::errc::device_or_resource_busy ? Format(LoadText(320), holderOf(file)) : std::u16string());
}

HRESULT StoreLock::takeConfiguration(const std::filesystem::path& store)
{
    std::filesystem::path file = store;
    file.replace_extension(".lock");
    const std::error_code error = lock_.take(file, longestChange);
    return settle(error, file,
                  error == std::errc::device_or_resource_busy ? Format(LoadText(322), platform::textOf(store), holderOf(file))
                                                              : std::u16string());
}

HRESULT StoreLock::settle(const std::error_code& error, const std::filesystem::path& file, std::u16string busy)
{
    failure_.clear();
    if (!error) return S_OK;
    if (!busy.empty()) {
        failure_ = std::move(busy);
        return codeInUse;
    }
    if (error == std::errc::no_lock_available) {
        if (mayGoWithout()) return S_OK;
        failure_ = Format(LoadText(323), platform::textOf(file));
        return codeNoLocks;
    }
    const HRESULT hr = resultOf(error);
    failure_ = Format(LoadText(324), platform::textOf(file), platform::systemMessage(hr));
    return hr;
}

} // namespace mb
