// Registration of the product's own component servers, which the user need not request.
#pragma once
#include <filesystem>
#include <string_view>

namespace platform {

// Registers the library unless the ProgID already belongs to an existing library or to a server that is not a library. Does nothing if the
// library does not exist; if the registry cannot be written, the ProgID keeps its server.
void registerUnlessTaken(std::u16string_view progId, const std::filesystem::path& library) noexcept;

// Unregisters the library if the ProgID belongs to it.
void unregisterOwn(std::u16string_view progId, const std::filesystem::path& library) noexcept;

} // namespace platform
