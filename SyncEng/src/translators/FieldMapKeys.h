// The type and the keys of a field map in the configuration store.
#pragma once

namespace mb {

inline constexpr char16_t fieldMapType[] = u"FieldMap";
inline constexpr char16_t fieldMapEntryKey[] = u"MapEntry", fieldMapUnmappedKey[] = u"UnmappedEntry";

} // namespace mb
