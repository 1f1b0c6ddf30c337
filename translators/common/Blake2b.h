// BLAKE2b with a result of 32 octets (RFC 7693). No two different inputs with the same result are known.
#pragma once
#include <string>
#include <string_view>

namespace mb::plugin {

// Returns the hash as 64 hexadecimal digits in lower case.
std::string blake2b(std::string_view bytes);

} // namespace mb::plugin
