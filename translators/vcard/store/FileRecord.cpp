#include "FileRecord.h"

#include "Ascii.h"
#include "Card.h"
#include "Charset.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <unordered_map>
#include <utility>

namespace mb::vcard {
std::int64_t present()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::string hex(std::uint64_t n)
{
    char buffer[17];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, n, 16);
    return {buffer, end.ptr};
}

std::uint64_t hashOf(std::string_view bytes)
{
    std::uint64_t h = 14695981039346656037u; // FNV-1a
    for (const char c : bytes) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211u;
    return h;
}

std::string safeToken(std::string_view uid)
{
    std::string token;
    token.reserve(uid.size());
    for (const char c : uid) {
        const auto b = static_cast<unsigned char>(c);
        if (b > 32 && b != 0x7F && c != '/' && c != '\\' && c != '%' && c != '#')
            token += c;
        else
            token += '%' + hex(0x100u + b).substr(1);
    }
    return token;
}

std::string fromSafeToken(std::string_view token)
{
    if (token.find('%') == token.npos) return std::string(token);
    std::string text;
    for (std::size_t i = 0; i < token.size(); ++i) {
        unsigned byte = 0;
        if (token[i] == '%' && i + 2 < token.size() && std::from_chars(&token[i + 1], &token[i + 1] + 2, byte, 16).ec == std::errc()) {
            text += static_cast<char>(byte);
            i += 2;
        } else {
            text += token[i];
        }
    }
    return text;
}

std::string uidTokenOf(std::string_view card)
{
    if (!holdsFold(card, "UID")) return {};
    return safeToken(isUtf8(card) ? uidOf(card) : Card::parse(card).uid());
}

std::array<std::string, 2> uidsOfName(std::string_view fileName)
{
    const std::string_view stem = fileName.substr(0, fileName.rfind('.'));
    return {safeToken(stem), safeToken("urn:uuid:" + std::string(stem))};
}

bool isUidOfName(const std::string& token, const std::string& fileName)
{
    // Comparing the last character rules out most UIDs without building tokens of the file name.
    return fileName.size() > 4 && token.ends_with(fileName[fileName.size() - 5]) && std::ranges::count(uidsOfName(fileName), token) > 0;
}

std::string FileRecord::id() const { return uid.empty() || isUidOfName(uid, name) ? name : name + '#' + uid; }

std::vector<CardRecord> describeCards(std::string_view text, const std::vector<CardSpan>& spans)
{
    std::vector<CardRecord> cards;
    std::unordered_map<std::string, int> seen;
    cards.reserve(spans.size());
    for (const CardSpan& span : spans) {
        const std::string_view bytes = text.substr(span.begin, span.end - span.begin);
        const Card card = Card::parse(bytes);
        const std::string uid = card.uid();
        std::string token = uid.empty() ? '~' + hex(hashOf(card.nameKey())) : safeToken(uid);
        const int count = ++seen[token];
        if (count > 1) token += '~' + std::to_string(count);
        cards.push_back({std::move(token), false, hashOf(bytes), 0});
    }
    return cards;
}

VersionCounts versionsIn(std::string_view text, const std::vector<CardSpan>& spans)
{
    VersionCounts counts{};
    for (const CardSpan& span : spans) ++counts[static_cast<std::size_t>(versionOf(text.substr(span.begin, span.end - span.begin)))];
    return counts;
}

// Only cards that contain the word are parsed: most cards have no categories.
std::string categoriesIn(std::string_view text, const std::vector<CardSpan>& spans)
{
    constexpr std::string_view name = "CATEGORIES";
    std::string all;
    for (const CardSpan& span : spans) {
        const std::string_view bytes = text.substr(span.begin, span.end - span.begin);
        if (!holdsFold(bytes, name)) continue;
        const std::string found = toUtf8(Card::parse(bytes).get(kCategoriesField));
        if (!found.empty()) all.append(all.empty() ? "" : ",").append(found);
    }
    return all;
}

} // namespace mb::vcard
