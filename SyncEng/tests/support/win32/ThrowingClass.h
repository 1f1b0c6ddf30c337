// The number of references that the component runtime leaks if a class throws while it creates an object: that to the class object.
#pragma once

namespace mbtest {

inline constexpr int keptOfThrowingClass = 1;

} // namespace mbtest
