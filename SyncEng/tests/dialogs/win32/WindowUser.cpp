#include "WindowUser.h"

#include "text.h"
#include <chrono>
#include <gtest/gtest.h>

namespace mbtest {
namespace {

using namespace std::chrono_literals;

std::vector<HWND> windowsOf(DWORD thread)
{
    std::vector<HWND> found;
    const auto add = [](HWND window, LPARAM all) -> BOOL {
        if (IsWindowVisible(window)) reinterpret_cast<std::vector<HWND>*>(all)->push_back(window);
        return TRUE;
    };
    EnumThreadWindows(thread, add, reinterpret_cast<LPARAM>(&found));
    return found;
}

} // namespace

WindowUser::WindowUser(Acts acts) : thread_([this, acts = std::move(acts)] { work(acts); }) {}

WindowUser::~WindowUser()
{
    over_ = true;
    thread_.join();
}

void WindowUser::work(const Acts& acts) noexcept
{
    try {
        acts(*this);
    } catch (const std::exception& problem) {
        ADD_FAILURE() << problem.what();
    }
    for (int i = 0; i < 100 && !over_; ++i) std::this_thread::sleep_for(50ms);
    if (!over_) ADD_FAILURE() << "a window was left open";
    while (!over_) {
        closeAll();
        std::this_thread::sleep_for(50ms);
    }
}

void WindowUser::closeAll() const
{
    for (HWND window : windowsOf(dialogThread_)) PostMessageW(window, WM_CLOSE, 0, 0);
}

HWND WindowUser::find(std::u16string_view caption) const
{
    for (HWND window : windowsOf(dialogThread_))
        if (IsWindowEnabled(window) && Window(window).caption() == caption) return window;
    return nullptr;
}

Window WindowUser::window(std::u16string_view caption) const
{
    HWND found = nullptr;
    eventually("a window \"" + platform::utf8(caption) + "\"", [&] { return (found = find(caption)) != nullptr; });
    return Window(found);
}

std::u16string WindowUser::answerMessage() const
{
    const Window message = window(u"Mirabook Synchronization");
    std::u16string text;
    for (const std::u16string& part : message.texts())
        if (part.size() > text.size()) text = part; // the longest text is the message; the others belong to an icon and a button
    PostMessageW(message.handle(), WM_COMMAND, IDOK, 0);
    eventually("the end of the message", [&] { return !IsWindow(message.handle()); });
    return text;
}

} // namespace mbtest
