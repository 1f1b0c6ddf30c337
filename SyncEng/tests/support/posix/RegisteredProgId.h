// Registers a ProgID of a class in the test's registry, where the component runtime looks for it.
#pragma once
#include "com.h"

#include "registry.h"

namespace mbtest {

class RegisteredProgId {
public:
    RegisteredProgId(const std::u16string& progId, const GUID& clsid)
    {
        const std::u16string path = progId + u"\\CLSID";
        const auto key = platform::createKeyPath(platform::Root::ClassesRoot, path)
                             ? platform::RegistryKey::open(platform::Root::ClassesRoot, path)
                             : std::nullopt;
        if (!key || !key->setText(u"", com::guidText(clsid))) throw com::Error(E_ACCESSDENIED);
    }
};

} // namespace mbtest
