// Maps contact fields to the lines of a card. A field is identified by its number in _FieldTypes. Fields that are parts of one property,
// such as the five parts of a name, share a slot; at most one line of a card holds a slot.
#pragma once
#include "FieldNumbers.h"
#include "Line.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace mb::vcard {

enum class Shape : std::uint8_t { Text, Part, List, Values, Date, Phone, Gender, Chat, Kind, Image };

struct Field {
    std::uint16_t type; // _FieldTypes
    const char16_t* label;
    std::string_view property; // property name of a new line
    std::string_view types;    // TYPE words of a new line, separated by commas
    std::uint8_t slot;         // the lowest field type of those that share the line; kKindSlot for ft::Kind
    std::uint8_t part;         // index in a structured value
    Shape shape;
};

inline constexpr std::size_t kSlots = 96; // a slot is a field type, 1 to 92, or kKindSlot; rounded up for speed
inline constexpr std::uint8_t kKindSlot = 93;
inline constexpr std::string_view kPinParam = "X-MB-FIELD";
inline constexpr std::string_view kNoField = "0"; // a value of kPinParam: the line holds no field
// RFC 9554: marks a value that was derived from other properties.
inline constexpr std::string_view kDerivedParam = "DERIVED";

// Returns a number below kSlots that no other field has.
constexpr std::size_t indexOf(const Field& field) { return field.type < kKindSlot ? field.type : field.slot; }

inline constexpr int kCategoriesField = ft::Categories, kDisplayNameField = ft::DisplayName;

std::span<const Field> fields();
std::span<const Field* const> fieldsOf(std::uint8_t slot); // by type
// Returns the lowest of the fields that share the line of a slot: the one that an annotation names.
const Field& firstField(std::size_t slot);
const Field* findField(int type);

// The slots that a line may hold, best first. Lines with a lower rank choose first: 0 for a line that is marked with its field (kPinParam),
// 1 for the standard property of a slot, 2 for an alternative property.
struct Claim {
    std::array<std::uint8_t, 8> slots{};
    std::uint8_t count = 0;
    std::uint8_t rank = 1;
};

// `label` is the X-ABLabel of the line's group, which some programs write instead of a TYPE.
Claim claimOf(const Line& line, std::u16string_view label, const Context& context);
// Returns whether the line is marked as one that holds no field.
bool isOfNoField(const Line& line);
// Returns whether the line's claim depends on its value, and not only on its name and parameters.
bool claimsByValue(const Line& line);

// Returns the scheme of an IMPP address that determines a slot, such as "aim:"; empty if there is none.
std::u16string_view chatPrefix(std::u16string_view value);

} // namespace mb::vcard
