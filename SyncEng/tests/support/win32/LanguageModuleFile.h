// Writes a language module, on Windows a library whose only resource is a string table.
#pragma once
#include "com.h"

#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <utility>

namespace mbtest {

using NumberedText = std::pair<int, std::u16string>;

// A resource holds sixteen consecutive texts, each preceded by its length.
inline void writeLanguageModule(const std::filesystem::path& file, std::span<const NumberedText> texts)
{
    constexpr int blockSize = 16;
    std::map<int, std::u16string[blockSize]> blocks;
    for (const auto& [id, text] : texts) blocks[id / blockSize + 1][id % blockSize] = text;
    std::filesystem::create_directories(file.parent_path());
    std::filesystem::copy_file(LANGUAGE_MODULE, file, std::filesystem::copy_options::overwrite_existing);
    const HANDLE update = BeginUpdateResourceW(file.c_str(), TRUE);
    if (!update) throw com::Error(HRESULT_FROM_WIN32(GetLastError()));
    for (const auto& [number, block] : blocks) {
        std::u16string resource;
        for (const std::u16string& text : block) resource += static_cast<char16_t>(text.size()) + text;
        constexpr WORD german = MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN);
        if (!UpdateResourceW(update, reinterpret_cast<LPCWSTR>(RT_STRING), MAKEINTRESOURCEW(number), german, resource.data(),
                             static_cast<DWORD>(resource.size() * sizeof(char16_t))))
            throw com::Error(HRESULT_FROM_WIN32(GetLastError()));
    }
    if (!EndUpdateResourceW(update, FALSE)) throw com::Error(HRESULT_FROM_WIN32(GetLastError()));
}

} // namespace mbtest
