// The values of one record of a fake store, sorted by key. An array, because a record has few values but a store many records.
#pragma once
#include "com.h"
#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace mbtest {

class FakeValues {
public:
    using Item = std::pair<LONG, std::u16string>;

    FakeValues() = default;
    FakeValues(std::initializer_list<Item> items)
    {
        items_.reserve(items.size());
        for (const Item& item : items)
            if (!contains(item.first)) (*this)[item.first] = item.second;
    }
    [[nodiscard]] auto begin() { return items_.begin(); }
    [[nodiscard]] auto end() { return items_.end(); }
    [[nodiscard]] auto begin() const { return items_.begin(); }
    [[nodiscard]] auto end() const { return items_.end(); }
    [[nodiscard]] bool empty() const { return items_.empty(); }
    [[nodiscard]] std::size_t size() const { return items_.size(); }
    [[nodiscard]] std::vector<Item>::const_iterator find(LONG key) const
    {
        const auto at = std::ranges::lower_bound(items_, key, {}, &Item::first);
        return at != items_.end() && at->first == key ? at : items_.end();
    }
    [[nodiscard]] bool contains(LONG key) const { return find(key) != items_.end(); }
    std::u16string& operator[](LONG key)
    {
        if (items_.capacity() == 0) items_.reserve(usual);
        auto at = std::ranges::lower_bound(items_, key, {}, &Item::first);
        if (at == items_.end() || at->first != key) at = items_.insert(at, Item(key, std::u16string()));
        return at->second;
    }
    std::size_t erase(LONG key)
    {
        const auto at = find(key);
        if (at == items_.end()) return 0;
        items_.erase(at);
        return 1;
    }
    friend bool operator==(const FakeValues&, const FakeValues&) = default;
    friend auto operator<=>(const FakeValues& a, const FakeValues& b) { return a.items_ <=> b.items_; }

private:
    static constexpr std::size_t usual = 16;
    std::vector<Item> items_;
};

} // namespace mbtest
