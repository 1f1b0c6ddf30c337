// Whether bytes are UTF-8. The conversions are in text.h.
#pragma once
#include <string_view>

namespace platform {

bool isUtf8(std::string_view bytes) noexcept;

} // namespace platform
