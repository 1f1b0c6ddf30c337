// How the cards of a store are read and written. There are two storages with different rules: SingleCardFiles for cards in files of their
// own, ManyCardFiles for cards in files of several. A folder may contain both kinds of files, a store of one file is of many cards.
//
// A storage keeps the index up to date. All functions throw a StoreError of the step, or a FileError.
#pragma once
#include "FileRecord.h"
#include "OpenedCards.h"
#include "RecordIds.h"
#include "SingleCard.h"
#include "StoreError.h"

#include <string>

namespace mb::vcard {

struct StoredCard : SingleCard { // of a card among many, `state` is that of the file, and `file` is unused
    std::string id;
    std::string onDisk; // while an edit is saved, the bytes of the card before it
};

class CardStorage {
public:
    CardStorage() = default;
    CardStorage(const CardStorage&) = delete;
    CardStorage& operator=(const CardStorage&) = delete;
    virtual ~CardStorage() = default;

    // Returns the card as it is in its file, with the changes that the batch saved.
    virtual SingleCard read(const Place& place, Step step) = 0;
    // Returns a new card with its identifier; writes nothing.
    virtual StoredCard make(const std::string& uuid, Version version) = 0;
    // Adds the card and returns its place.
    virtual Place add(StoredCard& record) = 0;
    // Replaces a card, and returns its identifier from now on, which is not that of another card in `ids`. Refuses to overwrite the change
    // of another program.
    virtual std::string replace(const Place& place, StoredCard& record, const RecordIds& ids) = 0;
    virtual void remove(const Place& place) = 0;
    // Writes the changes that are still held back. Returns whether there were any; then the places of cards may have changed.
    virtual bool commit() = 0;
    // Discards the changes that are held back. Returns whether there were any.
    virtual bool discard() = 0;
};

// Called before a card is written. A card that reads back differently would be a change that nobody made, and one that cannot be parsed
// would make every card of its file unreadable.
void requireReadBack(const OpenedCards& cards, const StoredCard& record, FileText::Form form);

// Returns the card's identifier and the contact's name, for messages.
std::string shown(const std::string& id, const Card& card);

} // namespace mb::vcard
