// Writes single values into the registry of a test; creates missing keys.
#pragma once
#include "registry.h"

namespace mbtest {

inline void setText(platform::Root root, std::u16string_view path, std::u16string_view name, std::u16string_view value)
{
    platform::createKeyPath(root, path);
    platform::RegistryKey::open(root, path).value().setText(name, value);
}

inline void setNumber(platform::Root root, std::u16string_view path, std::u16string_view name, std::uint32_t value)
{
    platform::createKeyPath(root, path);
    platform::RegistryKey::open(root, path).value().setNumber(name, value);
}

} // namespace mbtest
