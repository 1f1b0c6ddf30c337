// How many contacts a run may delete from a store. A run over the limit is probably a mistake.
#pragma once
#include <cstdint>
#include <string>

namespace mbhost {

// The default of a map: the percentage of a store's contacts that a run may delete.
inline constexpr std::int32_t halfOfAStore = 50;

class DeleteLimit {
public:
    // The default: half of a store of more than three contacts, any number from a smaller store.
    DeleteLimit() = default;
    // The limit of a map's option: a percentage of a store of more than three contacts; 0 is no limit.
    static DeleteLimit ofMap(std::int32_t percent) noexcept;
    // The limit of --max-delete, for stores of any size: "none", a number of contacts, or a percentage such as "20%". Throws a Failure of
    // wrong usage for any other text.
    explicit DeleteLimit(const std::string& text);
    // Whether a run may delete `deletions` of the `records` that a store holds.
    [[nodiscard]] bool allows(std::int64_t records, std::int64_t deletions) const noexcept;
    // The same without the exception for small stores. Used if the store of the other side is empty.
    [[nodiscard]] bool allowsOfAnySize(std::int64_t records, std::int64_t deletions) const noexcept;
    // The limit as the user would type it.
    [[nodiscard]] std::string text() const;

private:
    enum class Kind { None, Number, Percent } kind_ = Kind::Percent;
    std::int64_t value_ = halfOfAStore, smallStore_ = 3; // a percentage does not limit a store of this many contacts or fewer
};

} // namespace mbhost
