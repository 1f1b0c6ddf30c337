// Pictures of windows, kept beside the build for whoever wants to see them.
#pragma once
#include "com.h"
#include <string>

namespace mbtest {

// Writes the window as it is on the screen to NAME.png in the folder of screenshots; throws if it cannot.
void savePicture(HWND window, const std::string& name);

} // namespace mbtest
