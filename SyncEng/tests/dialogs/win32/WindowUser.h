// Plays the user of the windows that the constructing thread shows: runs `acts` in another thread. An exception in `acts` fails the test
// and closes every window, so that no test waits for ever.
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
    ~WindowUser(); // waits until `acts` has returned

    // Waits for an enabled window with the caption, and returns it.
    [[nodiscard]] Window window(std::u16string_view caption) const;
    // Waits for a message, answers it with OK and returns its text.
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
