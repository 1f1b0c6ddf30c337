#include "library.h"

#include <windows.h>

#include <utility>

namespace platform {
namespace {

// Suppresses the system's error boxes on this thread while it lives.
class Silence {
public:
    Silence() noexcept { SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &former_); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() { SetThreadErrorMode(former_, nullptr); }

private:
    DWORD former_ = 0;
};

} // namespace

std::string libraryFileName(const char* name) { return std::string(name) + ".dll"; }

std::string pluginFileName(const char* name) { return std::string(name) + ".dll"; }

Library::Library(const std::filesystem::path& file) noexcept
{
    const Silence silence;
    // Dependencies of a library with an absolute path are looked up in its own folder first.
    handle_ = LoadLibraryExW(file.c_str(), nullptr, file.is_absolute() ? LOAD_WITH_ALTERED_SEARCH_PATH : 0);
}

Library& Library::operator=(Library&& o) noexcept
{
    std::swap(handle_, o.handle_);
    return *this;
}

Library::~Library()
{
    if (handle_) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* Library::release() noexcept { return std::exchange(handle_, nullptr); }

void* Library::find(const char* name) const noexcept
{
    return handle_ ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name)) : nullptr;
}

} // namespace platform
