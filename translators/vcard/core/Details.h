// What a card holds besides its fields. See DetailsText.h for its text, Annotation.h for annotations.
#pragma once
#include "Annotation.h"
#include "Card.h"
#include "LineReader.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace mb::vcard {

// Returns whether a group is named item1, item2 and so on, which says nothing.
bool isItemGroup(std::string_view group);

// Returns what the bytes of a line are.
RawLine::Kind kindOf(const Line& line);

// Returns whether the line is a label of the other lines of its group, without parameters.
bool isLabel(const Line& line, const Context& context);

// The line that holds the values of a field, or of the fields of a slot.
struct FieldLine {
    std::size_t line = 0;
    std::vector<std::size_t> labels; // lines that label this one, and go with it
    bool sharesGroup = false;        // with lines besides its labels
    Annotation annotation;
};

class CardDetails {
public:
    // Requires: `card` outlives this object and is not changed meanwhile.
    explicit CardDetails(const Card& card);

    // The details of each line that travels as a property, an embedded file by its hash (DetailsBytes.h); empty for any other line.
    const std::vector<std::string>& properties() const { return properties_; }
    // The same for one line, with the whole value.
    std::string wholeProperty(std::size_t line) const;
    // The lines of the fields that have a value, by the field that names them in an annotation.
    const std::map<int, FieldLine>& fieldLines() const { return fieldLines_; }
    std::u16string text() const;
    // Returns the lines of the text that belong to the card itself.
    static std::u16string ownLines(const Card& card);
    // The same lines in the same order, with whole values.
    std::u16string wholeText() const;

    // Returns the property that a new card of the same version would get for the values of these fields. A picture has no value.
    static CanonicalProperty usual(const Card& card, int field);
    // Returns the canonical line with its group; without the value for a picture.
    static CanonicalProperty actual(const Card& card, int field, std::size_t line);
    static std::uint32_t fieldParts(int field);
    // Returns the property LABEL that belongs to an address, without its value.
    static CanonicalProperty postalLabel(const CanonicalProperty& address);

private:
    struct Group {
        std::size_t lines = 0;
        int holder = 0;                  // the lowest field that has its line in the group, 0 for none: the labels go with it
        std::vector<std::size_t> labels; // the first of each name
    };
    using Groups = std::map<std::string, Group, std::less<>>;

    void findFieldLines();
    Groups groups(const std::vector<int>& fieldOf) const;
    void annotate(int field, FieldLine& held, const Groups& groups) const;
    std::string propertyOf(std::size_t line) const;
    std::string postalLabelOf(std::size_t address) const;
    bool holdsCard(std::size_t line) const;
    std::string canonical(std::size_t line) const;
    template <class Property> std::u16string textOf(Property&& property) const;

    const Card& card_;
    std::vector<std::string> properties_;
    std::map<int, FieldLine> fieldLines_;
};

} // namespace mb::vcard
