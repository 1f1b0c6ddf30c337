#include "server_scope.h"

namespace platform {

ServerScope::ServerScope() = default;
ServerScope::~ServerScope() = default;

HRESULT ServerScope::registerTypeLibrary(const std::filesystem::path&) const noexcept { return S_OK; }
HRESULT ServerScope::unregisterTypeLibrary(REFGUID) const noexcept { return S_OK; }

} // namespace platform
