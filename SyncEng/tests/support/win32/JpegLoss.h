// The greatest difference of a colour value after saving as a JPEG file. Wine's encoder always uses a medium quality.
#pragma once

namespace mbtest {

inline constexpr int lossOfJpeg = 40;

} // namespace mbtest
