// The front end of the platform: windows, or questions in the terminal. The build links one of them.
#pragma once
#include "dialogs/Dialog.h"

namespace mb {

DialogFrontEnd& DefaultFrontEnd();

} // namespace mb
