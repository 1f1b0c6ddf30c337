#include "host.h"

#include "automation_date.h"
#include "text.h"
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <link.h>
#include <pwd.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace platform {
namespace {

ClockTime now(tm* (*convert)(const time_t*, tm*)) noexcept
{
    timespec moment{};
    clock_gettime(CLOCK_REALTIME, &moment);
    tm parts{};
    convert(&moment.tv_sec, &parts);
    return {parts.tm_year + 1900,
            parts.tm_mon + 1,
            parts.tm_mday,
            parts.tm_hour,
            parts.tm_min,
            std::min(parts.tm_sec, 59),
            static_cast<int>(moment.tv_nsec / 1'000'000)};
}

double automationDate(const ClockTime& t) noexcept
{
    const std::chrono::year_month_day day{std::chrono::year{t.year}, std::chrono::month{static_cast<unsigned>(t.month)},
                                          std::chrono::day{static_cast<unsigned>(t.day)}};
    return static_cast<double>(automationDay(day)) + (t.hour * 3600 + t.minute * 60 + t.second) / 86400.0;
}

std::u16string formatted(const char* format, const ClockTime& time)
{
    // The user's locale, without changing the process's locale.
    static const locale_t user = newlocale(LC_TIME_MASK, "", nullptr);
    tm parts{};
    parts.tm_year = time.year - 1900;
    parts.tm_mon = time.month - 1;
    parts.tm_mday = time.day;
    parts.tm_hour = time.hour;
    parts.tm_min = time.minute;
    parts.tm_sec = time.second;
    (void)timegm(&parts); // sets the day of the week and of the year
    char buffer[128];
    const std::size_t n =
        user ? strftime_l(buffer, sizeof buffer, format, &parts, user) : std::strftime(buffer, sizeof buffer, format, &parts);
    return utf16({buffer, n});
}

struct CodeText {
    std::uint32_t code;
    const char16_t* text;
};

// Texts for result codes that a run can return and that no other source describes.
constexpr CodeText codeTexts[] = {
    {0x80004001, u"The operation is not implemented."},
    {0x80004002, u"The component does not offer the interface that is needed."},
    {0x80004003, u"A pointer is missing."},
    {0x80004004, u"The operation was cancelled."},
    {0x80004005, u"An error that was not further described occurred."},
    {0x8000FFFF, u"An unexpected failure occurred."},
    {0x80070002, u"The file was not found."},
    {0x80070003, u"The folder was not found."},
    {0x80070005, u"Access is denied."},
    {0x8007000E, u"There is not enough memory."},
    {0x8007001E, u"The system could not read it."},
    {0x80070020, u"The file is in use by another process."},
    {0x80070057, u"A parameter is wrong."},
    {0x80070070, u"There is not enough space on the disk."},
    {0x80070519, u"The file was written by a later version of the program."},
    {0x80040110, u"The class does not support aggregation."},
    {0x80040111, u"The library does not offer the class that was asked for."},
    {0x80040154, u"The class is not registered."},
    {0x800401F3, u"The text is no class identifier."},
    {0x800401F8, u"The library of the class was not found."},
    {0x800401F9, u"The library of the class is not of a usable kind."},
};

} // namespace

std::filesystem::path executablePath()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

std::filesystem::path modulePathOf(const void* address)
{
    Dl_info info{};
    link_map* module = nullptr;
    if (!::dladdr1(address, &info, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP) || !info.dli_fname) return {};
    // The loader stores no name for the program itself, and dladdr returns the name as it was typed.
    if (module && !*module->l_name) return executablePath();
    std::error_code error;
    auto path = std::filesystem::absolute(info.dli_fname, error);
    return error ? std::filesystem::path(info.dli_fname) : path;
}

std::u16string userName()
{
    std::vector<char> buffer(4096);
    passwd entry{}, *found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found) return utf16(found->pw_name);
    const char* user = std::getenv("USER");
    return user ? utf16(user) : std::u16string();
}

std::optional<std::u16string> environment(std::u16string_view name)
{
    const char* value = std::getenv(utf8(name).c_str());
    return value ? std::optional(utf16(value)) : std::nullopt;
}

void setEnvironment(std::u16string_view name, std::u16string_view value) { ::setenv(utf8(name).c_str(), utf8(value).c_str(), 1); }
const char16_t searchPathSeparator = u':';

std::uint32_t processId() noexcept { return static_cast<std::uint32_t>(::getpid()); }
std::uint32_t threadId() noexcept { return static_cast<std::uint32_t>(::syscall(SYS_gettid)); }

ClockTime localTime() noexcept { return now(::localtime_r); }
ClockTime utcTime() noexcept { return now(::gmtime_r); }
double localNow() noexcept { return automationDate(localTime()); }
double utcNow() noexcept { return automationDate(utcTime()); }

std::u16string systemMessage(std::int32_t code)
{
    const auto wanted = static_cast<std::uint32_t>(code);
    for (const CodeText& entry : codeTexts)
        if (entry.code == wanted) return entry.text;
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "The error 0x%08X occurred.", wanted);
    return utf16(buffer);
}

std::u16string timeText(const ClockTime& time) { return formatted("%X", time); }
std::u16string dateText(const ClockTime& time) { return formatted("%x", time); }

} // namespace platform
