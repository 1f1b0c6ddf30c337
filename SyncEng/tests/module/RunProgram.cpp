#include "RunProgram.h"

#include "com.h"
#include <fstream>
#include <iterator>
#include <random>

namespace mbtest {
namespace {

namespace fs = std::filesystem;

void requireWin32(bool done)
{
    if (!done) throw com::Error(HRESULT_FROM_WIN32(GetLastError()));
}

std::wstring commandLine(const fs::path& program, const std::vector<std::wstring>& arguments)
{
    std::wstring line = L"\"" + program.native() + L"\"";
    for (const std::wstring& argument : arguments) line += L" \"" + argument + L"\"";
    return line;
}

fs::path outputFile()
{
    std::random_device random;
    return fs::temp_directory_path() / ("mbout" + std::to_string(random()) + std::to_string(random()));
}

// Starts a process whose output goes to the file.
PROCESS_INFORMATION start(const fs::path& program, const std::vector<std::wstring>& arguments, const fs::path& output, DWORD flags)
{
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const HANDLE file = CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    requireWin32(file != INVALID_HANDLE_VALUE);
    STARTUPINFOW info{};
    info.cb = sizeof info;
    info.dwFlags = STARTF_USESTDHANDLES;
    info.hStdOutput = info.hStdError = file;
    PROCESS_INFORMATION process{};
    std::wstring line = commandLine(program, arguments);
    // Retries: on a busy machine Wine sometimes cannot start a process at the first attempt.
    BOOL started = FALSE;
    for (int attempt = 0; attempt < 3 && !started; ++attempt) {
        if (attempt > 0) Sleep(500);
        started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &info, &process);
    }
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    requireWin32(started);
    CloseHandle(process.hThread);
    return process;
}

// Waits for the end of the process. Terminates it after a timeout or an exception, so that a failed test leaves no process behind.
void waitForEnd(const PROCESS_INFORMATION& process, const WhileRuns& whileRuns)
{
    constexpr DWORD longest = 120'000;
    try {
        if (whileRuns) whileRuns(process.dwProcessId);
    } catch (...) {
        TerminateProcess(process.hProcess, WAIT_TIMEOUT);
        throw;
    }
    if (WaitForSingleObject(process.hProcess, longest) == WAIT_OBJECT_0) return;
    TerminateProcess(process.hProcess, WAIT_TIMEOUT);
    WaitForSingleObject(process.hProcess, longest);
}

// Retries: after a program has ended abruptly, its console process may still hold the file for a moment.
void removeOutput(const fs::path& file)
{
    std::error_code error;
    for (int i = 0; i < 500 && (fs::remove(file, error), error); ++i) Sleep(20);
    if (error) throw fs::filesystem_error("the output of a program", file, error);
}

} // namespace

Ended runProgram(const fs::path& program, const std::vector<std::wstring>& arguments, const WhileRuns& whileRuns)
{
    const fs::path output = outputFile();
    const PROCESS_INFORMATION process = start(program, arguments, output, whileRuns ? CREATE_NO_WINDOW : 0);
    waitForEnd(process, whileRuns);
    Ended ended;
    GetExitCodeProcess(process.hProcess, &ended.code);
    CloseHandle(process.hProcess);
    {
        std::ifstream in(output, std::ios::binary);
        ended.output.assign(std::istreambuf_iterator<char>(in), {});
    }
    removeOutput(output);
    std::erase(ended.output, '\r');
    return ended;
}

// Runs a separate program, because a process must leave its own console to press a key on another one.
void pressCtrlC(unsigned long process)
{
    const Ended pressed = runProgram(CTRL_C_PROGRAM, {std::to_wstring(process)});
    if (pressed.code != 0) throw com::Error(HRESULT_FROM_WIN32(pressed.code));
}

} // namespace mbtest
