// Where a map's own data lie in the configuration store.
#pragma once

namespace mb {

inline constexpr char16_t trMapType[] = u"TrMap";
inline constexpr char16_t trMapTrans1Key[] = u"Trans1", trMapTrans2Key[] = u"Trans2", trMapFieldMapKey[] = u"FieldMap",
                          trMapCategoryKey[] = u"CategoryGuid";
// The text that tells the next run of a map to compare its images; in the settings of translator 2.
inline constexpr char16_t imageOptionKey[] = u"SyncImageOptionChanged";

} // namespace mb
