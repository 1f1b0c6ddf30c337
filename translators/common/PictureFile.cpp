#include "PictureFile.h"

#include "com.h"
#include "files.h"
#include "RecordStore.h"
#include "text.h"
#include <fstream>

namespace mb::plugin {
namespace {

namespace fs = std::filesystem;

std::string shown(const fs::path& file) { return "\"" + platform::utf8(platform::textOf(file)) + "\""; }

} // namespace

fs::path writePictureFile(std::string_view bytes)
{
    const fs::path file = fs::temp_directory_path() / platform::pathOf(u"MBSync " + com::guidText(com::newGuid()) + u".JPG");
    std::ofstream out(file, std::ios::binary);
    std::error_code error;
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write, error); // before it has any content
    if (!error) out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!error && out.good()) return file;
    fs::remove(file, error);
    throw StoreError(Step::ReadField,
                     "The picture of a card cannot be written to the file " + shown(file) + ". Check whether the disk has room.");
}

std::string readPictureFile(const fs::path& file)
{
    std::error_code error;
    std::string bytes = platform::readFile(file, error, mostPictureBytes);
    if (error == std::errc::file_too_large || (!error && !bytes.starts_with("\xFF\xD8\xFF"))) return {};
    if (error) throw StoreError(Step::WriteField, "The picture file " + shown(file) + " cannot be read: " + error.message() + ".");
    return bytes;
}

} // namespace mb::plugin
