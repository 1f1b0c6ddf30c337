// The calendar of automation dates, which count the days since 30 December 1899.
#pragma once
#include <chrono>

namespace platform {

inline constexpr std::chrono::sys_days automationEpoch = std::chrono::year{1899} / 12 / 30;

constexpr std::chrono::days::rep automationDay(std::chrono::sys_days day) noexcept { return (day - automationEpoch).count(); }

constexpr std::chrono::year_month_day calendarDay(std::chrono::days::rep automationDay) noexcept
{
    return automationEpoch + std::chrono::days(automationDay);
}

} // namespace platform
