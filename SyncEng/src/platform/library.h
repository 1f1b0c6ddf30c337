// Loads a shared library and finds functions in it. A failure shows no message box of the system.
#pragma once
#include <filesystem>
#include <string>

namespace platform {

// Returns the file name of one of the product's libraries from its base name: CAT.dll or libCAT.so.
std::string libraryFileName(const char* name);
// Returns the file name of one of the product's plug-ins from its base name: cat.dll or cat.so.
std::string pluginFileName(const char* name);

class Library {
public:
    Library() noexcept = default;
    explicit Library(const std::filesystem::path& file) noexcept; // empty if the library cannot be loaded
    Library(Library&& o) noexcept : handle_(o.release()) {}
    Library& operator=(Library&& o) noexcept;
    ~Library();
    explicit operator bool() const noexcept { return handle_ != nullptr; }
    // Keeps the library loaded until the process ends, and returns its handle.
    void* release() noexcept;
    template <class F> F* function(const char* name) const noexcept { return reinterpret_cast<F*>(find(name)); }

private:
    void* find(const char* name) const noexcept;
    void* handle_ = nullptr;
};

} // namespace platform
