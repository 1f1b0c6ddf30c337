// A 128-bit hash of a text under a random key. The author of a text cannot know the key, so two different texts of a few thousand
// characters have the same hash with a probability below 2^-90.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mb::plugin {

class KeyedHash {
public:
    struct Value {
        std::uint64_t first, second;
        bool operator==(const Value&) const = default;
    };
    struct Bucket { // for containers
        std::size_t operator()(const Value& value) const noexcept { return static_cast<std::size_t>(value.first); }
    };

    KeyedHash(); // draws the key
    [[nodiscard]] Value operator()(std::u16string_view text) const noexcept;

private:
    std::uint64_t first_, second_; // the key
};

} // namespace mb::plugin
