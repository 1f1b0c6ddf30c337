#include "FakeStore.h"
#include "text.h"

namespace mbtest {
namespace {

constexpr std::u16string_view fileMark = u":data:", hashMark = u":x-mb-data:";

template <class Change> std::u16string eachLine(std::u16string_view text, Change&& change)
{
    std::u16string changed;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        const std::u16string line = change(std::u16string(text.substr(0, end)));
        if (!line.empty()) changed.append(changed.empty() ? u"" : u"\n").append(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return changed;
}

std::u16string hashOf(std::u16string_view value) // "data:TYPE;base64,..."
{
    const std::u16string_view type = value.substr(5, value.find(u';') - 5), base64 = value.substr(value.find(u',') + 1);
    const std::string size = std::to_string(base64.size() / 4 * 3), hash = std::to_string(std::hash<std::u16string_view>{}(base64));
    return u"x-mb-data:" + std::u16string(type) + u"," + platform::utf16(size) + u"," + platform::utf16(hash);
}

} // namespace

std::u16string withHashes(std::u16string_view details)
{
    return eachLine(details, [](const std::u16string& line) {
        const std::size_t at = line.find(fileMark);
        return at == std::u16string::npos ? line : line.substr(0, at + 1) + hashOf(std::u16string_view(line).substr(at + 1));
    });
}

std::u16string withFiles(std::u16string_view details, std::u16string_view held)
{
    return eachLine(details, [&](const std::u16string& line) {
        const std::size_t at = line.find(hashMark);
        if (at == std::u16string::npos) return line;
        std::u16string whole;
        eachLine(held, [&](const std::u16string& other) {
            const std::size_t value = other.find(fileMark);
            if (value != std::u16string::npos && hashOf(std::u16string_view(other).substr(value + 1)) == line.substr(at + 1))
                whole = line.substr(0, at + 1) + other.substr(value + 1);
            return std::u16string();
        });
        return whole;
    });
}

} // namespace mbtest
