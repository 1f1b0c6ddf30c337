// The module's load, as the loader tells of it. Its end needs no word here: the C++ runtime ends the module's objects.
#include <windows.h>

extern "C" bool mbModuleLoaded();

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason != DLL_PROCESS_ATTACH) return TRUE;
    DisableThreadLibraryCalls(module);
    return mbModuleLoaded();
}
