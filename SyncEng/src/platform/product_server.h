// Component servers that come with the product and are registered without a request of the user.
#pragma once
#include <filesystem>
#include <string_view>

namespace platform {

// Registers the library unless the ProgID belongs to another library that is there, or to a server of another kind. Nothing happens if
// there is no such library; a registry that cannot be written leaves the ProgID as it was.
void registerUnlessTaken(std::u16string_view progId, const std::filesystem::path& library) noexcept;

// Unregisters the library if the ProgID belongs to it.
void unregisterOwn(std::u16string_view progId, const std::filesystem::path& library) noexcept;

} // namespace platform
