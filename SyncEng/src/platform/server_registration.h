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
    const GUID* typeLibrary = nullptr;   // version 1.0, in the resources of the library
    // The application's own keys, and a category that the server brings along.
    const char16_t* applicationName = nullptr;
    const char16_t* applicationFile = nullptr;
    const GUID* ownCategory = nullptr;
    const char16_t* ownCategoryName = nullptr;
};

// Application, classes, type library, category, in this order. Stops at the first that cannot be written: E_ACCESSDENIED, as where the
// registry may not be written.
HRESULT registerServer(const ServerRegistration& server) noexcept;
// Leaves nothing behind of what registerServer wrote; the first failure is the result, but does not keep the rest from going.
HRESULT unregisterServer(const ServerRegistration& server) noexcept;

} // namespace platform
