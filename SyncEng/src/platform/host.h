// The process this module runs in: its executable, its user, its environment, its clock.
#pragma once
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

std::filesystem::path executablePath();
// The library or program that holds the given function or object.
std::filesystem::path modulePathOf(const void* address);
std::u16string userName();
std::optional<std::u16string> environment(std::u16string_view name);
void setEnvironment(std::u16string_view name, std::u16string_view value);
// What stands between two folders of the search path.
extern const char16_t searchPathSeparator;
std::uint32_t processId() noexcept;
std::uint32_t threadId() noexcept;

struct ClockTime {
    int year, month, day, hour, minute, second, milliseconds;
};
ClockTime localTime() noexcept;
ClockTime utcTime() noexcept;

// The same as automation dates: days since 30 December 1899, whole seconds.
double localNow() noexcept;
double utcNow() noexcept;

// The system's own text for a result code, in the user's language where the system has it; never empty.
std::u16string systemMessage(std::int32_t code);

// A clock time in the short form of the user's locale.
std::u16string timeText(const ClockTime& time);
std::u16string dateText(const ClockTime& time);

} // namespace platform
