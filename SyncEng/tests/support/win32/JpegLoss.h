// How far a colour may be off after a JPEG file. Wine's encoder keeps to a middling quality, whichever it is asked for.
#pragma once

namespace mbtest {

inline constexpr int lossOfJpeg = 40;

} // namespace mbtest
