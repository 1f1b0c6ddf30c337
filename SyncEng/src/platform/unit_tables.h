// Case mapping and classes of the characters of the Basic Multilingual Plane, independent of the process's locale. Filled by each
// platform's text.cpp.
#pragma once
#include <array>

namespace platform {

struct UnitTables {
    UnitTables();
    std::array<char16_t, 0x10000> lower, upper; // a surrogate maps to itself
    std::array<bool, 0x10000> alpha{}, space{};
};

} // namespace platform
