#include "translators/ImageFields.h"

namespace mb {

std::u16string imageSizeText(std::int64_t size)
{
    const std::string digits = std::to_string(size);
    return {digits.begin(), digits.end()};
}

std::int64_t readImageSize(IImageSupport* images, BSTR recordId, REFGUID field) noexcept
{
    if (FAILED(com::call(images, &IImageSupport::BeginReadImageData, recordId, field))) return -1;
    LONGLONG size = -1;
    const HRESULT hr = com::call(images, &IImageSupport::GetImageDataSize, &size);
    (void)com::call(images, &IImageSupport::EndReadImageData, recordId, field);
    return SUCCEEDED(hr) ? size : -1;
}

HRESULT hasImage(IImageSupport* images, BSTR recordId, REFGUID field, bool& has) noexcept
{
    VARIANT_BOOL answer = VARIANT_FALSE;
    const HRESULT hr = com::call(images, &IImageSupport::HasFieldValue, recordId, field, &answer);
    has = SUCCEEDED(hr) && answer != VARIANT_FALSE;
    return hr;
}

} // namespace mb
