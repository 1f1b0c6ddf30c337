// A picture is passed between a store and the engine as a JPEG file in the folder for temporary files. Nobody else can read the file or
// guess its name. The receiver deletes it.
#pragma once
#include <filesystem>
#include <string>
#include <string_view>

namespace mb::plugin {

// More than the picture of a contact needs, and less than the limit of a line in a vCard.
inline constexpr std::uintmax_t mostPictureBytes = 20u << 20;

// Both functions throw a StoreError that names the file.
std::filesystem::path writePictureFile(std::string_view bytes);
// Returns an empty text if the file is not a JPEG file or is larger than mostPictureBytes.
std::string readPictureFile(const std::filesystem::path& file);

} // namespace mb::plugin
