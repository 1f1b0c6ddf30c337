// The values of one record by field type, as a search for duplicates has read them. Every new record of a run carries one until it is
// written, and most of its fields are empty: so the texts stand in one, and a field that was read as empty is a number alone.
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
    // None for a field that was not read. The text lasts until the values change.
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
