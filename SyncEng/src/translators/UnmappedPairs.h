// The pairs of fields that the user of a map has unmapped. A run that offers a new pair does not offer these again.
#pragma once
#include "com.h"
#include <string>
#include <vector>

namespace mb {

// As they are stored.
std::vector<std::u16string> UnmappedPairs(REFGUID fieldMap);
HRESULT StoreUnmappedPairs(REFGUID fieldMap, const std::vector<std::u16string>& pairs);
bool IsUnmappedPair(REFGUID fieldMap, REFGUID field1, REFGUID field2);

// Stores in `replacement` what `former` has unmapped, and the entries of `former` that the replacement lacks.
HRESULT CarryUnmappedPairs(REFGUID former, REFGUID replacement);

} // namespace mb
