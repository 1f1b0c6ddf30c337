// A file of one card, read and parsed.
#pragma once
#include "Card.h"
#include "FileText.h"
#include "Folder.h"

#include <cstddef>
#include <string>

namespace mb::vcard {

struct SingleCard {
    Card card;
    FileState state;
    std::string bytes; // the card in the file, with the blank lines around it
    FileText file;     // the form of the file, without its text
};

// Thrown if a file does not contain exactly one card.
struct CardFault {
    std::size_t line;
    std::string text;
};

// Throws a FileError if the file cannot be read, or a CardFault.
SingleCard readCard(const Folder& folder, const std::string& name);

} // namespace mb::vcard
