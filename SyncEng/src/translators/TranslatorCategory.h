// The component category under which translators register.
#pragma once
#include "com.h"

namespace mb {

inline constexpr GUID translatorCategory{0xDCCCC8B9, 0xC75D, 0x44A2, {0x9D, 0x89, 0x9E, 0x7C, 0x78, 0x16, 0x9C, 0x12}};
inline constexpr char16_t translatorCategoryName[] = u"Mirabook Synchronization Translator";

} // namespace mb
