#include "HelpViewer.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>

namespace mbtest {
namespace {

std::mutex mutex; // the dialog's thread writes `all`, the thread of WindowUser reads it
std::vector<HelpCall> all;

HWND WINAPI remember(HWND window, LPCWSTR file, UINT command, DWORD_PTR topic)
{
    const std::lock_guard lock(mutex);
    all.push_back({window, file, command, topic});
    return window;
}

} // namespace

HelpViewer::HelpViewer()
    : library_(LoadLibraryW(L"hhctrl.ocx")), entry_(library_ ? reinterpret_cast<void*>(GetProcAddress(library_, "HtmlHelpW")) : nullptr)
{
    if (!entry_) throw std::runtime_error("the system has no help viewer");
    all.clear();
    std::copy_n(static_cast<const BYTE*>(entry_), former_.size(), former_.data());
    Code jump{0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0}; // mov rax, address; jmp rax
    auto* const address = &remember;
    std::copy_n(reinterpret_cast<const BYTE*>(&address), sizeof address, jump.data() + 2);
    put(jump);
}

HelpViewer::~HelpViewer()
{
    put(former_);
    FreeLibrary(library_);
}

void HelpViewer::put(const Code& code) const
{
    DWORD protection = 0;
    if (!VirtualProtect(entry_, code.size(), PAGE_EXECUTE_READWRITE, &protection)) return;
    std::copy(code.begin(), code.end(), static_cast<BYTE*>(entry_));
    VirtualProtect(entry_, code.size(), protection, &protection);
    FlushInstructionCache(GetCurrentProcess(), entry_, code.size());
}

std::vector<HelpCall> HelpViewer::calls()
{
    const std::lock_guard lock(mutex);
    return all;
}

} // namespace mbtest
