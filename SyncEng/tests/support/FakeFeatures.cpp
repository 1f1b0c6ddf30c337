#include "FakeObject.h"

#include "text.h"
#include "whole_details.h"
#include <random>

namespace mbtest {
namespace {

using com::guarded;
namespace fs = std::filesystem;

VARIANT_BOOL boolOf(bool value) noexcept { return value ? VARIANT_TRUE : VARIANT_FALSE; }

std::string listed(SAFEARRAY* ids)
{
    std::string all;
    for (const std::u16string& id : com::textArray(ids)) all += (all.empty() ? "" : ",") + platform::utf8(id);
    return all;
}

} // namespace

bool FakeTranslator::offers(REFIID riid) const noexcept
{
    const FakeOptions& o = options();
    const std::pair<const IID&, bool> switches[] = {
        {__uuidof(ITranslator), o.installed},   {__uuidof(IFieldList), o.fieldList},      {__uuidof(IField), o.field},
        {__uuidof(ITranslatorInfo), o.info},    {__uuidof(ITranslatorInfoEx), o.infoEx},  {__uuidof(IRecordUpdater), o.updater},
        {__uuidof(ICategories), o.categories},  {__uuidof(IFieldValidator), o.validator}, {__uuidof(IDynamicFieldLoader), o.dynamicFields},
        {__uuidof(IImageSupport), o.images},    {__uuidof(IPIMUserAccess), o.userAccess}, {__uuidof(IPIMSetUp), o.setUp},
        {__uuidof(IProductMatcher), o.matcher}, {__uuidof(IRecordVerifier), o.verifier},  {__uuidof(IDuplicateFinder), o.duplicates},
        {__uuidof(ITranslatorTest), o.test},
    };
    for (const auto& [iid, on] : switches)
        if (iid == riid) return on;
    return true;
}

// ---- Fields

const FakeField& FakeTranslator::fieldOf(REFGUID guid) const
{
    const FakeField* field = side.store->fieldOf(guid);
    if (!field) throw com::Error(E_INVALIDARG);
    return *field;
}

bool FakeTranslator::givesWholeDetails(REFGUID guid) const
{
    return guid == mb::wholeDetailsField && options().hashesFiles && options().givesFiles;
}

LONG FakeTranslator::typeOf(const FakeField& field) const
{
    if (!field.dynamicId || field.type) return field.type;
    if (!firstDynamicType_) throw com::Error(E_FAIL); // the field has no type before LoadDynamicFields
    return *firstDynamicType_ + field.dynamicId - 1;
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    return guarded([&] {
        meet("GetCount");
        *pCount = static_cast<LONG>(side.store->fields.size());
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetFieldByIndex(LONG index, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = {};
    return guarded([&] {
        meet("GetFieldByIndex");
        const auto& fields = side.store->fields;
        if (index < 0 || static_cast<std::size_t>(index) >= fields.size()) throw com::Error(E_INVALIDARG);
        *pGuid = side.store->guidOf(fields[static_cast<std::size_t>(index)]);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetFieldByName(BSTR lpName, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = {};
    return guarded([&] {
        meet("GetFieldByName");
        for (const FakeField& field : side.store->fields)
            if (field.name == com::viewOf(lpName)) {
                *pGuid = side.store->guidOf(field);
                return S_OK;
            }
        return E_FAIL;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetName(REFGUID rField, BSTR* ppName)
{
    if (!ppName) return E_POINTER;
    *ppName = nullptr;
    return guarded([&] {
        meet("GetName");
        com::give(ppName, fieldOf(rField).name);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetFieldType(REFGUID rField, LONG* pType)
{
    if (!pType) return E_POINTER;
    return guarded([&] {
        meet("GetFieldType");
        *pType = givesWholeDetails(rField) ? LONG{ftDetails} : typeOf(fieldOf(rField));
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetDataType(REFGUID rField, LONG* pType)
{
    if (!pType) return E_POINTER;
    return guarded([&] {
        meet("GetDataType");
        *pType = fieldOf(rField).dataType;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetMaxLength(REFGUID rField, ULONG* pLength)
{
    if (!pLength) return E_POINTER;
    return guarded([&] {
        meet("GetMaxLength");
        *pLength = fieldOf(rField).maxLength;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetFlags(REFGUID rField, ULONG* pFlags)
{
    if (!pFlags) return E_POINTER;
    return guarded([&] {
        meet("GetFlags");
        *pFlags = fieldOf(rField).flags;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::LoadDynamicFields(ITrServices*, LONG availableFieldType, LONG* nextAvailableFieldType)
{
    if (!nextAvailableFieldType) return E_POINTER;
    return guarded([&] {
        note("LoadDynamicFields", nullptr, std::to_string(availableFieldType));
        firstDynamicType_ = *nextAvailableFieldType = availableFieldType;
        for (const FakeField& field : side.store->fields)
            if (field.dynamicId) ++*nextAvailableFieldType;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::ValidateFieldList(ITrServices*)
{
    return guarded([&] { note("ValidateFieldList"); });
}

// ---- Names and the last error

HRESULT STDMETHODCALLTYPE FakeTranslator::GetInfo(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDBType)
{
    if (!ppShortName || !ppLongName || !ppDBType) return E_POINTER;
    *ppShortName = *ppLongName = *ppDBType = nullptr;
    return guarded([&] {
        meet("GetInfo");
        com::give(ppShortName, options().shortName);
        com::give(ppLongName, options().longName);
        com::give(ppDBType, u"Store:");
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetInfoEx(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDescription, BSTR* ppDBType)
{
    if (!ppShortName || !ppLongName || !ppDescription || !ppDBType) return E_POINTER;
    *ppShortName = *ppLongName = *ppDescription = *ppDBType = nullptr;
    return guarded([&] {
        meet("GetInfoEx");
        com::give(ppShortName, options().shortName);
        com::give(ppLongName, options().longName);
        com::give(ppDescription, options().description);
        com::give(ppDBType, u"Store:");
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2)
{
    if (!lpvtCode || !ppMessage1 || !ppMessage2) return E_POINTER;
    VariantInit(lpvtCode);
    *ppMessage1 = *ppMessage2 = nullptr;
    return guarded([&] {
        note("GetLastError");
        if (options().errorCode) *lpvtCode = com::Variant(*options().errorCode).detach();
        com::give(ppMessage1, options().errorMessage1);
        com::give(ppMessage2, options().errorMessage2);
    });
}

// ---- Identifiers that change

HRESULT STDMETHODCALLTYPE FakeTranslator::GetUpdatedRecordId(BSTR resourceId, BSTR* updatedId)
{
    if (!updatedId) return E_POINTER;
    *updatedId = nullptr;
    return guarded([&] {
        noteOpen("GetUpdatedRecordId", resourceId);
        const auto unanswered = options().unansweredIds.find(com::textOf(resourceId));
        if (unanswered != options().unansweredIds.end()) throw com::Error(unanswered->second);
        const auto at = options().changedIds.find(com::textOf(resourceId));
        com::give(updatedId, at == options().changedIds.end() ? std::u16string_view() : std::u16string_view(at->second));
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::SaveUpdatedRecordIds()
{
    return guarded([&] {
        noteOpen("SaveUpdatedRecordIds");
        options().changedIds.clear();
    });
}

// ---- Images

// Copies an image file, because the translator and the engine may each delete their file.
std::u16string FakeTranslator::imageCopy(const std::u16string& path) const
{
    if (path.empty()) return {};
    static std::mt19937 random{std::random_device{}()};
    const fs::path from(path), to = options().imageFolder / ("image" + std::to_string(random()) + from.extension().string());
    fs::copy_file(from, to);
    return to.u16string();
}

std::u16string_view FakeTranslator::imageOf(BSTR id, REFGUID field) const
{
    const FakeValues& values = record(id).values;
    const auto at = values.find(fieldOf(field).key());
    return at == values.end() || !imagesAllowed_ ? std::u16string_view() : std::u16string_view(at->second);
}

LONGLONG FakeTranslator::imageBytes(std::u16string_view image) const
{
    if (imagesAreFiles()) return image.empty() ? 0 : static_cast<LONGLONG>(fs::file_size(fs::path(image)));
    return static_cast<LONGLONG>(image.size() * sizeof(char16_t));
}

HRESULT STDMETHODCALLTYPE FakeTranslator::HasFieldValue(BSTR lpRecID, REFGUID rField, VARIANT_BOOL* pHasValue)
{
    if (!pHasValue) return E_POINTER;
    return guarded([&] {
        noteOpen("HasFieldValue", lpRecID);
        *pHasValue = boolOf(!imageOf(lpRecID, rField).empty());
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::SetAllowImage(VARIANT_BOOL bAllowImage)
{
    return guarded([&] {
        note("SetAllowImage", nullptr, bAllowImage ? "yes" : "no");
        imagesAllowed_ = bAllowImage != VARIANT_FALSE;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::BeginReadImageData(BSTR lpRecID, REFGUID rField)
{
    return guarded([&] {
        noteOpen("BeginReadImageData", lpRecID);
        expect(!image_, "BeginReadImageData while an image is being read");
        image_ = imageOf(lpRecID, rField);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::EndReadImageData(BSTR lpRecID, REFGUID)
{
    return guarded([&] {
        noteOpen("EndReadImageData", lpRecID);
        expect(image_.has_value(), "EndReadImageData without BeginReadImageData");
        image_.reset();
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetImageDataSize(LONGLONG* pImageDataSize)
{
    if (!pImageDataSize) return E_POINTER;
    return guarded([&] {
        noteOpen("GetImageDataSize");
        expect(image_.has_value(), "GetImageDataSize without BeginReadImageData");
        *pImageDataSize = image_ ? imageBytes(*image_) : 0;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetImageDataHash(BSTR* ppImageDataHash)
{
    if (!ppImageDataHash) return E_POINTER;
    *ppImageDataHash = nullptr;
    return guarded([&] {
        noteOpen("GetImageDataHash");
        com::give(ppImageDataHash, platform::utf16(std::to_string(std::hash<std::u16string>{}(image_.value_or(std::u16string())))));
    });
}

// ---- Access and set-up

HRESULT STDMETHODCALLTYPE FakeTranslator::CanRead(ITrServices*, HWND, VARIANT_BOOL, VARIANT_BOOL* pCanRead)
{
    if (!pCanRead) return E_POINTER;
    return guarded([&] {
        note("CanRead");
        *pCanRead = boolOf(options().canRead);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::CanWrite(ITrServices*, HWND, VARIANT_BOOL bSilent, VARIANT_BOOL* pCanWrite)
{
    if (!pCanWrite) return E_POINTER;
    return guarded([&] {
        noteOpen("CanWrite", nullptr, bSilent ? "silently" : "");
        writeGranted_ = options().canWrite;
        *pCanWrite = boolOf(writeGranted_);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::IsPIMAvailable(VARIANT_BOOL* pAvailable)
{
    if (!pAvailable) return E_POINTER;
    return guarded([&] {
        meet("IsPIMAvailable");
        *pAvailable = boolOf(options().available);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::InitializeDefault(ITrServices*, HWND)
{
    return guarded([&] { note("InitializeDefault"); });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::MatchInstalledProduct(VARIANT_BOOL* pMatch)
{
    if (!pMatch) return E_POINTER;
    return guarded([&] {
        *pMatch = boolOf(options().matches); // also if the call fails
        meet("MatchInstalledProduct");
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::RecordVerified(BSTR recordId, VARIANT_BOOL* pVerified)
{
    if (!pVerified) return E_POINTER;
    return guarded([&] {
        noteOpen("RecordVerified", recordId);
        *pVerified = boolOf(record(recordId).verified);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetDatabase(BSTR* dataBase)
{
    if (!dataBase) return E_POINTER;
    *dataBase = nullptr;
    return guarded([&] {
        note("GetDatabase");
        com::give(dataBase, options().database);
    });
}

// ---- Duplicates

HRESULT STDMETHODCALLTYPE FakeTranslator::BeginFindDuplicate(REFGUID, ITranslator* pOtherTranslator, SAFEARRAY* synchedRecordsGuid)
{
    return guarded([&] {
        noteOpen("BeginFindDuplicate", nullptr, listed(synchedRecordsGuid));
        expect(pOtherTranslator != nullptr, "BeginFindDuplicate without the other translator");
        expect(!findingDuplicates_, "BeginFindDuplicate twice");
        findingDuplicates_ = true;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::FindDuplicate(ITranslator*, BSTR recordIdOther, SAFEARRAY*, BSTR* pDuplicateRecordId)
{
    if (!pDuplicateRecordId) return E_POINTER;
    *pDuplicateRecordId = nullptr;
    return guarded([&] {
        noteOpen("FindDuplicate", recordIdOther);
        expect(findingDuplicates_, "FindDuplicate without BeginFindDuplicate");
        const auto at = options().duplicateOf.find(com::textOf(recordIdOther));
        if (at != options().duplicateOf.end()) com::give(pDuplicateRecordId, at->second);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::EndFindDuplicate()
{
    return guarded([&] {
        // Allowed after a failed BeginFindDuplicate too.
        noteOpen("EndFindDuplicate");
        findingDuplicates_ = false;
    });
}

} // namespace mbtest
