#include "foundation/CLogFile.h"

#include "foundation/Log.h"

namespace mb {

HRESULT STDMETHODCALLTYPE CLogFile::AppendString(BSTR pString)
{
    return com::guarded([&] { WriteLogText(8, com::viewOf(pString)); });
}

} // namespace mb
