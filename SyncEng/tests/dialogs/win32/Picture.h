// Saves screenshots of windows in the build folder.
#pragma once
#include "com.h"
#include <string>

namespace mbtest {

// Saves a screenshot of the window as NAME.png in the folder of screenshots. Throws com::Error or a file system error.
void savePicture(HWND window, const std::string& name);

} // namespace mbtest
