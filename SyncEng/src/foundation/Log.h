// The process's log, a plain text file. A line is written if its mask shares a bit with LogLevelMask; a caller that passes LogLevelMask
// itself is logged whenever the log is on. Failures to write the log are ignored.
#pragma once
#include "com.h"
#include "foundation/Format.h"
#include "foundation/Strings.h"
#include <filesystem>

namespace mb {

// The levels of a line; logHostText is the text of ILogFile.
inline constexpr DWORD logProgress = 1, logFailures = 4, logHostText = 8, logEnumeration = 16;

// The levels that are written. 0 (log off) until the start-up step sets it.
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

// Opens the log for appending and closes the previous one. A log of at least maxLogFileSize (in units of 1,024 bytes) is first copied to a
// file whose name ends in ".old.log", and emptied.
void OpenLog(const std::filesystem::path& file, DWORD maxLogFileSize);
// Writes the footer, if a header was written, and closes the log.
void CloseLog();
// Makes the next line write a header again, as in a new process.
void ResetLog() noexcept;

} // namespace mb
