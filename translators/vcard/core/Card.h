// One vCard, read and written by field. A line that no edit touches keeps its bytes.
//
// A field, once written, is always read back from the same line:
// - If property and TYPE do not determine the field, the line gets an X-MB-FIELD parameter.
// - If removing a line would move another line into its field, the line is emptied instead.
#pragma once
#include "FieldTable.h"
#include "Line.h"

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

// Returns the version that the text of one card names; 3.0 if it names none.
Version versionOf(std::string_view text);
// Returns the UID of one card, as Card::uid() does, without parsing its other lines. Requires: the text is UTF-8.
std::string uidOf(std::string_view text);

class Card {
public:
    // Requires: `text` is one card, as delimited by scanCards.
    static Card parse(std::string_view text);
    // Returns a new card of version 3.0 or 4.0. There are no new cards of version 2.1: they are of 3.0.
    static Card make(std::string_view uuid, std::string_view eol = "\r\n", Version version = Version::V40);

    // Returns a new card of the version, with the UID and the fields of this one, which was made by make() and holds nothing else.
    Card inVersion(Version version) const;

    std::string bytes() const;
    std::string uid() const;     // empty if the card has none
    std::string nameKey() const; // the values of FN and N, which identify a card without UID
    Version version() const { return context_.version; }

    // Returns the value of a text field, with LF as line break; empty for an unknown field, an absent one, or a derived display name.
    std::u16string get(int type) const;
    // Sets a field; an empty value clears it. Returns whether the card changed: writing the present value changes no byte.
    bool set(int type, std::u16string_view value);

    // Returns whether parsing `bytes` gives the lines and values of this card. Stores check this before they write a card.
    bool readsBackFrom(std::string_view bytes) const;

    // A picture field holds the first JPEG file that is embedded in the card. Pictures in other formats and linked pictures count as absent
    // and are left unchanged. setImage() with no bytes removes the picture.
    std::string image(int type) const;
    std::uint64_t imageSize(int type) const;
    bool setImage(int type, std::string_view jpeg);

    // The details are what the card holds besides its fields; see DetailsText.h. details() gives an embedded file by its hash, see
    // DetailsBytes.h; wholeDetails() has the same lines with whole values. setDetails() takes either form. It changes only the lines that
    // differ, never a field, and ignores the own lines of the text. Returns whether the card changed.
    std::u16string details() const;
    std::u16string wholeDetails() const;
    bool setDetails(std::u16string_view text);
    // Gives a new card the UID that the details name, if `isFree` returns true for it; otherwise the card keeps its own.
    void takeUid(std::u16string_view details, const std::function<bool(const std::string& uid)>& isFree);

    // Removes the marks (X-MB-FIELD) of lines that were written since the card was read where the card reads the same without them, if need
    // be with the line at the place of another one. A field that is written before another one of its property gets a mark that is needless
    // afterwards.
    void dropNeedlessMarks();

    // Returns the parts of the name as one text, such as "Dr. John Q. Doe Jr.".
    std::u16string composedName() const;
    // FN is mandatory from version 3.0 on. For a contact without display name, FN is derived from other fields and marked as derived. A
    // derived FN reads as no display name; later calls update it from its sources.
    void completeName();

private:
    friend class CardDetails;
    friend class DetailsEdit;
    using Slots = std::array<int, kSlots>; // index into lines_ by slot, -1 for none

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
    void replace(const Field& field, const std::u16string& text);
    void add(const Field& field, const std::u16string& text);
    void clear(const Field& field);
    void eraseLine(std::size_t at);
    bool dropMark(std::size_t line);
    bool readsWithoutMark(std::size_t line, std::size_t at);
    void eraseLabels(const std::string& group);
    bool required(const Field& field) const;
    std::size_t endOfLines() const;
    bool holdsOnlyFields() const;
    std::size_t imageLine(const Field& field) const;
    const Line* lineOfImage(int type) const;
    void addImage(const Field& field, std::string_view jpeg);

    Context context_;
    bool mayChangeCharset_ = false; // the card is not valid UTF-8, or a line declares another charset
    std::vector<Line> lines_;
    std::vector<Claim> claims_;
    Slots slots_{};
};

} // namespace mb::vcard
