// A fake translator library: its registration stores the current folder in an environment variable for the test.
#include "files.h"
#include "host.h"

extern "C" int DllRegisterServer()
{
    platform::setEnvironment(u"MB_TEST_REGISTERED_IN", platform::textOf(std::filesystem::current_path()));
    return 0;
}
