// Sets the details of a card, as a difference to what its details are now.
//
// - A line whose details stay keeps its bytes.
// - No field changes, apart from the blanks behind the commas of a list. A line of the text that would be read as a field is marked as one
// that holds none; a line of a field that would be
//   read as another field is marked with its own (kPinParam). Marks of lines that were written since the card was read go where they are
//   not needed.
// - Where the line of an empty field cannot be removed, because another line would move into the field, it stays, without a value.
#pragma once
#include "Details.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

class DetailsEdit {
public:
    // `text` may come from outside. Requires: `card` and `text` outlive this object.
    DetailsEdit(Card& card, std::u16string_view text);
    // Returns whether the card changed.
    bool apply();

private:
    // What this edit makes of a line.
    struct Change {
        enum class Kind { Keep, Remove, Empty, Rewrite } kind = Kind::Keep;
        std::string canonical;           // Rewrite: the new line, with its group; empty if it stays
        std::vector<std::string> labels; // Rewrite: the new lines that label it
    };
    // What this edit did to a line of the card.
    struct Origin {
        bool written = false;
        int slot = 0; // that the line has to hold; 0 for none
        bool pinned = false;
    };

    void parse();
    void renameCollidingGroups();
    bool plan();
    bool freezeFields();
    void planProperties();
    std::string wholeLine(const std::string& property) const;
    void planField(int field, const FieldLine& held);
    void rewrite(int field, const FieldLine& held, Annotation wanted);
    std::string takePostalLabel(CanonicalProperty& made) const;
    std::string rightLine(int field, const CanonicalProperty& property, const Annotation& wanted) const;
    std::string lineText(int field, const FieldLine& held) const;
    std::string valueOf(std::size_t line) const;
    bool readsRight(int field, const Line& line, const Annotation& wanted) const;
    std::u16string labelOf(const Annotation& annotation) const;
    std::string groupFor(const FieldLine& held, const Annotation& wanted);
    std::string freeGroup();
    void planPins();
    Change::Kind removalOf(std::size_t line);

    void build();
    void append(Line line, const Origin& origin);
    void removeAt(std::size_t at);
    void insertProperties();
    bool settle();
    void claimLines();
    std::set<std::size_t> misread() const;
    void pin(std::size_t at);
    bool isKept(const Field& field) const;
    bool fieldsKept() const;

    Card& card_;
    const std::u16string_view text_;
    const Card before_;
    const CardDetails now_;                                 // of before_
    std::vector<std::string> properties_;                   // wanted, embedded files by their hashes
    std::map<std::string, std::string, std::less<>> given_; // by such a property: the line with the whole value, where the text has it
    std::map<int, Annotation> notes_;                       // wanted, by field
    std::set<std::string> groups_;                          // in the text, upper-case
    std::set<std::string> present_;                         // groups of the card, and those that this edit adds

    bool placeKept_ = false;         // a line stays for the place that it holds
    std::set<int> frozen_;           // fields whose lines stay: what the text asks for would change a field
    std::vector<Change> changes_;    // by line of before_
    std::vector<std::string> added_; // properties
    std::vector<Origin> origins_;    // by line of card_
};

} // namespace mb::vcard
