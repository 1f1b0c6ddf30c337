// The current process: its executable, user, environment and clock.
#pragma once
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

std::filesystem::path executablePath();
// Returns the library or program that contains the function or object at `address`.
std::filesystem::path modulePathOf(const void* address);
std::u16string userName();
std::optional<std::u16string> environment(std::u16string_view name);
void setEnvironment(std::u16string_view name, std::u16string_view value);
// The character that separates folders in the search path.
extern const char16_t searchPathSeparator;
std::uint32_t processId() noexcept;
std::uint32_t threadId() noexcept;

struct ClockTime {
    int year, month, day, hour, minute, second, milliseconds;
};
ClockTime localTime() noexcept;
ClockTime utcTime() noexcept;

// The same times as automation dates: days since 30 December 1899, in whole seconds.
double localNow() noexcept;
double utcNow() noexcept;

// Returns the system's text for a result code, in the user's language if the system has one; never empty.
std::u16string systemMessage(std::int32_t code);

// A time or date in the short format of the user's locale.
std::u16string timeText(const ClockTime& time);
std::u16string dateText(const ClockTime& time);

} // namespace platform
