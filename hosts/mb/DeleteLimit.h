// How many contacts a run may delete from a store before it is taken for a mistake.
#pragma once
#include <cstdint>
#include <string>

namespace mbhost {

// What a map allows where the user says nothing: the percentage of a store's contacts that a run may delete.
inline constexpr std::int32_t halfOfAStore = 50;

class DeleteLimit {
public:
    // Half of a store that holds more than three contacts.
    DeleteLimit() = default;
    // What a map's option allows: a percentage of a store of more than three, 0 for no limit.
    static DeleteLimit ofMap(std::int32_t percent) noexcept;
    // "none", a number of contacts, or a percentage of a store as "20%". Throws a Failure of wrong usage for anything else.
    explicit DeleteLimit(const std::string& text);
    [[nodiscard]] bool allows(std::int64_t records, std::int64_t deletions) const noexcept;
    // The same for a store whose other side is empty: of a small store, too.
    [[nodiscard]] bool allowsOfAnySize(std::int64_t records, std::int64_t deletions) const noexcept;
    // As the user would write it.
    [[nodiscard]] std::string text() const;

private:
    enum class Kind { None, Number, Percent } kind_ = Kind::Percent;
    std::int64_t value_ = halfOfAStore, smallStore_ = 3; // a store of no more contacts than that is not held to the percentage
};

} // namespace mbhost
