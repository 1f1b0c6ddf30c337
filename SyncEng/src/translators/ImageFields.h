// Reads the presence and the size of an image field, never the image itself.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <cstdint>
#include <string>
#include <string_view>

namespace mb {

inline constexpr bool isImageType(LONG type) noexcept { return type == ftImage1 || type == ftImage2; }
// Returns the field type that holds the size of the image.
inline constexpr LONG sizeTypeOf(LONG imageType) noexcept { return imageType == ftImage1 ? ftImageSize1 : ftImageSize2; }

inline std::u16string imageFlagText(bool has) { return has ? u"1" : u"0"; }
std::u16string imageSizeText(std::int64_t size);

// Returns the size in bytes, or -1 if the translator cannot tell it.
std::int64_t readImageSize(IImageSupport* images, BSTR recordId, REFGUID field) noexcept;
HRESULT hasImage(IImageSupport* images, BSTR recordId, REFGUID field, bool& has) noexcept;

} // namespace mb
