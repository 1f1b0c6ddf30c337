// The greatest difference of a colour value after saving as a JPEG file of the best quality.
#pragma once

namespace mbtest {

inline constexpr int lossOfJpeg = 12;

} // namespace mbtest
