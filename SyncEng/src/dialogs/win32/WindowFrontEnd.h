// Shows dialogs as windows, with the templates of the user's language or else the English ones.
#pragma once
#include "dialogs/Dialog.h"

namespace mb {

class WindowFrontEnd final : public DialogFrontEnd {
public:
    void run(Dialog& dialog, HWND parent) override;
};

} // namespace mb
