// The front end of the platform: windows, or a conversation in the terminal. The build chooses the one that is linked.
#pragma once
#include "dialogs/Dialog.h"

namespace mb {

DialogFrontEnd& DefaultFrontEnd();

} // namespace mb
