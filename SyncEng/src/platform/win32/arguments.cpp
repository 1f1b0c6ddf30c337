#include "arguments.h"

#include "text.h"
#include <memory>
#include <windows.h>

#include <shellapi.h>

namespace platform {

std::vector<std::string> arguments(int, char**)
{
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> all(CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
    std::vector<std::string> texts;
    for (int i = 1; all && i < count; ++i) {
        const std::wstring_view text = all.get()[i];
        texts.push_back(utf8(std::u16string(text.begin(), text.end())));
    }
    return texts;
}

} // namespace platform
