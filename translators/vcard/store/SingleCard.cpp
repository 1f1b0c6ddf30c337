#include "SingleCard.h"

#include "LineReader.h"

#include <utility>

namespace mb::vcard {

SingleCard readCard(const Folder& folder, const std::string& name)
{
    SingleCard read;
    auto text = openText(folder.read(name, read.state));
    if (!text) throw CardFault{1, "the file is not valid UTF-16"};
    const ScanResult scan = scanCards(text->text);
    if (scan.error) throw CardFault{scan.error->line, scan.error->message};
    if (scan.cards.size() != 1) throw CardFault{scan.cards[1].line, "another program added a card during this run"};
    read.card = Card::parse(text->text);
    read.bytes = std::move(text->text);
    read.file = std::move(*text);
    read.file.text.clear();
    return read;
}

} // namespace mb::vcard
