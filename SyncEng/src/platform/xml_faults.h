// Lets a test make the creation of a document fail, as if memory or the parser were missing.
#pragma once
#include <string_view>

namespace platform {

struct XmlFaults {
    static inline std::string_view refusedRoot; // creating a document with this root fails
};

} // namespace platform
