// What the module shows without a dialog: messages, help, the wait cursor. On Linux messages go to standard error.
#pragma once
#include "com.h"

#include <filesystem>
#include <string_view>

namespace platform {

enum class MessageKind { Error, Warning, Information };

void showMessage(HWND parent, std::u16string_view text, std::u16string_view caption, MessageKind kind) noexcept;

// Sends messages to `reader` instead of a message box or standard error; null restores those. Returns the former reader. On Linux this
// applies to all modules of the process, on Windows only to the caller's module.
using MessageReader = void (*)(std::u16string_view text);
MessageReader readMessages(MessageReader reader) noexcept;

// Opens a help file at a topic's number. Returns false if no help window appears; always on Linux.
bool showHelp(HWND parent, const std::filesystem::path& file, unsigned topic) noexcept;

// From now on the system shows no message box for a missing library or disk.
void silenceSystemErrorBoxes() noexcept;
// Registers the list view class, which the dialogs need.
void prepareListViews() noexcept;

// Shows the wait cursor while it lives; does nothing on Linux.
class WaitCursor {
public:
    WaitCursor() noexcept;
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    ~WaitCursor();

private:
    [[maybe_unused]] void* previous_ = nullptr;
};

} // namespace platform
