// The values of one record by field type, as a search for duplicates has read them. Every new record keeps its values until it is written,
// and most fields are empty: so all texts are stored in one string, and an empty field only as its type.
#pragma once
#include "com.h"
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mb {

class RecordValues {
public:
    // Nullopt for a field that was not read. The text is valid until the values change.
    [[nodiscard]] std::optional<std::u16string_view> find(LONG type) const noexcept;
    void set(LONG type, std::u16string_view text);
    void erase(LONG type);
    void clear() noexcept;

private:
    struct Item {
        LONG type;
        std::uint32_t at, size; // in texts_
    };
    std::vector<Item> items_; // those with a text, sorted by type
    std::vector<LONG> empty_; // sorted
    std::u16string texts_;
};

} // namespace mb
