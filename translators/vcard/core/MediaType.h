// Media types of pictures, sounds and keys: a TYPE word before version 4.0, a media type or a data: URI in 4.0.
#pragma once
#include "LineParams.h"

#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

// Returns the media type that the TYPE word names on a line of the property, such as image/png for "png"; empty for a word that names none.
std::string mediaTypeOfWord(std::string_view property, std::string_view word);
// Returns the TYPE word of the media type, in lower case; empty if there is none.
std::string_view wordOfMediaType(std::string_view property, std::string_view mediaType);
// Returns the media type that the first bytes of a file show; application/octet-stream if they show none.
std::string_view mediaTypeOfBytes(std::string_view bytes);

struct DataUri {
    std::string mediaType;
    std::string_view base64; // points into the text that was parsed
};
// Returns nullopt for any other URI, and for a data: URI that is not in base64.
std::optional<DataUri> parseDataUri(std::string_view uri);
std::string formatDataUri(std::string_view mediaType, std::string_view bytes);

// Returns the URI without escapes of separators, and with its bytes and media type in the usual spelling if it is a data: URI.
std::string canonicalUri(std::string_view uri);
bool isDataUri(std::string_view uri);
// Returns whether the text begins with the scheme of a URI.
bool hasUriScheme(std::string_view text);

} // namespace mb::vcard
