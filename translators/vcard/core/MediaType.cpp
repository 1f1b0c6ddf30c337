#include "MediaType.h"

#include "Ascii.h"
#include "Transfer.h"

#include <algorithm>
#include <array>

namespace mb::vcard {
namespace {

constexpr std::string_view kUnknown = "application/octet-stream", kData = "data:", kBase64 = ";base64";

struct MediaWord {
    std::string_view word, mediaType;
};

// The first word of a media type is the one to write.
constexpr auto kWords = std::to_array<MediaWord>({
    {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},
    {"png", "image/png"},
    {"gif", "image/gif"},
    {"webp", "image/webp"},
    {"bmp", "image/bmp"},
    {"tiff", "image/tiff"},
    {"svg", "image/svg+xml"},
    {"wave", "audio/wav"},
    {"wav", "audio/wav"},
    {"basic", "audio/basic"},
    {"aiff", "audio/aiff"},
    {"ogg", "audio/ogg"},
    {"mp3", "audio/mpeg"},
    {"pgp", "application/pgp-keys"},
    {"x509", "application/pkix-cert"},
});

bool belongsTo(std::string_view mediaType, std::string_view property)
{
    if (property == "PHOTO" || property == "LOGO") return mediaType.starts_with("image/");
    if (property == "SOUND") return mediaType.starts_with("audio/");
    if (property == "KEY") return mediaType.starts_with("application/");
    return !mediaType.starts_with("application/");
}

bool isBase64(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/' || c == '=' || c == ' ';
    });
}

// Returns the text without backslashes in front of separators.
std::string withoutEscapes(std::string_view uri)
{
    std::string plain;
    plain.reserve(uri.size());
    for (std::size_t i = 0; i < uri.size(); ++i) {
        const char next = uri[i] == '\\' && i + 1 < uri.size() ? uri[i + 1] : '\0';
        if (next == '\0' || (next != ',' && next != ';' && next != ':')) plain += uri[i];
        if (next != '\0') plain += uri[++i];
    }
    return plain;
}

} // namespace

std::string mediaTypeOfWord(std::string_view property, std::string_view word)
{
    if (word.find('/') != word.npos) return belongsTo(word, property) ? std::string(word) : std::string();
    for (const MediaWord& w : kWords)
        if (w.word == word && belongsTo(w.mediaType, property)) return std::string(w.mediaType);
    return {};
}

std::string_view wordOfMediaType(std::string_view property, std::string_view mediaType)
{
    for (const MediaWord& w : kWords)
        if (w.mediaType == mediaType && belongsTo(mediaType, property)) return w.word;
    return {};
}

std::string_view mediaTypeOfBytes(std::string_view bytes)
{
    constexpr auto kSigns = std::to_array<MediaWord>({
        {"\xFF\xD8\xFF", "image/jpeg"},
        {"\x89PNG", "image/png"},
        {"GIF8", "image/gif"},
        {"BM", "image/bmp"},
        {"OggS", "audio/ogg"},
        {"ID3", "audio/mpeg"},
    });
    if (bytes.starts_with("RIFF") && bytes.size() >= 12) {
        if (bytes.substr(8, 4) == "WEBP") return "image/webp";
        if (bytes.substr(8, 4) == "WAVE") return "audio/wav";
    }
    for (const MediaWord& s : kSigns)
        if (bytes.starts_with(s.word)) return s.mediaType;
    return kUnknown;
}

bool isDataUri(std::string_view uri) { return equalFold(uri.substr(0, kData.size()), kData); }

bool hasUriScheme(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == text.npos || colon == 0) return false;
    const auto letter = [](char c) { return upper(c) >= 'A' && upper(c) <= 'Z'; };
    return letter(text[0]) && std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon),
                                          [&](char c) { return letter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'; });
}

std::optional<DataUri> parseDataUri(std::string_view uri)
{
    const std::size_t comma = uri.find(',');
    if (!isDataUri(uri) || comma == uri.npos) return std::nullopt;
    const std::string_view head = uri.substr(kData.size(), comma - kData.size()), base64 = uri.substr(comma + 1);
    if (!endsWithFold(head, kBase64) || !isBase64(base64)) return std::nullopt;
    DataUri data{lowerCopy(head.substr(0, head.size() - kBase64.size())), base64};
    if (data.mediaType == "image/jpg") data.mediaType = "image/jpeg";
    return data;
}

std::string formatDataUri(std::string_view mediaType, std::string_view bytes)
{
    return std::string(kData).append(mediaType).append(kBase64).append(",").append(encodeBase64(bytes));
}

std::string canonicalUri(std::string_view uri)
{
    if (!isDataUri(uri)) return std::string(uri);
    const bool escaped = uri.substr(0, uri.find(',')).find('\\') != uri.npos;
    std::string plain = escaped ? withoutEscapes(uri) : std::string(uri);
    const std::optional<DataUri> data = parseDataUri(plain);
    return data ? formatDataUri(data->mediaType, decodeBase64(data->base64)) : plain;
}

} // namespace mb::vcard
