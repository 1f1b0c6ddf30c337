#include "dialogs/DefaultFrontEnd.h"
#include "dialogs/terminal/TerminalFrontEnd.h"

namespace mb {

DialogFrontEnd& DefaultFrontEnd()
{
    static TerminalFrontEnd frontEnd(platform::openConsole);
    return frontEnd;
}

} // namespace mb
