#include "store/StoreLock.h"

#include "files.h"
#include "foundation/Format.h"
#include "foundation/Paths.h"
#include "foundation/Strings.h"
#include "host.h"
#include "store/FileResult.h"
#include "text.h"
#include <cstdio>

namespace mb {
namespace {

constexpr std::chrono::milliseconds longestChange = std::chrono::seconds(10);
constexpr char mayAskNote[] = "may ask";

std::u16string holderOf(const std::filesystem::path& file)
{
    std::u16string holder = platform::lockHolder(file);
    return holder.empty() ? LoadText(Text::AnotherProgram) : holder;
}

bool mayGoWithout()
{
    const auto told = platform::environment(u"MB_WITHOUT_LOCKS");
    return told && !told->empty() && *told != u"0";
}

} // namespace

std::u16string LockFileName(const ContactStore& store)
{
    const std::filesystem::path path = platform::pathOf(store.database);
    const std::u16string place = platform::lowered(path.is_absolute() ? platform::textOf(platform::canonicalPath(path))
                                                                      : com::guidText(store.translator) + store.database);
    std::uint64_t hash = 14695981039346656037u; // FNV-1a
    for (const char16_t c : place) hash = (hash ^ c) * 1099511628211u;
    char digits[20];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return u"store-" + platform::utf16(digits) + u".lock";
}

HRESULT StoreLock::takeMap(const GUID& map)
{
    std::filesystem::path file;
    const HRESULT hr = GetUserDataFolder(file);
    if (FAILED(hr)) return hr;
    file /= platform::pathOf(com::guidText(map) + u".lock");
    const std::error_code error = lock_.take(file);
    return settle(error, file,
                  error == std::errc::device_or_resource_busy ? Format(LoadText(Text::MapBusy), holderOf(file)) : std::u16string());
}

HRESULT StoreLock::takeStore(const ContactStore& store, bool mayAsk)
{
    std::filesystem::path file;
    const HRESULT hr = GetUserDataFolder(file);
    if (FAILED(hr)) return hr;
    file /= platform::pathOf(LockFileName(store));
    const std::error_code error = lock_.take(file, {}, mayAsk ? mayAskNote : "");
    const bool busy = error == std::errc::device_or_resource_busy;
    holderMayAsk_ = busy && platform::lockNote(file) == platform::utf16(mayAskNote);
    return settle(error, file, busy ? Format(LoadText(Text::StoreBusy), store.database, holderOf(file)) : std::u16string());
}

HRESULT StoreLock::takeConfiguration(const std::filesystem::path& store)
{
    std::filesystem::path file = store;
    file.replace_extension(".lock");
    const std::error_code error = lock_.take(file, longestChange);
    return settle(error, file,
                  error == std::errc::device_or_resource_busy
                      ? Format(LoadText(Text::ConfigurationBusy), platform::textOf(store), holderOf(file))
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
        failure_ = Format(LoadText(Text::NoFileLocks), platform::textOf(file));
        return codeNoLocks;
    }
    const HRESULT hr = resultOf(error);
    failure_ = Format(LoadText(Text::LockFailed), platform::textOf(file), platform::systemMessage(hr));
    return hr;
}

} // namespace mb
