#include "ModulePath.h"

#include "Charset.h"
#include "Folder.h"

#include <dlfcn.h>

namespace mb::vcard {

std::u16string modulePath()
{
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&modulePath), &info) == 0 || !info.dli_fname) return {};
    return fromUtf8(realPath(info.dli_fname));
}

} // namespace mb::vcard
