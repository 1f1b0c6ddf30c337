// Lines of details that refer to another record by its UID: a MEMBER of a group, and RELATED unless its value is a text. The records of one
// contact may have two UIDs in two stores, so a line that travels is rewritten to the UID that the other store knows.
#pragma once
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mb {

// In the order in which records with such lines are written. A group may have a member that refers to another contact.
enum class Reference { None, Relation, Member };

Reference referenceOf(std::u16string_view line);
// The last one of all lines.
Reference lastReference(std::u16string_view details);

// A UID for comparison: without the scheme "urn:uuid:", in lower case.
std::u16string uidKey(std::u16string_view uid);
// The keys of the UIDs that the lines name.
std::vector<std::u16string> referredKeys(std::u16string_view details);
// The UID in the record's own line; empty for none.
std::u16string_view ownUid(std::u16string_view details);

// By the key of a record's UID, the UID of the same contact in the other store. Only where they differ.
using Counterparts = std::map<std::u16string, std::u16string>;

// The line with the counterpart's UID, in the spelling of the reference. A line without a counterpart is returned as it is.
std::u16string withCounterpart(std::u16string_view line, const Counterparts& counterparts);

} // namespace mb
