#include "LibraryFile.h"

#include <stdexcept>
#include <windows.h>

namespace mbtest {
namespace {

// Maps the library into memory without running its code or loading its dependencies.
class Image {
public:
    explicit Image(const std::filesystem::path& file) : module_(LoadLibraryExW(file.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES))
    {
        if (!module_) throw std::runtime_error(file.string() + " is no library");
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    ~Image() { FreeLibrary(module_); }

    template <class T> [[nodiscard]] const T* at(DWORD offset) const
    {
        return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module_) + offset);
    }

private:
    HMODULE module_;
};

} // namespace

std::set<std::string> exportsOf(const std::filesystem::path& file)
{
    const Image image(file);
    const auto& header = *image.at<IMAGE_NT_HEADERS64>(static_cast<DWORD>(image.at<IMAGE_DOS_HEADER>(0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& place = header.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    std::set<std::string> found;
    if (place.Size == 0) return found;
    const auto& exports = *image.at<IMAGE_EXPORT_DIRECTORY>(place.VirtualAddress);
    if (exports.NumberOfFunctions != exports.NumberOfNames) found.insert("exports without a name");
    const auto* const names = image.at<DWORD>(exports.AddressOfNames);
    for (DWORD i = 0; i < exports.NumberOfNames; ++i) found.insert(image.at<char>(names[i]));
    return found;
}

bool isLoaded(const std::filesystem::path& file) { return GetModuleHandleW(file.c_str()) != nullptr; }

} // namespace mbtest
