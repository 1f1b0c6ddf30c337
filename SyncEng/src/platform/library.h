// Loads a shared library and finds functions in it, without a message of the system's when that fails.
#pragma once
#include <filesystem>
#include <string>

namespace platform {

// The file name of a library that comes with the product, by its bare name: CAT.DLL, or libCAT.so.
std::string libraryFileName(const char* name);
// The file name of a plug-in that comes with the product: cat.dll, or cat.so.
std::string pluginFileName(const char* name);

class Library {
public:
    Library() noexcept = default;
    explicit Library(const std::filesystem::path& file) noexcept; // empty if it cannot be loaded
    Library(Library&& o) noexcept : handle_(o.release()) {}
    Library& operator=(Library&& o) noexcept;
    ~Library();
    explicit operator bool() const noexcept { return handle_ != nullptr; }
    // Lets the library stay loaded for the life of the process.
    void* release() noexcept;
    template <class F> F* function(const char* name) const noexcept { return reinterpret_cast<F*>(find(name)); }

private:
    void* find(const char* name) const noexcept;
    void* handle_ = nullptr;
};

} // namespace platform
