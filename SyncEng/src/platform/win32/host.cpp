#include "host.h"

#include <windows.h>

#include <lmcons.h>
#include <oleauto.h>

#include <cstdio>

namespace platform {
namespace {

std::u16string units(const wchar_t* text, std::size_t length) { return {text, text + length}; }

std::filesystem::path pathOfModule(HMODULE module)
{
    for (std::wstring buffer(MAX_PATH, L'\0');; buffer.resize(buffer.size() * 2)) {
        const DWORD length = GetModuleFileNameW(module, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) return {};
        if (length == buffer.size()) continue; // truncated: retry with a larger buffer
        buffer.resize(length);
        return buffer;
    }
}

ClockTime clockOf(const SYSTEMTIME& t) noexcept
{
    return {t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, std::min<int>(t.wSecond, 59), t.wMilliseconds};
}

SYSTEMTIME systemTimeOf(const ClockTime& t) noexcept
{
    const auto word = [](int n) { return static_cast<WORD>(n); };
    return {word(t.year), word(t.month), 0, word(t.day), word(t.hour), word(t.minute), word(t.second), word(t.milliseconds)};
}

double automationDate(SYSTEMTIME t) noexcept
{
    t.wMilliseconds = 0;
    double date = 0;
    SystemTimeToVariantTime(&t, &date);
    return date;
}

} // namespace

std::filesystem::path executablePath() { return pathOfModule(nullptr); }

std::filesystem::path modulePathOf(const void* address)
{
    HMODULE module = nullptr;
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(flags, static_cast<LPCWSTR>(address), &module)) return {};
    return pathOfModule(module);
}

std::u16string userName()
{
    wchar_t name[UNLEN + 1];
    DWORD length = UNLEN + 1;
    return GetUserNameW(name, &length) && length > 0 ? units(name, length - 1) : std::u16string();
}

std::optional<std::u16string> environment(std::u16string_view name)
{
    const std::wstring wanted(name.begin(), name.end());
    std::wstring buffer(256, L'\0');
    for (;;) {
        SetLastError(ERROR_SUCCESS);
        const DWORD length = GetEnvironmentVariableW(wanted.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0 && GetLastError() != ERROR_SUCCESS) return std::nullopt;
        if (length < buffer.size()) return units(buffer.data(), length);
        buffer.resize(length);
    }
}

void setEnvironment(std::u16string_view name, std::u16string_view value)
{
    SetEnvironmentVariableW(std::wstring(name.begin(), name.end()).c_str(), std::wstring(value.begin(), value.end()).c_str());
}

const char16_t searchPathSeparator = u';';

std::uint32_t processId() noexcept { return GetCurrentProcessId(); }
std::uint32_t threadId() noexcept { return GetCurrentThreadId(); }

ClockTime localTime() noexcept
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    return clockOf(now);
}

ClockTime utcTime() noexcept
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    return clockOf(now);
}

double localNow() noexcept { return automationDate(systemTimeOf(localTime())); }
double utcNow() noexcept { return automationDate(systemTimeOf(utcTime())); }

std::u16string systemMessage(std::int32_t code)
{
    wchar_t text[1024];
    constexpr DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    DWORD length = FormatMessageW(flags, nullptr, static_cast<DWORD>(code), 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && text[length - 1] <= L' ') --length;
    if (length == 0) length = static_cast<DWORD>(std::swprintf(text, std::size(text), L"The error 0x%08X occurred.", code));
    return units(text, length);
}

std::u16string timeText(const ClockTime& time)
{
    const SYSTEMTIME t = systemTimeOf(time);
    wchar_t text[128];
    const int length = GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &t, nullptr, text, static_cast<int>(std::size(text)));
    return units(text, length > 0 ? static_cast<std::size_t>(length) - 1 : 0);
}

std::u16string dateText(const ClockTime& time)
{
    const SYSTEMTIME t = systemTimeOf(time);
    wchar_t text[128];
    const int length =
        GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &t, nullptr, text, static_cast<int>(std::size(text)), nullptr);
    return units(text, length > 0 ? static_cast<std::size_t>(length) - 1 : 0);
}

} // namespace platform
