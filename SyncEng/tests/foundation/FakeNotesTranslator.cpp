// Registers by leaving the folder it was called in where the test finds it.
#include <cstdlib>
#include <unistd.h>

extern "C" int DllRegisterServer()
{
    char folder[4096];
    setenv("MB_TEST_REGISTERED_IN", getcwd(folder, sizeof folder), 1);
    return 0;
}
