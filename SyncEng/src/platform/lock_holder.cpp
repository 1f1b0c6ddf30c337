#include "lock_holder.h"

#include "process_lock.h"

namespace platform {
namespace {

struct Holder {
    std::string name, note;
};

Holder readHolder(const std::filesystem::path& file)
{
    std::error_code error;
    const std::string text = readFile(file, error, 4096);
    const std::size_t end = std::min(text.find('\n'), text.size());
    return {text.substr(0, end), text.substr(std::min(end + 1, text.size()))};
}

} // namespace

std::u16string lockHolder(const std::filesystem::path& file) { return utf16(readHolder(file).name); }
std::u16string lockNote(const std::filesystem::path& file) { return utf16(readHolder(file).note); }

} // namespace platform
