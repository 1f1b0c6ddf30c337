// The categories of a folder or a file of cards: those in the cards, and those in a category list. The list is a hidden text file beside
// the cards with one name per line; it also keeps categories that no card has yet.
#pragma once
#include "CategoryStore.h"
#include "OpenedCards.h"

#include <string>

namespace mb::vcard {

class CardCategories {
public:
    CardCategories(const std::string& database, const std::string& cacheFolder, const plugin::Report& report, RecentIndexes& recent);

    // Returns all categories. Requires: called only once, because it hands the index over to the CardStore of the contact pass.
    plugin::Names takeNames();
    void keep(const plugin::Names& names);

private:
    std::string list() const; // the file name of the category list

    OpenedCards opened_;
};

} // namespace mb::vcard
