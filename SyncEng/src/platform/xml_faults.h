// Lets a test have the making of documents fail, as it does where the system has no memory or no parser.
#pragma once
#include <string_view>

namespace platform {

struct XmlFaults {
    static inline std::string_view refusedRoot; // no document with this root can be made
};

} // namespace platform
