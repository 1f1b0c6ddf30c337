// Runs when the loader loads the module. Unloading needs no code: the C++ runtime destroys the module's objects.
#include <windows.h>

extern "C" bool mbModuleLoaded();

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason != DLL_PROCESS_ATTACH) return TRUE;
    DisableThreadLibraryCalls(module);
    return mbModuleLoaded();
}
