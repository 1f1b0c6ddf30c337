// Case and classes of the Basic Multilingual Plane's characters, whatever locale the process has chosen. One source file a platform.
#pragma once
#include <array>

namespace platform {

struct UnitTables {
    UnitTables();
    std::array<char16_t, 0x10000> lower, upper; // a surrogate stands for itself
    std::array<bool, 0x10000> alpha{}, space{};
};

} // namespace platform
