// Presses Ctrl-C on the console of another process: PressCtrlC PROCESS.
#include <string>
#include <windows.h>

namespace {

BOOL WINAPI takeAll(DWORD) { return TRUE; }

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 2) return ERROR_INVALID_PARAMETER;
    FreeConsole();
    SetConsoleCtrlHandler(takeAll, TRUE); // this process is on the same console
    const bool pressed = AttachConsole(std::stoul(arguments[1])) && GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    return pressed ? 0 : static_cast<int>(GetLastError());
}
