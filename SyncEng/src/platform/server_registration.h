// Registers an in-process server: writes the class identifiers and names by which the component runtime finds it.
#pragma once
#include "com.h"
#include <filesystem>
#include <span>

namespace platform {

struct ServerRegistration {
    std::span<const com::ClassEntry> classes;
    std::filesystem::path library;
    const GUID* category = nullptr;      // component category that all classes implement
    const GUID* applicationId = nullptr; // written into each class
    const GUID* typeLibrary = nullptr;   // version 1.0, in the library's resources
    // Keys of the application, and a category that the server itself defines.
    const char16_t* applicationName = nullptr;
    const char16_t* applicationFile = nullptr;
    const GUID* ownCategory = nullptr;
    const char16_t* ownCategoryName = nullptr;
};

// Registers application, classes, type library and category, in this order. Stops at the first failure; E_ACCESSDENIED if the registry may
// not be written.
HRESULT registerServer(const ServerRegistration& server) noexcept;
// Removes all that registerServer wrote and continues after failures. Returns the first failure of category and type library; keys that
// cannot be removed are not reported.
HRESULT unregisterServer(const ServerRegistration& server) noexcept;

} // namespace platform
