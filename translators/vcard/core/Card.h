// One vCard: its lines as they stand in the file, read and written by field. A line that no edit touches keeps its bytes.
//
// Fields that a line cannot say by property and type are marked with an X-MB-FIELD parameter, and a line whose removal would
// make another line slip into its field is emptied instead: so a field, once written, is read back from the same line.
#pragma once
#include "FieldTable.h"
#include "Line.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

class Card {
public:
    static Card parse(std::string_view text);                               // the text of one card, as scanCards cuts it
    static Card make(std::string_view uuid, std::string_view eol = "\r\n"); // a new card of version 4.0

    std::string bytes() const;
    std::string uid() const;     // empty for none
    std::string nameKey() const; // FN and N as they stand: what tells a card without UID from another
    Version version() const { return context_.version; }

    // The value of a field of the table; line breaks are LF. An unknown or absent field is empty.
    std::u16string get(int type) const;
    // Sets one field, an empty text clears it. Returns whether a byte changed: the value a field already has changes none.
    bool set(int type, std::u16string_view value);

    // Whether these bytes, parsed anew, are the lines and the values of this card; bytes() of a card must be, before they are written.
    bool readsBackFrom(std::string_view bytes) const;

    // Finds out what the line of every field says, which get() else does at the first question.
    void decode() const;

    // A picture of the table: the bytes of the first JPEG file that the card holds in itself. One of another format, or one that stands
    // somewhere else, is none, and stays what it is.
    std::string image(int type) const;
    std::uint64_t imageSize(int type) const;
    bool setImage(int type, std::string_view jpeg);

    // "Dr. John Q. Doe Jr." from the parts of the name.
    std::u16string composedName() const;
    // FN must stand in every card from version 3.0 on. Where the contact has no display name, FN is made from what the card
    // holds and marked as derived, and so reads as no display name; one made before follows its sources.
    void completeName();

private:
    using Slots = std::array<int, kSlots>; // line number, -1 for none

    void reserve();
    std::string declaredCharset() const;
    std::string charsetOf(std::string_view text) const;
    void keepCharset();
    void claimAll();
    void claimAgain(std::size_t at);
    Slots resolve(std::size_t without) const;
    int lineOf(const Field& field) const { return slots_[field.slot]; }
    std::u16string labelOf(const Line& line) const;
    std::u16string read(const Field& field, const Line& line) const;
    std::u16string compose(const Field& field, Line& line, std::u16string_view text) const;
    std::string newHeader(const Field& field) const;
    void replace(const Field& field, const std::u16string& text);
    void add(const Field& field, const std::u16string& text);
    void clear(const Field& field);
    bool required(const Field& field) const;
    std::size_t endOfLines() const;
    std::size_t imageLine(const Field& field) const;
    const Line* lineOfImage(int type) const;
    void addImage(const Field& field, std::string_view jpeg);

    Context context_;
    bool mayChangeCharset_ = false; // the card is not all UTF-8, or a line declares another charset
    std::vector<Line> lines_;
    std::vector<Claim> claims_;
    Slots slots_{};
};

} // namespace mb::vcard
