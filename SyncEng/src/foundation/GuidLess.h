// The order of GUIDs in the module's maps: the three numeric parts, unsigned, then the last eight bytes.
#pragma once
#include "com.h"
#include <cstring>
#include <tuple>

namespace mb {

struct GuidLess {
    bool operator()(REFGUID a, REFGUID b) const noexcept
    {
        const auto numbers = [](REFGUID g) { return std::tuple(g.Data1, g.Data2, g.Data3); };
        if (numbers(a) != numbers(b)) return numbers(a) < numbers(b);
        return std::memcmp(a.Data4, b.Data4, sizeof a.Data4) < 0;
    }
};

} // namespace mb
