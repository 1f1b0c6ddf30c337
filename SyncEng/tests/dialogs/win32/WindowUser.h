// A user at the windows of this thread: acts in a thread of its own while this one shows a dialog. What goes wrong fails the test, and
// every window is closed then, so that no test waits for ever.
#pragma once
#include "Window.h"
#include <atomic>
#include <functional>
#include <string_view>
#include <thread>

namespace mbtest {

class WindowUser {
public:
    using Acts = std::function<void(WindowUser&)>;
    explicit WindowUser(Acts acts);
    WindowUser(const WindowUser&) = delete;
    WindowUser& operator=(const WindowUser&) = delete;
    ~WindowUser(); // waits for the last act

    // The window with the caption that takes input, once it is there.
    [[nodiscard]] Window window(std::u16string_view caption) const;
    // The message that is shown: its text. It is answered with OK.
    std::u16string answerMessage() const;

private:
    void work(const Acts& acts) noexcept;
    void closeAll() const;
    [[nodiscard]] HWND find(std::u16string_view caption) const;

    DWORD dialogThread_ = GetCurrentThreadId();
    std::atomic<bool> over_ = false;
    std::thread thread_;
};

} // namespace mbtest
