// The text of a contact's details: what a store holds of a contact besides its fields. Each line, without a line break at the end of the
// text, is one of
// - a property:     GROUP.NAME;PARAM=value:VALUE, with GROUP and parameters optional, values escaped as in vCard 4.0;
// - an annotation:  @24;TYPE=cell, what the property of field 24 holds besides the value of the field;
// - an own line:    UID:... or VERSION:..., which describes the record and is never merged. A new record gets those of its source; its
//                   VERSION is a hint, and a demand with the parameter PREF=1.
// Uses neither components nor platform/, so that the cores of the plug-ins can include it.
#pragma once
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mb::plugin {

inline constexpr int kDetailsField = 1000;                         // ftDetails
inline constexpr std::size_t kMaxDetailsLine = 32u << 20;          // octets of one line in UTF-8
inline constexpr std::size_t kMaxDetails = std::size_t{64u} << 20; // octets of the whole text in UTF-8

// Returns what a store may keep of a text from outside. Control characters other than TAB are removed, unpaired surrogates replaced, and a
// lone backslash at the end of a line is doubled. A line that is no property and no annotation, or that would begin or end a card, or that
// declares an encoding or a charset, is dropped. The result holds no line that would end a card, or be read as two lines.
std::u16string cleanedDetails(std::u16string_view text);
// The same for one line; empty if it is dropped.
std::u16string cleanedDetailsLine(std::u16string_view line);

inline constexpr std::u16string_view kDemandedVersion = u"VERSION;PREF=1"; // as ownDetail() takes it

// Returns the lines, which are views into the text.
std::vector<std::u16string_view> detailsLines(std::u16string_view text);

// Returns the field that an annotation names; 0 for any other line.
int annotatedField(std::u16string_view line);
// Returns the fields that share a property with the field that an annotation names, which is the lowest of them: the five parts of a name
// for 1. Most fields have a property of their own.
std::vector<int> fieldsOfAnnotation(int field);
// Returns the text without the annotations of fields for which `isEmpty` returns true.
std::u16string withoutAnnotations(std::u16string_view text, const std::function<bool(int field)>& isEmpty);

// Returns the value of the first line NAME:value, such as that of the own line UID; empty if there is none.
std::u16string ownDetail(std::u16string_view text, std::u16string_view name);

// Returns the length of the text in UTF-8.
std::size_t detailsOctets(std::u16string_view text);

// Returns a message that the text, or a line of it, is over its limit; empty if a store may keep it. `card` is the card's name in UTF-8.
// `refused` says what does not happen to the card.
std::string detailsRefusal(std::u16string_view text, const std::string& card, const std::string& refused = "is not written");

} // namespace mb::plugin
