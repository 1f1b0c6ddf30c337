// The identifiers of records in the order of their store, each with its place, and their lookup by identifier.
#pragma once
#include "FileRecord.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

class IdTable {
public:
    struct Entry {
        std::string id;
        Place place{};
        std::uint32_t hash = 0; // of the identifier
        bool known = false;     // to the caller, from an earlier run
        bool removed = false;
    };

    void clear();
    void reserve(std::size_t count);
    // Appends an identifier. Returns false, and changes nothing, if there is one already.
    bool add(std::string id, const Place& place);
    void remove(std::string_view id);

    // Returns null if there is none. Valid until the next change, count() or at().
    const Entry* find(std::string_view id) const;
    Entry* find(std::string_view id);

    std::size_t count() const;
    const std::string& at(std::size_t index) const; // throws std::out_of_range
    // Without the removed ones, in their order.
    const std::vector<Entry>& entries() const;

private:
    void takeOutRemoved() const;
    void link(std::size_t index) const;
    void relink(std::size_t count) const;
    std::size_t slotOf(std::string_view id, std::uint32_t hash) const;

    // Removed entries stay until the order is asked for: taking out one after the other would take quadratic time.
    mutable std::vector<Entry> entries_;
    mutable std::vector<std::uint32_t> slots_; // an open-addressing hash table of indexes into entries_, from 1; 0 is free
    mutable bool anyRemoved_ = false;
};

} // namespace mb::vcard
