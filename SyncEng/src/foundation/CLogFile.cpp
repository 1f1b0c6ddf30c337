#include "foundation/CLogFile.h"

#include "console_text.h"
#include "foundation/Log.h"

namespace mb {

HRESULT STDMETHODCALLTYPE CLogFile::AppendString(BSTR pString)
{
    // One call is one line: another one of a translator's making could pass for the engine's.
    return com::guarded([&] { WriteLogText(logHostText, platform::harmless(com::viewOf(pString))); });
}

} // namespace mb
