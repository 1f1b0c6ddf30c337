#include "ui.h"

#include "library.h"
#include "unattended.h"
#include <atomic>
#include <commctrl.h>
#include <string>

namespace platform {
namespace {

std::atomic<MessageReader> messageReader = nullptr;

std::wstring wide(std::u16string_view text) { return {text.begin(), text.end()}; }

UINT iconOf(MessageKind kind) noexcept
{
    switch (kind) {
    case MessageKind::Error: return MB_ICONERROR;
    case MessageKind::Warning: return MB_ICONWARNING;
    case MessageKind::Information: break;
    }
    return MB_ICONINFORMATION;
}

} // namespace

void showMessage(HWND parent, std::u16string_view text, std::u16string_view caption, MessageKind kind) noexcept
{
    try {
        if (const MessageReader reader = messageReader) return reader(text);
        if (!isUnattended()) MessageBoxW(parent, wide(text).c_str(), wide(caption).c_str(), MB_OK | iconOf(kind));
    } catch (...) { // the failure cannot be shown either
    }
}

MessageReader readMessages(MessageReader reader) noexcept { return messageReader.exchange(reader); }

bool showHelp(HWND parent, const std::filesystem::path& file, unsigned topic) noexcept
{
    using HtmlHelp = HWND WINAPI(HWND, LPCWSTR, UINT, DWORD_PTR);
    constexpr UINT helpContext = 15; // HH_HELP_CONTEXT
    // The viewer's window outlives the call, so the viewer stays loaded.
    static const Library viewer = Library(std::filesystem::path(L"hhctrl.ocx"));
    auto* const open = viewer.function<HtmlHelp>("HtmlHelpW");
    return open && open(parent, file.c_str(), helpContext, topic) != nullptr;
}

bool showsWindows() noexcept
{
    USEROBJECTFLAGS flags{};
    return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr) &&
           (flags.dwFlags & WSF_VISIBLE) != 0;
}

void silenceSystemErrorBoxes() noexcept { SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX); }

void prepareListViews() noexcept
{
    const INITCOMMONCONTROLSEX wanted{sizeof wanted, ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&wanted);
}

WaitCursor::WaitCursor() noexcept : previous_(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
WaitCursor::~WaitCursor() { SetCursor(static_cast<HCURSOR>(previous_)); }

} // namespace platform
