// How far a colour may be off after a JPEG file of the best quality.
#pragma once

namespace mbtest {

inline constexpr int lossOfJpeg = 12;

} // namespace mbtest
