// A record's values by field type, and the one text in which the history keeps them: type, separator, value, separator, and so on, in
// ascending order of type.
#pragma once
#include "com.h"
#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mb {

inline constexpr std::u16string_view FieldSeparator = u"\u0003\u0006";

// An ordered map from field type to text, for the few dozen fields of one record: a sorted array.
class FieldValueMap {
public:
    using Item = std::pair<LONG, std::u16string>;
    using iterator = std::vector<Item>::iterator;
    using const_iterator = std::vector<Item>::const_iterator;

    [[nodiscard]] iterator begin() noexcept { return items_.begin(); }
    [[nodiscard]] iterator end() noexcept { return items_.end(); }
    [[nodiscard]] const_iterator begin() const noexcept { return items_.begin(); }
    [[nodiscard]] const_iterator end() const noexcept { return items_.end(); }
    [[nodiscard]] bool empty() const noexcept { return items_.empty(); }
    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    void clear() noexcept { items_.clear(); }
    void reserve(std::size_t count) { items_.reserve(count); }

    [[nodiscard]] const_iterator find(LONG type) const noexcept
    {
        const auto at = std::ranges::lower_bound(items_, type, {}, &Item::first);
        return at != items_.end() && at->first == type ? at : items_.end();
    }
    [[nodiscard]] bool contains(LONG type) const noexcept { return find(type) != items_.end(); }
    // The value of the type, made empty if there is none.
    std::u16string& operator[](LONG type)
    {
        if (items_.empty() || items_.back().first < type)
            return items_.emplace_back(type, std::u16string()).second; // mostly they come in order
        auto at = std::ranges::lower_bound(items_, type, {}, &Item::first);
        if (at->first != type) at = items_.insert(at, Item(type, std::u16string()));
        return at->second;
    }
    void erase(LONG type)
    {
        if (const auto at = find(type); at != items_.end()) items_.erase(at);
    }
    friend bool operator==(const FieldValueMap&, const FieldValueMap&) = default;

private:
    std::vector<Item> items_; // sorted by type
};

// For each pair of mapped fields, the type on side 1 to the type on side 2.
using FieldTypeMap = std::map<LONG, LONG>;

// The type that a field has on the other side; without a map, and outside of it, its own.
inline LONG mappedType(const FieldTypeMap* types, LONG type)
{
    if (!types) return type;
    const auto at = types->find(type);
    return at == types->end() ? type : at->second;
}

std::u16string composeFieldData(const FieldValueMap& fields);
// What has been read up to the first thing that cannot be read stands.
FieldValueMap parseFieldData(std::u16string_view text);

} // namespace mb
