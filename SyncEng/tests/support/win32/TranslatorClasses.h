// The classes of the translators' category. The component runtime keeps them in the system's keys, whatever keys a test has of its own, so
// those that a test entered are taken out at its end.
#pragma once
#include "categories.h"

#include <algorithm>
#include <vector>

namespace mbtest {

class TranslatorClasses {
public:
    TranslatorClasses() : former_(listed()) {}
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

    std::vector<CLSID> former_;
};

} // namespace mbtest
