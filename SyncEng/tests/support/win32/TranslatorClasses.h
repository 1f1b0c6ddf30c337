// The classes of the translators' category. The component runtime keeps them in the system's keys, whatever keys a test has of its own, so
// those that a test entered are taken out at its end. To be made while the process still has those keys.
#pragma once
#include "categories.h"

#include <algorithm>
#include <string>
#include <vector>

namespace mbtest {

class TranslatorClasses {
public:
    // A class that no library serves was left by a test that broke off.
    TranslatorClasses()
    {
        for (const CLSID& clsid : listed()) {
            if (isServed(clsid)) {
                former_.push_back(clsid);
            } else {
                (void)platform::unregisterClassInCategory(clsid, category);
            }
        }
    }
    TranslatorClasses(const TranslatorClasses&) = delete;
    TranslatorClasses& operator=(const TranslatorClasses&) = delete;
    ~TranslatorClasses()
    {
        for (const CLSID& clsid : listed())
            if (std::find(former_.begin(), former_.end(), clsid) == former_.end())
                (void)platform::unregisterClassInCategory(clsid, category);
    }

private:
    static constexpr GUID category{0xDCCCC8B9, 0xC75D, 0x44A2, {0x9D, 0x89, 0x9E, 0x7C, 0x78, 0x16, 0x9C, 0x12}};

    static std::vector<CLSID> listed()
    {
        platform::CategoryClasses classes;
        std::vector<CLSID> found;
        if (FAILED(classes.open(category))) return found; // nobody has entered the category itself
        for (CLSID clsid{}; classes.next(&clsid) == S_OK;) found.push_back(clsid);
        return found;
    }

    static bool isServed(const CLSID& clsid)
    {
        wchar_t name[40] = {};
        StringFromGUID2(clsid, name, 40);
        const std::wstring server = L"CLSID\\" + std::wstring(name) + L"\\InprocServer32";
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CLASSES_ROOT, server.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
        RegCloseKey(key);
        return true;
    }

    std::vector<CLSID> former_;
};

} // namespace mbtest
