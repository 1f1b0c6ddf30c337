// Edits of one file of many cards, collected in a batch and written together. If another program changed the file meanwhile, the edits are
// applied to its version of the file.
#pragma once
#include "LineReader.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

// A text, and the positions of its cards.
struct CardsText {
    std::string_view text;
    const std::vector<CardSpan>& spans;

    std::string_view card(std::size_t i) const { return text.substr(spans[i].begin, spans[i].end - spans[i].begin); }
};

struct CardEdits {
    std::map<std::size_t, std::string> changed; // by index of the card; an empty text deletes the card
    std::vector<std::string> added;             // appended to the file; an empty text is a new card that was deleted again
};

// Thrown for a card that this program and another one changed differently.
struct ChangedByBoth {
    std::size_t card; // index in the text before both changes
};

// Returns the edits for `theirs`, which another program made of `before`. Cards are matched by UID, or by their bytes. A change that both
// made is made once. Throws ChangedByBoth.
CardEdits carriedOver(const CardEdits& edits, const CardsText& before, const CardsText& theirs);

struct EditedText {
    std::string text;
    std::vector<CardSpan> spans; // where parsing the text must find the cards
};
EditedText applied(const CardEdits& edits, const CardsText& before);

// Returns the index of the first card that parsing did not find where it was written; the number of cards if all were found.
std::size_t firstMisread(const EditedText& written, const ScanResult& scan);

} // namespace mb::vcard
