// The categories of a folder or a file of cards: those that are kept in a list beside the cards, and those that cards bear. The list is a
// text file of one name a line, hidden among the cards; it holds what no card bears yet, too.
#pragma once
#include "CategoryStore.h"
#include "OpenedCards.h"

#include <string>

namespace mb::vcard {

class CardCategories {
public:
    CardCategories(const std::string& database, const std::string& cacheFolder, const plugin::Report& report);

    // What was found out of the files is left to the pass over the cards, which follows; so the names are asked for once.
    plugin::Names takeNames();
    void keep(const plugin::Names& names);

private:
    std::string list() const; // the name of its file

    OpenedCards opened_;
};

} // namespace mb::vcard
