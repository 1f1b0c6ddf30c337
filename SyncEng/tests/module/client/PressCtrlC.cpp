// Presses Ctrl-C on the console of another process. Usage: PressCtrlC PROCESS
#include <string>
#include <windows.h>

namespace {

BOOL WINAPI takeAll(DWORD) { return TRUE; }

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 2) return ERROR_INVALID_PARAMETER;
    FreeConsole();
    SetConsoleCtrlHandler(takeAll, TRUE); // the event also reaches this process, which joins that console
    const bool pressed = AttachConsole(std::stoul(arguments[1])) && GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    return pressed ? 0 : static_cast<int>(GetLastError());
}
