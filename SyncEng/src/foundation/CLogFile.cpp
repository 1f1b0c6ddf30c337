#include "foundation/CLogFile.h"

#include "console_text.h"
#include "foundation/Log.h"

namespace mb {

HRESULT STDMETHODCALLTYPE CLogFile::AppendString(BSTR pString)
{
    // One call writes one line, so that a translator cannot forge a line of the engine.
    return com::guarded([&] { WriteLogText(logHostText, platform::harmless(com::viewOf(pString))); });
}

} // namespace mb
