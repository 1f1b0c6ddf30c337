// The plain text log of the process. A line is written when its mask shares a bit with LogLevelMask; a caller that passes
// LogLevelMask itself is heard whenever the log is on. Failures of the log are reported to no one.
#pragma once
#include "com.h"
#include "foundation/Format.h"
#include "foundation/Strings.h"
#include <filesystem>

namespace mb {

// The levels of a line.
inline constexpr DWORD logProgress = 1, logFailures = 4, logHostText = 8, logEnumeration = 16;

// The levels that are written; 0, which turns the log off, until the start-up step has read the setting.
inline DWORD LogLevelMask = 0;

void WriteLogList(DWORD levelMask, std::u16string_view format, std::initializer_list<FormatArgument> arguments);
void WriteLogResourceList(DWORD levelMask, Text id, std::initializer_list<FormatArgument> arguments);

template <class... Args> void WriteLogText(DWORD levelMask, std::u16string_view format, const Args&... args)
{
    WriteLogList(levelMask, format, {FormatArgument(args)...});
}

template <class... Args> void WriteLogResource(DWORD levelMask, Text id, const Args&... args)
{
    WriteLogResourceList(levelMask, id, {FormatArgument(args)...});
}

// Opens the log at its end, in place of the one that was open. A log that has reached the limit (in units of 1,024 bytes) is first
// copied beside itself, with ".old" before its ending, and emptied.
void OpenLog(const std::filesystem::path& file, DWORD maxLogFileSize);
// Writes the footer, if anything was ever written, and closes.
void CloseLog();
// Forgets that a header was written, as in a new process.
void ResetLog() noexcept;

} // namespace mb
