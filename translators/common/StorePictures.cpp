// The pictures of StoreTranslator. A run without pictures reads none and changes none.
#include "PictureFile.h"
#include "StoreTranslator.h"

#include "files.h"
#include <cstdio>

namespace mb::plugin {
namespace {

std::u16string hashText(std::string_view bytes)
{
    std::uint64_t hash = 14695981039346656037u; // FNV-1a
    for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return platform::utf16(text);
}

} // namespace

std::u16string StoreTranslator::readPicture(const std::string& id, const PluginField& field)
{
    const std::string bytes = imagesAllowed_ ? store(Step::ReadField).readImage(id, field.type) : std::string();
    return bytes.empty() ? std::u16string() : platform::textOf(writePictureFile(bytes));
}

// A file that is not a picture is ignored: the record keeps its picture.
void StoreTranslator::writePicture(const std::string& id, const PluginField& field, const VARIANT& value)
{
    RecordStore& records = store(Step::WriteField);
    if (!imagesAllowed_) return;
    const std::u16string_view path = value.vt == VT_BSTR ? com::viewOf(value.bstrVal) : std::u16string_view{};
    if (path.empty()) return records.writeImage(id, field.type, {});
    const std::string bytes = readPictureFile(platform::pathOf(path));
    if (!bytes.empty()) return records.writeImage(id, field.type, bytes);
    tell(Finding::LeftOut, "record \"" + id + "\": its new picture is not a JPEG file or is too large, and is left out");
}

const StoreTranslator::Picture& StoreTranslator::picture() const
{
    if (!picture_) throw StoreError(Step::ReadField, "No picture is being read.");
    return *picture_;
}

HRESULT StoreTranslator::HasFieldValue(BSTR lpRecID, REFGUID rField, VARIANT_BOOL* pHasValue)
{
    if (!pHasValue) return E_POINTER;
    *pHasValue = VARIANT_FALSE;
    return run([&] {
        const PluginField* field = fieldOf(rField);
        if (!field) throw StoreError(Step::ReadField, "The store has no such field.");
        RecordStore& records = store(Step::ReadField);
        const std::string id = idOf(lpRecID);
        const bool has =
            field->dataType == dtImage ? imagesAllowed_ && records.imageSize(id, field->type) != 0 : !records.read(id, field->type).empty();
        *pHasValue = has ? VARIANT_TRUE : VARIANT_FALSE;
    });
}

HRESULT StoreTranslator::SetAllowImage(VARIANT_BOOL bAllowImage)
{
    imagesAllowed_ = bAllowImage != VARIANT_FALSE;
    return S_OK;
}

HRESULT StoreTranslator::BeginReadImageData(BSTR lpRecID, REFGUID rField)
{
    return run([&] {
        picture_.reset();
        const PluginField* field = fieldOf(rField);
        if (!field || field->dataType != dtImage) throw StoreError(Step::ReadField, "The store has no such picture.");
        picture_ = Picture{idOf(lpRecID), static_cast<int>(field->type)};
    });
}

HRESULT StoreTranslator::EndReadImageData(BSTR, REFGUID)
{
    picture_.reset();
    return S_OK;
}

HRESULT StoreTranslator::GetImageDataSize(LONGLONG* pImageDataSize)
{
    if (!pImageDataSize) return E_POINTER;
    *pImageDataSize = 0;
    return run([&] {
        const Picture& open = picture();
        if (imagesAllowed_) *pImageDataSize = static_cast<LONGLONG>(store(Step::ReadField).imageSize(open.id, open.type));
    });
}

HRESULT StoreTranslator::GetImageDataHash(BSTR* ppImageDataHash)
{
    if (!ppImageDataHash) return E_POINTER;
    *ppImageDataHash = nullptr;
    return run([&] {
        const Picture& open = picture();
        com::give(ppImageDataHash, hashText(imagesAllowed_ ? store(Step::ReadField).readImage(open.id, open.type) : std::string()));
    });
}

} // namespace mb::plugin
