#include "foundation/Log.h"

#include "console_text.h"
#include "files.h"
#include "foundation/Strings.h"
#include "host.h"
#include "text.h"
#include <cstdio>

namespace mb {
namespace {

constexpr std::size_t longestLine = 32768;
constexpr char16_t headerLine[] = u"\r\n\r\n-------------------------------------------------------------------\r\n";

platform::AppendFile LogFileHandle;
bool LogHeaderWritten = false; // set by the process's first line, even if that line reached no file

// Fixed formats in every locale: HH:MM:SS and MM/DD/YY.
std::u16string clockText(const platform::ClockTime& t)
{
    char buffer[16];
    const int n = std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d", t.hour, t.minute, t.second);
    return {buffer, buffer + n};
}

std::u16string calendarText(const platform::ClockTime& t)
{
    char buffer[16];
    const int n = std::snprintf(buffer, sizeof buffer, "%02d/%02d/%02d", t.month, t.day, t.year % 100);
    return {buffer, buffer + n};
}

void writeStamp(Text id)
{
    const platform::ClockTime now = platform::localTime();
    WriteLogResource(LogLevelMask, id, calendarText(now), clockText(now));
}

void writeHeaderOnce()
{
    if (LogHeaderWritten) return;
    LogHeaderWritten = true; // first, since the lines below call this function again
    WriteLogText(LogLevelMask, headerLine);
    writeStamp(Text::LogStarted);
}

bool isWritten(DWORD levelMask) { return (levelMask & LogLevelMask) != 0 && LogFileHandle; }

void writeLine(std::u16string line)
{
    if (line.size() >= longestLine) line.resize(longestLine - 1);
    line = platform::harmlessInFile(line);
    std::string bytes = platform::narrow(line);
    // Quirk kept on purpose: a line has as many bytes as characters, so a line with multi-byte characters loses its end.
    bytes.resize(std::min(bytes.size(), line.size()));
    bytes += "\r\n";
    LogFileHandle.write(bytes); // one write, so that lines of other processes do not come between
}

// Replaces the extension of the log's name by ".old.log".
std::filesystem::path rolledName(const std::filesystem::path& file)
{
    std::filesystem::path name = file;
    name.replace_extension();
    name += ".old.log";
    return name;
}

} // namespace

void WriteLogList(DWORD levelMask, std::u16string_view format, std::initializer_list<FormatArgument> arguments)
{
    writeHeaderOnce();
    if (isWritten(levelMask)) writeLine(FormatList(format, arguments));
}

void WriteLogResourceList(DWORD levelMask, Text id, std::initializer_list<FormatArgument> arguments)
{
    writeHeaderOnce();
    if (isWritten(levelMask)) writeLine(FormatList(LoadText(id), arguments));
}

void OpenLog(const std::filesystem::path& file, DWORD maxLogFileSize)
{
    LogFileHandle = platform::AppendFile();
    LogFileHandle = platform::AppendFile(file);
    if (!LogFileHandle) return;
    if (static_cast<DWORD>(LogFileHandle.size()) < (maxLogFileSize << 10)) return;
    if (!platform::copyReplacing(file, rolledName(file))) LogFileHandle.truncate();
}

void CloseLog()
{
    if (LogHeaderWritten) writeStamp(Text::LogStopped);
    LogFileHandle = platform::AppendFile();
}

void ResetLog() noexcept { LogHeaderWritten = false; }

} // namespace mb
