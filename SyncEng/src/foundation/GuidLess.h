// The order of all maps by GUID in the module: the three number parts as unsigned numbers, then the last eight bytes.
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
