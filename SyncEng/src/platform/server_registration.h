// The registry entries of an in-process server: its classes with their identifiers and names, by which the component runtime finds it.
#pragma once
#include "com.h"
#include <filesystem>
#include <span>

namespace platform {

struct ServerRegistration {
    std::span<const com::ClassEntry> classes;
    std::filesystem::path library;
    const GUID* category = nullptr;      // the component category that all classes implement
    const GUID* applicationId = nullptr; // written into each class, as the type library's is
    const GUID* typeLibrary = nullptr;
};

// Stops at the first entry that cannot be written: E_ACCESSDENIED, as where the registry may not be written.
HRESULT registerServer(const ServerRegistration& server) noexcept;
// Leaves nothing behind of what registerServer wrote.
HRESULT unregisterServer(const ServerRegistration& server) noexcept;

} // namespace platform
