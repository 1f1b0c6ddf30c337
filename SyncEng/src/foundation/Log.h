// The plain text log of the process. A line is written when its mask shares a bit with LogLevelMask; a caller that passes
// LogLevelMask itself is heard whenever the log is on. Failures of the log are reported to no one.
#pragma once
#include "com.h"
#include "foundation/Format.h"
#include <filesystem>

namespace mb {

// Bits: 1 progress, 4 failures, 8 text of ILogFile, 16 enumeration diagnostics. 0 until the start-up step has read it: log off.
inline DWORD LogLevelMask = 0;

void WriteLogList(DWORD levelMask, std::u16string_view format, std::initializer_list<FormatArgument> arguments);
void WriteLogResourceList(DWORD levelMask, int stringId, std::initializer_list<FormatArgument> arguments);

template <class... Args> void WriteLogText(DWORD levelMask, std::u16string_view format, const Args&... args)
{
    WriteLogList(levelMask, format, {FormatArgument(args)...});
}

template <class... Args> void WriteLogResource(DWORD levelMask, int stringId, const Args&... args)
{
    WriteLogResourceList(levelMask, stringId, {FormatArgument(args)...});
}

// Opens the log at its end, in place of the one that was open. A log that has reached the limit (in units of 1,024 bytes) is first
// copied beside itself, with ".old" before its ending, and emptied.
void OpenLog(const std::filesystem::path& file, DWORD maxLogFileSize);
// Writes the footer, if anything was ever written, and closes.
void CloseLog();
// Forgets that a header was written, as in a new process.
void ResetLog() noexcept;

} // namespace mb
