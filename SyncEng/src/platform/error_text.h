// The text that a failed method leaves beside its result code, as components do: for the caller on the same thread.
#pragma once
#include <string>
#include <string_view>

namespace platform {

// The empty text leaves none, and drops what an earlier failure left.
void leaveErrorText(std::u16string_view text);
// Empty if none was left; a second call finds none.
std::u16string takeErrorText();

} // namespace platform
