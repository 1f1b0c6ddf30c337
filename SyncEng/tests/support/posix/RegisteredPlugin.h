// Lets a plug-in's library register itself in the test's registry, where the component runtime finds its classes.
#pragma once
#include "com.h"

#include "library.h"
#include <initializer_list>

namespace mbtest {

class RegisteredPlugin {
public:
    RegisteredPlugin(const std::filesystem::path& file, std::initializer_list<GUID>)
    {
        const platform::Library library(file);
        auto* const registerServer = library.function<HRESULT()>("DllRegisterServer");
        com::check(registerServer ? registerServer() : E_FAIL);
    }
};

} // namespace mbtest
