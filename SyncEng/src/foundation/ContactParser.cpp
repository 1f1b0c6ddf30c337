#include "foundation/ContactParser.h"

#include "files.h"
#include "foundation/Paths.h"
#include <memory>

namespace mb {
namespace {

constexpr std::size_t fieldLength = 1024;

// The structure that the library fills.
struct PhoneBlock {
    char16_t country[fieldLength], area[fieldLength], local[fieldLength], extension[fieldLength];
};

std::u16string textOf(const char16_t (&field)[fieldLength])
{
    const std::u16string_view whole(field, fieldLength);
    return std::u16string(whole.substr(0, whole.find(u'\0')));
}

// Returns the library's path in the host's folder; empty if that folder is unknown.
std::filesystem::path libraryPath()
{
    const auto folder = HostFolder();
    return folder ? platform::pathOf(*folder) / platform::libraryFileName("CAT") : std::filesystem::path();
}

platform::Library loadLibrary()
{
    const auto path = libraryPath();
    return path.empty() ? platform::Library() : platform::Library(path);
}

} // namespace

ContactParser::ContactParser() : library_(loadLibrary()) {}

PhoneParts ContactParser::ParsePhone(std::u16string_view phone) const
{
    // A zero character would cut off the number for the library.
    if (phone.empty() || !library_ || phone.find(u'\0') != phone.npos) return {};
    const auto start = library_.function<int(void*, int*, void*)>("CatInit");
    const auto parse = library_.function<int(const char16_t*, PhoneBlock*)>("CatParsePhone");
    const auto stop = library_.function<int()>("CatTerm");
    if (!start || !parse || !stop) return {};
    const auto block = std::make_unique<PhoneBlock>();
    const std::u16string zeroEnded(phone);
    int one = 1;
    start(nullptr, &one, nullptr);
    parse(zeroEnded.c_str(), block.get());
    stop();
    return {textOf(block->country), textOf(block->area), textOf(block->local), textOf(block->extension)};
}

} // namespace mb
