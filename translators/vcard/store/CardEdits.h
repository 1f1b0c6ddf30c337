// Changes of the cards of one file that are written later, all at once: as a text, checked before it is written, and carried over to what
// another program made of the file in between.
#pragma once
#include "LineReader.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

// The cards of a text, and where they stand in it.
struct CardsText {
    std::string_view text;
    const std::vector<CardSpan>& spans;

    std::string_view card(std::size_t i) const { return text.substr(spans[i].begin, spans[i].end - spans[i].begin); }
};

struct CardEdits {
    std::map<std::size_t, std::string> changed; // by card; an empty text deletes the card
    std::vector<std::string> added;             // behind all others; an empty text is no card
};

// A card that this program and another one changed.
struct ChangedByBoth {
    std::size_t card; // of the text before both changes
};

// The same edits for the text that another program made of `before`. A card is the same by its UID, or by its bytes. Equal changes of both
// are one. Throws ChangedByBoth.
CardEdits carriedOver(const CardEdits& edits, const CardsText& before, const CardsText& theirs);

struct EditedText {
    std::string text;
    std::vector<CardSpan> spans; // where its cards must be found when the text is read again
};
EditedText applied(const CardEdits& edits, const CardsText& before);

// The number of the first card that is not read again where it was written; the number of cards if all are.
std::size_t firstMisread(const EditedText& written, const ScanResult& scan);

} // namespace mb::vcard
