// The two sides of a map. What exists once per side is found by its Side, so that one code serves both sides.
#pragma once

namespace mb {

enum class Side : unsigned char { One, Two };

inline constexpr Side bothSides[] = {Side::One, Side::Two};

inline constexpr Side otherSide(Side side) noexcept { return side == Side::One ? Side::Two : Side::One; }

// The history's name of the side.
inline constexpr const char16_t* sectionOf(Side side) noexcept { return side == Side::One ? u"Trans1" : u"Trans2"; }

// One value per side.
template <class T> struct PerSide {
    T one{}, two{};
    T& operator[](Side side) noexcept { return side == Side::One ? one : two; }
    const T& operator[](Side side) const noexcept { return side == Side::One ? one : two; }
};

} // namespace mb
