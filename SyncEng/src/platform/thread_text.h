// Conversion to and from the code page of the calling thread's locale; UTF-8 on Linux. A character that the page lacks becomes the
// page's default character.
#pragma once
#include <string>
#include <string_view>

namespace platform {

std::string narrowByThread(std::u16string_view text);
std::u16string widenByThread(std::string_view bytes);

} // namespace platform
