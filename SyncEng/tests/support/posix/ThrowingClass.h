// What the component runtime keeps of a class that throws while it makes an object: nothing.
#pragma once

namespace mbtest {

inline constexpr int keptOfThrowingClass = 0;

} // namespace mbtest
