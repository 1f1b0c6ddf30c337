#include "translators/UnmappedPairs.h"

#include "store/ConfigStore.h"
#include "translators/FieldMapKeys.h"
#include <algorithm>

namespace mb {
namespace {

// A pair is stored with a space, so that it is never taken for an entry of the map, which has a colon.
std::u16string pairText(REFGUID field1, REFGUID field2) { return com::guidText(field1) + u" " + com::guidText(field2); }

std::u16string pairText(std::u16string entry)
{
    std::ranges::replace(entry, u':', u' ');
    return entry;
}

std::vector<std::u16string> valuesOf(REFGUID fieldMap, std::u16string_view key)
{
    std::vector<std::u16string> values;
    (void)ConfigStore().ListValues(fieldMapType, com::guidText(fieldMap), key, values);
    return values;
}

std::vector<std::u16string> mappedPairs(REFGUID fieldMap)
{
    std::vector<std::u16string> pairs = valuesOf(fieldMap, fieldMapEntryKey);
    for (std::u16string& pair : pairs) pair = pairText(std::move(pair));
    return pairs;
}

} // namespace

std::vector<std::u16string> UnmappedPairs(REFGUID fieldMap) { return valuesOf(fieldMap, fieldMapUnmappedKey); }

HRESULT StoreUnmappedPairs(REFGUID fieldMap, const std::vector<std::u16string>& pairs)
{
    SaveScope scope(ConfigStore());
    HRESULT hr = S_OK;
    for (const std::u16string& pair : pairs)
        if (SUCCEEDED(hr)) hr = ConfigStore().WriteValue(fieldMapType, com::guidText(fieldMap), fieldMapUnmappedKey, pair, true, true);
    const HRESULT saved = scope.finish();
    return FAILED(hr) ? hr : saved;
}

bool IsUnmappedPair(REFGUID fieldMap, REFGUID field1, REFGUID field2)
{
    return std::ranges::count(UnmappedPairs(fieldMap), pairText(field1, field2)) != 0;
}

HRESULT CarryUnmappedPairs(REFGUID former, REFGUID replacement)
{
    if (former == replacement) return S_OK;
    std::vector<std::u16string> unmapped = UnmappedPairs(former);
    std::ranges::move(mappedPairs(former), std::back_inserter(unmapped));
    std::vector<std::u16string> known = mappedPairs(replacement);
    std::ranges::move(UnmappedPairs(replacement), std::back_inserter(known));
    std::erase_if(unmapped, [&](const std::u16string& pair) { return std::ranges::count(known, pair) != 0; });
    return StoreUnmappedPairs(replacement, unmapped);
}

} // namespace mb
