// Annotations of details: what the property of a field holds besides the values of its fields, as the difference between the property's
// line and the line that the same values would get in a new card. Both lines are in canonical spelling.
//
//   @8;LABEL="1 High Street";P0="PO Box 7";X-ABLABEL=Shop
//
// Besides parameters of the line, where an empty value means that the line lacks the parameter, an annotation may name
// - P0, P1, ...    a part of a structured value that no field holds, by its index
// - X-ABLABEL      a label, which is a line of its own in the group of the line; likewise X-ABADR
// - X-MB-PARTS     the number of parts of a structured value
// - X-MB-ESCAPES   "none": the value escapes only what it must
// - X-MB-VALUE     the whole value; ignored where it would change a field
// - X-MB-NAME      the name of the property
// - X-MB-GROUP     the group, if its name says something or other lines share it
// Their values are as in RFC 6868: ^n, ^' and ^^ are a line break, a double quote and a circumflex.
#pragma once
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

inline constexpr std::string_view kPartsNote = "X-MB-PARTS", kEscapesNote = "X-MB-ESCAPES", kValueNote = "X-MB-VALUE",
                                  kNameNote = "X-MB-NAME", kGroupNote = "X-MB-GROUP";
// Names of lines that label the other lines of their group.
inline constexpr std::array<std::string_view, 2> kLabelNames = {"X-ABLABEL", "X-ABADR"};

using Annotation = std::map<std::string, std::string, std::less<>>; // parameters as they are spelled, by name

// A canonical line, with its group as it is spelled.
struct CanonicalProperty {
    std::string group, name;
    Annotation params;
    std::string value;
};
CanonicalProperty splitProperty(std::string_view canonical);
std::string joined(const CanonicalProperty& property);

// Returns the annotation of the text "@N;..."
Annotation parseAnnotation(std::string_view text);
std::string annotationText(int field, const Annotation& annotation);

// Returns the value of a note; nullopt if there is none.
std::optional<std::string> note(const Annotation& annotation, std::string_view name);
void setNote(Annotation& annotation, std::string_view name, std::string_view value);

// Version 4.0 has the postal label of an address as a parameter of ADR, and older versions as a property LABEL behind it. Returns the
// parameter as it is spelled, of the property's canonical value; empty where the way back would give another value. And the reverse.
inline constexpr std::string_view kPostalLabel = "LABEL";
std::string postalLabelParam(std::string_view value);
std::string postalLabelValue(std::string_view param);

// `fieldParts` has a bit for each part of a structured value that a field holds; 0 for a value without parts.
Annotation difference(const CanonicalProperty& usual, const CanonicalProperty& actual, std::uint32_t fieldParts);
// Returns the property that the annotation makes of the usual one. Groups and labels are left out.
CanonicalProperty annotated(const CanonicalProperty& usual, const Annotation& annotation, std::uint32_t fieldParts);

} // namespace mb::vcard
