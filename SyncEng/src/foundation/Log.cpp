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
bool LogHeaderWritten = false; // set by the first attempt of the process, whether or not anything reached the file

// Fixed forms, whatever the locale: HH:MM:SS and MM/DD/YY.
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
    LogHeaderWritten = true; // first, so that the lines below do not come here again
    WriteLogText(LogLevelMask, headerLine);
    writeStamp(Text::LogStarted);
}

bool isWritten(DWORD levelMask) { return (levelMask & LogLevelMask) != 0 && LogFileHandle; }

void writeLine(std::u16string line)
{
    if (line.size() >= longestLine) line.resize(longestLine - 1);
    line = platform::harmlessInFile(line);
    std::string bytes = platform::narrow(line);
    // Wanted: as many bytes as the text has characters, so a line with wider ones loses its tail.
    bytes.resize(std::min(bytes.size(), line.size()));
    bytes += "\r\n";
    LogFileHandle.write(bytes); // in one piece, or the line of another process could come between
}

// The log's name with ".old" put in before its ending.
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
