#include "engine/details/DetailsFiles.h"

#include "text.h"
#include "whole_details.h"
#include <algorithm>

namespace mb {
namespace {

constexpr auto npos = std::u16string_view::npos;
constexpr std::u16string_view hashedData = u"x-mb-data:", data = u"data:", base64 = u";base64";

std::vector<std::u16string_view> linesOf(std::u16string_view text)
{
    std::vector<std::u16string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

struct FileOfLine {
    std::u16string_view mediaType;
    std::int64_t size = -1; // in octets; -1 for a line without a file
};

FileOfLine fileOf(std::u16string_view value)
{
    const std::size_t comma = value.find(u',');
    if (comma == npos) return {};
    std::u16string_view rest = value.substr(comma + 1);
    if (value.starts_with(hashedData))
        return {value.substr(hashedData.size(), comma - hashedData.size()), platform::toInt64(rest.substr(0, rest.find(u',')))};
    const std::u16string_view head = value.substr(0, comma);
    if (!head.starts_with(data) || !head.ends_with(base64)) return {};
    while (rest.ends_with(u'=')) rest.remove_suffix(1);
    return {head.substr(data.size(), head.size() - data.size() - base64.size()),
            static_cast<std::int64_t>(rest.size() / 4 * 3 + rest.size() % 4 * 3 / 4)};
}

std::u16string decimal(std::int64_t number) { return platform::utf16(std::to_string(number)); }

std::u16string sizeText(std::int64_t size)
{
    constexpr std::int64_t kilobyte = 1000, megabyte = 1000 * kilobyte;
    if (size < kilobyte) return decimal(size) + u" bytes";
    if (size < megabyte) return decimal((size + kilobyte / 2) / kilobyte) + u" KB";
    const std::int64_t tenths = (size + megabyte / 20) * 10 / megabyte;
    return decimal(tenths / 10).append(u".").append(decimal(tenths % 10)).append(u" MB");
}

std::u16string upper(std::u16string_view text)
{
    std::u16string letters(text);
    for (char16_t& letter : letters)
        if (letter >= u'a' && letter <= u'z') letter = static_cast<char16_t>(letter - u'a' + u'A');
    return letters;
}

std::u16string kindText(std::u16string_view mediaType)
{
    constexpr std::pair<std::u16string_view, std::u16string_view> kinds[] = {{u"image/", u" picture"}, {u"audio/", u" sound"}};
    for (const auto& [prefix, name] : kinds)
        if (mediaType.starts_with(prefix)) return upper(mediaType.substr(prefix.size())).append(name);
    return mediaType.empty() ? u"file" : u"file of type " + std::u16string(mediaType);
}

} // namespace

std::u16string_view hashedFile(std::u16string_view line)
{
    if (line.find(hashedData) == npos) return {};
    const std::u16string_view value = valueOf(line);
    return value.starts_with(hashedData) ? value : std::u16string_view();
}

bool hasHashedFile(const DetailsUnit& unit)
{
    return std::ranges::any_of(unit.lines, [](std::u16string_view line) { return !hashedFile(line).empty(); });
}

bool GivesFiles(PipelinePass& pass, Side side, std::u16string_view text)
{
    return text.find(hashedData) == npos || pass.side(side).store.fieldType(wholeDetailsField) == ftDetails;
}

WholeFiles::WholeFiles(std::u16string_view hashed, std::u16string_view whole)
{
    const std::vector<std::u16string_view> lines = linesOf(hashed), wholeLines = linesOf(whole);
    if (lines.size() != wholeLines.size()) return;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::u16string_view value = hashedFile(lines[i]), wholeValue = valueOf(wholeLines[i]);
        const std::size_t head = lines[i].size() - value.size();
        // Before the value the two lines are the same.
        if (!value.empty() && wholeValue.starts_with(data) && lines[i].substr(0, head) == wholeLines[i].substr(0, head))
            values_.emplace_back(value, wholeValue);
    }
}

std::optional<std::u16string> WholeFiles::lineOf(std::u16string_view line) const
{
    const std::u16string_view value = hashedFile(line);
    const auto found = std::ranges::find(values_, value, &std::pair<std::u16string_view, std::u16string_view>::first);
    if (found == values_.end()) return std::nullopt;
    return std::u16string(line.substr(0, line.size() - value.size())).append(found->second);
}

std::u16string shownLine(std::u16string_view line)
{
    const std::u16string_view value = valueOf(line);
    const FileOfLine file = fileOf(value);
    if (file.size < 0) return std::u16string(line);
    std::u16string shown(line.substr(0, line.size() - value.size()));
    return shown.append(u" ").append(kindText(file.mediaType)).append(u", ").append(sizeText(file.size));
}

std::u16string shownPicture(std::u16string_view property, std::int64_t size)
{
    std::u16string shown(property);
    shown += u": picture";
    return size < 0 ? shown : shown.append(u", ").append(sizeText(size));
}

} // namespace mb
