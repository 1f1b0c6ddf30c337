// Narrow text by the calling thread's code page, which its locale gives; a character that the page lacks becomes the page's default one.
// UTF-8 on Linux.
#pragma once
#include <string>
#include <string_view>

namespace platform {

std::string narrowByThread(std::u16string_view text);
std::u16string widenByThread(std::string_view bytes);

} // namespace platform
