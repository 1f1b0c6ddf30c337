// A picture on its way between a store and the engine: a JPEG file of its own in the folder for temporary files, which nobody else can
// read and whose name nobody can guess. Who is given the file deletes it.
#pragma once
#include <filesystem>
#include <string>
#include <string_view>

namespace mb::plugin {

// More than any contact's picture needs, and what a line of a vCard can hold.
inline constexpr std::uintmax_t mostPictureBytes = 20u << 20;

// Throw a StoreError that names the file.
std::filesystem::path writePictureFile(std::string_view bytes);
// Empty for a file that is no JPEG file, or larger than that.
std::string readPictureFile(const std::filesystem::path& file);

} // namespace mb::plugin
