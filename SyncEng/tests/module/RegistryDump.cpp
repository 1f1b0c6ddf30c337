#include "RegistryDump.h"

#include <windows.h>

#include <vector>

namespace mbtest {
namespace {

void dumpKey(HKEY root, const std::wstring& path, std::set<std::u16string>& lines)
{
    lines.emplace(path.begin(), path.end());
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
    std::vector<wchar_t> name(16384);
    std::vector<BYTE> data(1 << 16);
    for (DWORD i = 0;; ++i) {
        auto length = static_cast<DWORD>(name.size()), size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, i, name.data(), &length, nullptr, &type, data.data(), &size) != ERROR_SUCCESS) break;
        std::u16string line(path.begin(), path.end());
        line += u" | " + std::u16string(name.data(), name.data() + length) + u" = " + static_cast<char16_t>(u'0' + type) + u":";
        line.append(reinterpret_cast<const char16_t*>(data.data()), size / sizeof(char16_t));
        lines.insert(std::move(line));
    }
    std::vector<std::wstring> below;
    for (DWORD i = 0;; ++i) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        below.emplace_back(name.data(), length);
    }
    RegCloseKey(key);
    for (const std::wstring& child : below) dumpKey(root, path + L"\\" + child, lines);
}

} // namespace

std::set<std::u16string> registryLines()
{
    std::set<std::u16string> lines;
    dumpKey(HKEY_LOCAL_MACHINE, L"Software\\Classes", lines);
    dumpKey(HKEY_CURRENT_USER, L"Software", lines);
    dumpKey(HKEY_LOCAL_MACHINE, L"Software\\Zorel", lines);
    return lines;
}

} // namespace mbtest
