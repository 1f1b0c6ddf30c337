// Removes the classes that a test added to the translators' category. The component runtime keeps the category in the system's keys, even
// if the test has its own keys. Requires: the process sees the system's keys when this object is created and destroyed.
#pragma once
#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace mbtest {

class TranslatorClasses {
public:
    TranslatorClasses()
    {
        static const bool cleaned = (removeUnserved(), true); // classes of a test that was aborted
        (void)cleaned;
        entered_ = lastEntry();
    }
    TranslatorClasses(const TranslatorClasses&) = delete;
    TranslatorClasses& operator=(const TranslatorClasses&) = delete;
    ~TranslatorClasses()
    {
        if (lastEntry() != entered_) removeUnserved(); // only if needed: it enumerates every class of the system
    }

private:
    static constexpr const wchar_t* category = L"{DCCCC8B9-C75D-44A2-9D89-9E7C78169C12}";

    class Key {
    public:
        Key(HKEY parent, const std::wstring& path) { RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key_); }
        Key(const Key&) = delete;
        Key& operator=(const Key&) = delete;
        ~Key()
        {
            if (key_) RegCloseKey(key_);
        }
        explicit operator bool() const { return key_ != nullptr; }
        operator HKEY() const { return key_; }

    private:
        HKEY key_ = nullptr;
    };

    // The time when a class was last added or removed.
    static std::uint64_t lastEntry()
    {
        FILETIME time{};
        RegQueryInfoKeyW(Key(HKEY_CLASSES_ROOT, L"CLSID"), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                         nullptr, &time);
        return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    }

    // Removes the classes of tests: they have no library in the system's keys, and no category except this one.
    static void removeUnserved()
    {
        std::vector<std::wstring> unserved;
        const Key classes(HKEY_CLASSES_ROOT, L"CLSID");
        wchar_t name[MAX_PATH];
        for (DWORD i = 0, size = MAX_PATH; RegEnumKeyExW(classes, i, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++i, size = MAX_PATH)
            if (isUnserved(classes, name)) unserved.emplace_back(name);
        for (const std::wstring& clsid : unserved) RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"CLSID\\" + clsid).c_str());
    }

    static bool isUnserved(HKEY classes, const std::wstring& clsid)
    {
        const Key categories(classes, clsid + L"\\Implemented Categories");
        if (!categories || Key(classes, clsid + L"\\InprocServer32")) return false;
        DWORD count = 0;
        RegQueryInfoKeyW(categories, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        return count == 0 || (count == 1 && Key(categories, category));
    }

    std::uint64_t entered_ = 0;
};

} // namespace mbtest
