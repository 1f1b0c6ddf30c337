#include "dialogs/DefaultFrontEnd.h"
#include "dialogs/terminal/TerminalFrontEnd.h"
#include "unattended.h"

namespace mb {

DialogFrontEnd& DefaultFrontEnd()
{
    static TerminalFrontEnd frontEnd([] { return platform::isUnattended() ? nullptr : platform::openConsole(); });
    return frontEnd;
}

} // namespace mb
