// What kind of value a property has, and the type of value that version 4.0 assumes for it.
#pragma once
#include <cstdint>
#include <string_view>

namespace mb::vcard {

enum class PropertyKind : std::uint8_t {
    Text,
    Structured, // components between semicolons
    List,       // texts between commas
    Uri,
    Media, // a URI, or embedded bytes
    Date,
    UtcOffset,
    Position,
    Id,     // of a card: a URI or a text
    Unknown // a property of another program: a text that may have separators
};

struct Property {
    std::string_view name; // upper-case
    PropertyKind kind;
    std::string_view valueType; // the default of version 4.0
};

// Never fails: a property that is not listed is Unknown. `name` must outlive the result.
Property propertyOf(std::string_view name);

// Returns the name of the property in version 4.0, and the one before 4.0.
std::string_view nameInVersion40(std::string_view name);
std::string_view nameBeforeVersion40(std::string_view name);

} // namespace mb::vcard
