// How many contacts a run may delete from a store before it is taken for a mistake.
#pragma once
#include <cstdint>
#include <string>

namespace mbhost {

class DeleteLimit {
public:
    // Half of a store that holds more than ten contacts.
    DeleteLimit() = default;
    // "none", a number of contacts, or a percentage of a store as "20%". Throws a Failure of wrong usage for anything else.
    explicit DeleteLimit(const std::string& text);
    [[nodiscard]] bool allows(std::int64_t records, std::int64_t deletions) const noexcept;
    // As the user would write it.
    [[nodiscard]] std::string text() const;

private:
    enum class Kind { None, Number, Percent } kind_ = Kind::Percent;
    std::int64_t value_ = 50, smallStore_ = 10; // a store of no more contacts than that is not held to the percentage
};

} // namespace mbhost
