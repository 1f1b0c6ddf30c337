// The number of references that the component runtime leaks if a class throws while it creates an object.
#pragma once

namespace mbtest {

inline constexpr int keptOfThrowingClass = 0;

} // namespace mbtest
