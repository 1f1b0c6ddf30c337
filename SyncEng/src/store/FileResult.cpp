#include "store/FileResult.h"

namespace mb {
namespace {

constexpr HRESULT win32(unsigned code) { return static_cast<HRESULT>(0x80070000u | code); }

} // namespace

HRESULT resultOf(const std::error_code& error) noexcept
{
    if (!error) return S_OK;
    if (error == std::errc::no_such_file_or_directory) return win32(2);
    if (error == std::errc::not_a_directory) return win32(3);
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted || error == std::errc::read_only_file_system)
        return E_ACCESSDENIED;
    if (error == std::errc::not_enough_memory) return E_OUTOFMEMORY;
    if (error == std::errc::no_space_on_device || error == std::errc::file_too_large) return win32(0x70);
    return E_FAIL;
}

HRESULT readingResultOf(const std::error_code& error) noexcept
{
    constexpr HRESULT readFault = win32(30), inUse = win32(32);
    if (error == std::errc::device_or_resource_busy) return inUse;
    const HRESULT hr = resultOf(error);
    return hr == E_FAIL ? readFault : hr;
}

} // namespace mb
