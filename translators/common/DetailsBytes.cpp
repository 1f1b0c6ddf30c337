#include "DetailsBytes.h"

#include "Blake2b.h"

#include <algorithm>
#include <array>
#include <map>
#include <vector>

namespace mb::plugin {
namespace {

constexpr std::string_view kData = "data:", kBase64 = ";base64,", kHashed = "x-mb-data:";

// Returns the offset of the value; std::string_view::npos for a line that is no property.
std::size_t valueAt(std::string_view line)
{
    bool quoted = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (line[at] == '"') quoted = !quoted;
        if (line[at] == ':' && !quoted) return at + 1;
    }
    return std::string_view::npos;
}

constexpr std::array<bool, 256> kLettersOfBase64 = [] {
    std::array<bool, 256> letters{};
    constexpr std::string_view kAll = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (const char c : kAll) letters[static_cast<unsigned char>(c)] = true;
    return letters;
}();

// Returns the number of octets that the text stands for; 0 for a text that is not in base64 with its padding.
std::size_t octetsOf(std::string_view base64)
{
    const std::size_t letters = base64.find_last_not_of('=') + 1, padding = base64.size() - letters;
    if (base64.empty() || base64.size() % 4 != 0 || padding > 2) return 0;
    bool valid = true; // of a long text, without a branch for each letter
    for (const char c : base64.substr(0, letters)) valid &= kLettersOfBase64[static_cast<unsigned char>(c)];
    if (!valid) return 0;
    return base64.size() / 4 * 3 - padding;
}

std::vector<std::string_view> linesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

void appendLine(std::string& text, std::string_view line) { text.append(text.empty() ? "" : "\n").append(line); }

} // namespace

std::string hashedLine(std::string line)
{
    if (line.find(kBase64) == std::string_view::npos) return line;
    const std::size_t at = valueAt(line);
    if (at == std::string_view::npos || !std::string_view(line).substr(at).starts_with(kData)) return line;
    const std::size_t comma = line.find(',', at);
    if (comma == std::string_view::npos || comma + 1 < kBase64.size() ||
        line.compare(comma + 1 - kBase64.size(), kBase64.size(), kBase64) != 0)
        return line;
    const std::string_view base64 = std::string_view(line).substr(comma + 1);
    const std::size_t octets = octetsOf(base64);
    if (octets == 0) return line;
    const std::size_t type = at + kData.size(), endOfType = comma + 1 - kBase64.size();
    std::string hashed = line.substr(0, at);
    hashed.append(kHashed).append(line, type, endOfType - type).append(",");
    return hashed.append(std::to_string(octets)).append(",").append(blake2b(base64));
}

std::string hashedDetails(std::string text)
{
    if (text.find(kBase64) == std::string_view::npos) return text;
    std::string hashed;
    for (const std::string_view line : linesOf(text)) appendLine(hashed, hashedLine(std::string(line)));
    return hashed;
}

std::string_view hashedValue(std::string_view line)
{
    if (line.find(kHashed) == std::string_view::npos) return {};
    const std::size_t at = valueAt(line);
    const std::string_view value = at == std::string_view::npos ? std::string_view() : line.substr(at);
    return value.starts_with(kHashed) ? value : std::string_view();
}

std::string lineWithValueOf(std::string_view line, std::string_view whole)
{
    return std::string(line.substr(0, valueAt(line))).append(whole.substr(valueAt(whole)));
}

std::string wholeDetails(std::string_view text, std::string_view held)
{
    if (text.find(kHashed) == std::string_view::npos) return std::string(text);
    std::map<std::string, std::string_view, std::less<>> wholeOf;
    for (const std::string_view line : linesOf(held)) {
        const std::string hashed = hashedLine(std::string(line));
        if (hashed != line) wholeOf.emplace(hashedValue(hashed), line);
    }
    std::string whole;
    for (const std::string_view line : linesOf(text)) {
        const std::string_view value = hashedValue(line);
        const auto found = value.empty() ? wholeOf.end() : wholeOf.find(value);
        if (value.empty())
            appendLine(whole, line);
        else if (found != wholeOf.end())
            appendLine(whole, lineWithValueOf(line, found->second));
    }
    return whole;
}

} // namespace mb::plugin
