// A file that holds one card, read and taken apart.
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
    std::string bytes; // the card as it stands on disk, with the blank lines around it
    FileText file;     // the form of the file, without the text
};

// Why a file is not one card.
struct CardFault {
    std::size_t line;
    std::string text;
};

// Throws a FileError for a file that cannot be read, and a CardFault.
SingleCard readCard(const Folder& folder, const std::string& name);

} // namespace mb::vcard
