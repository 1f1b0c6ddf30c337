// The error text that a failed method leaves beside its result code (IErrorInfo), for the caller on the same thread.
#pragma once
#include <string>
#include <string_view>

namespace platform {

// Replaces the thread's error text. An empty text clears it.
void leaveErrorText(std::u16string_view text);
// Returns the thread's error text and clears it; empty if there is none.
std::u16string takeErrorText();

} // namespace platform
