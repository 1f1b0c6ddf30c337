// What the component runtime keeps of a class that throws while it makes an object: the reference to the class that it had just taken.
#pragma once

namespace mbtest {

inline constexpr int keptOfThrowingClass = 1;

} // namespace mbtest
