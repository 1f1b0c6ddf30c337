#include "foundation/RegisteredClass.h"

#include "registry.h"

namespace mb {

std::u16string GetRegisteredClassName(REFCLSID clsid)
{
    const auto key = platform::RegistryKey::open(platform::Root::ClassesRoot, u"CLSID\\" + com::guidText(clsid));
    return key ? key->text(u"").value_or(u"") : u"";
}

} // namespace mb
