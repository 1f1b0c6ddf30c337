// The text of a record's details, and the units in which it is merged. A line is a property, an annotation of a field ("@", the field's
// type, parameters), or one of the record's own lines (UID, VERSION), which never travel to a known record.
// The lines of one group are one unit, and so are the lines of one property with the same ALTID or PROP-ID: apart, they mean something
// else. A PID says which program made a line, by the number that a CLIENTPIDMAP gives to the program. In a hash the program's URI stands
// for the number, since another record may number the same programs otherwise.
#pragma once
#include "com.h"
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mb {

using DetailsHash = std::uint64_t;

struct DetailsUnit {
    std::u16string key;                  // of a unit that a record has once: the property, or "@" and the field; empty for any other unit
    std::u16string_view name;            // of the property of the first line; empty for an annotation
    LONG field = 0;                      // of an annotation; 0 for properties
    std::u16string group, altId, propId; // lower case; empty for none
    std::u16string client;               // of a CLIENTPIDMAP: its number
    std::vector<std::u16string_view> lines; // whole, in the order of the text
    std::u16string plain;                   // of an annotation with PIDs: its line as it is hashed; else empty
    DetailsHash hash = 0;                   // of all lines; the names of the group, the ALTID and the PROP-ID do not count

    [[nodiscard]] bool isAnnotation() const noexcept { return field != 0; }
};

using ClientNumbers = std::map<std::u16string, std::u16string, std::less<>>;

struct DetailsText {
    std::vector<DetailsUnit> units;            // in the order of their first lines
    ClientNumbers clients;                     // the URI of each CLIENTPIDMAP, by number
    std::vector<std::u16string_view> ownLines; // UID and VERSION
};

// The parts of a property line. A parameter begins with its semicolon, the value with its colon.
struct LineParts {
    std::u16string_view group, name, value;
    std::vector<std::u16string_view> parameters;
};
LineParts partsOf(std::u16string_view line);

DetailsHash detailsHash(std::u16string_view text) noexcept;

// Of all lines, without the names that do not count. `clients`: of the unit's text.
DetailsHash hashOf(const DetailsUnit& unit, const ClientNumbers& clients);

// The views point into `text`. Empty lines are left out.
DetailsText parseDetails(std::u16string_view text);

// Whether no line of the text can travel to a known record.
bool holdsOnlyOwnLines(std::u16string_view text);

// The hash of an annotation as one of another field.
DetailsHash annotationHash(const DetailsUnit& annotation, LONG field);
std::u16string annotationKey(LONG field);
// The line of an annotation as one of another field, with other numbers in its PIDs.
std::u16string annotationLine(const DetailsUnit& annotation, LONG field, const ClientNumbers& clients = {});

// The names that a unit gets in another record. An empty name leaves the unit's own, and so does a number that is not in `clients`.
struct UnitNames {
    std::u16string group{}, altId{}, propId{}, client{};
    ClientNumbers clients{};
    bool operator==(const UnitNames&) const = default;
};
std::vector<std::u16string> renamedLines(const DetailsUnit& unit, const UnitNames& names);

// The numbers that the PIDs of the unit name.
std::vector<std::u16string> clientsOf(const DetailsUnit& unit);

// The name of a line's property, in the spelling of the line; empty for an annotation.
std::u16string_view propertyOf(std::u16string_view line);
// The text behind the colon; empty for an annotation.
std::u16string_view valueOf(std::u16string_view line);

} // namespace mb
