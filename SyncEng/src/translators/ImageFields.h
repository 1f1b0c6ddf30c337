// What is known of an image field: its presence and its size, never its bytes.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <cstdint>
#include <string>
#include <string_view>

namespace mb {

inline constexpr bool isImageType(LONG type) noexcept { return type == ftImage1 || type == ftImage2; }
// The field type under which the size of an image is kept.
inline constexpr LONG sizeTypeOf(LONG imageType) noexcept { return imageType == ftImage1 ? ftImageSize1 : ftImageSize2; }

inline std::u16string imageFlagText(bool has) { return has ? u"1" : u"0"; }
std::u16string imageSizeText(std::int64_t size);

// The size in bytes; -1 if the translator does not tell.
std::int64_t readImageSize(IImageSupport* images, BSTR recordId, REFGUID field) noexcept;
HRESULT hasImage(IImageSupport* images, BSTR recordId, REFGUID field, bool& has) noexcept;

} // namespace mb
