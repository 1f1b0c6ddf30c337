#include "LineParams.h"

#include "Ascii.h"
#include "LineHeader.h"

#include <algorithm>

namespace mb::vcard {
namespace {

constexpr std::string_view kType = "TYPE";

// Returns the text without quotes and control characters.
std::string plainText(std::string_view text)
{
    std::string plain;
    for (const char c : text)
        if (c != '"' && (static_cast<unsigned char>(c) >= 0x20 || c == '\t')) plain += c;
    return plain;
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

std::string paramName(std::string_view text)
{
    const std::string plain = plainText(text);
    std::string name;
    for (const char c : trimmed(plain))
        if (c != ':' && c != ';' && c != ',' && c != '=') name += upper(c);
    return name;
}

// Calls `each` with the parts of the text between commas.
template <class Each> void splitAtCommas(std::string_view text, bool respectQuotes, Each each)
{
    for (std::size_t at = 0;;) {
        const std::size_t comma = respectQuotes ? findOutsideQuotes(text, ',', at) : text.find(',', at);
        const std::size_t end = std::min(comma, text.size());
        each(text.substr(at, end - at));
        if (end == text.size()) return;
        at = end + 1;
    }
}

std::string typeWord(std::string_view text)
{
    std::string word(trimmed(text));
    for (char& c : word) c = lower(c);
    return word;
}

void addTypes(std::vector<std::string>& types, std::string_view text)
{
    const std::string plain = plainText(text); // a list of types may be quoted as a whole
    splitAtCommas(plain, false, [&](std::string_view part) {
        if (std::string word = typeWord(part); !word.empty()) types.push_back(std::move(word));
    });
}

} // namespace

Params parseParams(std::string_view header)
{
    Params params;
    std::vector<std::string> types;
    std::size_t at = std::min(header.find(';'), header.size());
    while (at < header.size()) {
        const std::size_t end = std::min(findOutsideQuotes(header, ';', at + 1), header.size());
        const std::string_view text = header.substr(at + 1, end - at - 1);
        at = end;
        if (trimmed(text).empty()) continue;
        const std::size_t equals = text.find('=');
        const bool bare = equals == std::string_view::npos;
        const std::string name = bare ? std::string(bareWordName(trimmed(text))) : paramName(text.substr(0, equals));
        const std::string_view values = bare ? text : text.substr(equals + 1);
        if (name == kType)
            addTypes(types, values);
        else if (!name.empty())
            splitAtCommas(values, true, [&](std::string_view value) { params[name].push_back(plainText(value)); });
    }
    std::ranges::sort(types);
    types.erase(std::unique(types.begin(), types.end()), types.end());
    if (!types.empty()) params.emplace(kType, std::move(types));
    return params;
}

std::string formatParam(std::string_view name, const std::vector<std::string>& values)
{
    std::string text;
    text.append(";").append(name);
    char separator = '=';
    for (const std::string& value : values) {
        const bool quoted = value.find_first_of(",:;") != value.npos;
        text.append(1, separator).append(quoted ? "\"" : "").append(value).append(quoted ? "\"" : "");
        separator = ',';
    }
    return text;
}

std::string formatParams(const Params& params)
{
    std::string text;
    for (const auto& [name, values] : params) text += formatParam(name, values);
    return text;
}

bool takeType(Params& params, std::string_view type)
{
    const auto types = params.find(kType);
    if (types == params.end() || std::erase(types->second, type) == 0) return false;
    if (types->second.empty()) params.erase(types);
    return true;
}

void addType(Params& params, std::string_view type)
{
    std::vector<std::string>& types = params[std::string(kType)];
    const auto at = std::ranges::lower_bound(types, type);
    if (at == types.end() || *at != type) types.emplace(at, type);
}

std::string paramText(const Params& params, std::string_view name)
{
    std::string text;
    if (const auto found = params.find(name); found != params.end())
        for (const std::string& value : found->second) text.append(&value == &found->second.front() ? "" : ",").append(value);
    return text;
}

} // namespace mb::vcard
