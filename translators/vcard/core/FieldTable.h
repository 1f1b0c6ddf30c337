// Which part of a card holds which field. A field is named by its number in _FieldTypes; fields that share one property,
// as the five parts of a name, share a slot. A slot is held by at most one line of a card.
#pragma once
#include "Line.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace mb::vcard {

enum class Shape : std::uint8_t { Text, Part, List, Date, Phone, Gender, Chat, Image };

struct Field {
    std::uint8_t type; // _FieldTypes
    const char16_t* label;
    std::string_view property; // of a new line
    std::string_view types;    // TYPE words of a new line, separated by commas
    std::uint8_t slot;         // the lowest field type that shares the line
    std::uint8_t part;         // of a structured value
    Shape shape;
};

inline constexpr std::size_t kSlots = 96; // slots are field types, 1 to 92; a round number of them is worked on faster
inline constexpr std::string_view kPinParam = "X-MB-FIELD";
// RFC 9554: the value was made from other properties.
inline constexpr std::string_view kDerivedParam = "DERIVED";

std::span<const Field> fields();
const Field* findField(int type);

// The slots a line may hold, the best first. A lower rank is served before a higher one: 0 for a line that is marked with its
// field (kPinParam), 1 for the usual property of the slot, 2 for another program's name of it.
struct Claim {
    std::array<std::uint8_t, 8> slots{};
    std::uint8_t count = 0;
    std::uint8_t rank = 1;
};

// label is the X-ABLabel of the line's group, which some programs use in place of a type.
Claim claimOf(const Line& line, std::u16string_view label, const Context& context);
// Whether a new value can change the claim of the line, and not only its name and parameters.
bool claimsByValue(const Line& line);

// The scheme in front of an IMPP address that belongs to a slot, as in "aim:"; empty for none.
std::u16string_view chatPrefix(std::u16string_view value);

} // namespace mb::vcard
