// A telephone number: a text, or a tel: URI, which may name an extension.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

// Returns the number of a tel: URI: tel:+1-555-0100;ext=7 becomes "+1-555-0100 ext. 7". Other parameters stay as they are, and so does a
// text that is no tel: URI.
std::u16string readPhone(std::u16string_view text);
// Returns the tel: URI that reads as the text; nullopt if the text has what no such URI may hold.
std::optional<std::u16string> phoneUri(std::u16string_view text);

} // namespace mb::vcard
