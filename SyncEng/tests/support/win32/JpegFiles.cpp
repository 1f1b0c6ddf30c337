#include "JpegFiles.h"

namespace mbtest {

void writeJpeg(const std::filesystem::path& file, JpegKind kind)
{
    std::filesystem::copy_file(keptJpeg(kind), file, std::filesystem::copy_options::overwrite_existing);
}

} // namespace mbtest
