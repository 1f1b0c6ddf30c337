// Loaded in front of a program, it makes every file system one without locks.
#include <cerrno>

extern "C" int flock(int, int) noexcept
{
    errno = ENOLCK;
    return -1;
}
