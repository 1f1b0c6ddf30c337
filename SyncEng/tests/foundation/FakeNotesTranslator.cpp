// Registers by leaving the folder it was called in where the test finds it.
#include "files.h"
#include "host.h"

extern "C" int DllRegisterServer()
{
    platform::setEnvironment(u"MB_TEST_REGISTERED_IN", platform::textOf(std::filesystem::current_path()));
    return 0;
}
