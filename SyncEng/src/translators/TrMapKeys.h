// The type and the keys of a map in the configuration store.
#pragma once

namespace mb {

inline constexpr char16_t trMapType[] = u"TrMap";
inline constexpr char16_t trMapTrans1Key[] = u"Trans1", trMapTrans2Key[] = u"Trans2", trMapFieldMapKey[] = u"FieldMap",
                          trMapCategoryKey[] = u"CategoryGuid";
// A key in the settings of translator 2: the text "1" tells the next run of the map to compare its images.
inline constexpr char16_t imageOptionKey[] = u"SyncImageOptionChanged";

} // namespace mb
