// The classes of the translators' category. The component runtime keeps them in the system's keys, whatever keys a test has of its own, so
// those that a test entered are taken out at its end. To be made while the process still has those keys.
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
        static const bool cleaned = (removeUnserved(), true); // what a test left that broke off
        (void)cleaned;
        entered_ = lastEntry();
    }
    TranslatorClasses(const TranslatorClasses&) = delete;
    TranslatorClasses& operator=(const TranslatorClasses&) = delete;
    ~TranslatorClasses()
    {
        if (lastEntry() != entered_) removeUnserved(); // the walk through every class of the system takes its time
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

    // When a class was last entered or taken out.
    static std::uint64_t lastEntry()
    {
        FILETIME time{};
        RegQueryInfoKeyW(Key(HKEY_CLASSES_ROOT, L"CLSID"), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                         nullptr, &time);
        return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    }

    // A test's classes have no library in the system's keys, and no category but this or, taken out again, none.
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
