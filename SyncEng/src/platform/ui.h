// What the module shows by itself: a message and a wait cursor. On Linux messages go to standard error.
#pragma once
#include "com.h"

#include <filesystem>
#include <string_view>

namespace platform {

enum class MessageKind { Error, Warning, Information };

void showMessage(HWND parent, std::u16string_view text, std::u16string_view caption, MessageKind kind) noexcept;

// Takes the messages in place of the box or standard error; null leaves them there. Gives the former one. It takes those of all modules
// of the process on Linux, of its own module on Windows.
using MessageReader = void (*)(std::u16string_view text);
MessageReader readMessages(MessageReader reader) noexcept;

// Opens a help file at a topic's number; false where no help window appears, as always on Linux.
bool showHelp(HWND parent, const std::filesystem::path& file, unsigned topic) noexcept;

// A library or disk that is missing shows no box of the system's for the rest of the process.
void silenceSystemErrorBoxes() noexcept;
// Makes list views available to the dialogs.
void prepareListViews() noexcept;

// The wait cursor for as long as this lives; nothing on a terminal.
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
