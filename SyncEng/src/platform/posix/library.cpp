#include "library.h"
#include <dlfcn.h>
#include <utility>

namespace platform {

std::string libraryFileName(const char* name) { return std::string("lib") + name + ".so"; }

std::string pluginFileName(const char* name) { return std::string(name) + ".so"; }

Library::Library(const std::filesystem::path& file) noexcept : handle_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {}

Library& Library::operator=(Library&& o) noexcept
{
    std::swap(handle_, o.handle_);
    return *this;
}

Library::~Library()
{
    if (handle_) dlclose(handle_);
}

void* Library::release() noexcept { return std::exchange(handle_, nullptr); }

void* Library::find(const char* name) const noexcept { return handle_ ? dlsym(handle_, name) : nullptr; }

} // namespace platform
