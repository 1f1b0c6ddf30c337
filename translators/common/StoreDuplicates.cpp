// IDuplicateFinder of StoreTranslator.
#include "StoreTranslator.h"

namespace mb::plugin {

HRESULT StoreTranslator::BeginFindDuplicate(REFGUID syncTrMapGuid, ITranslator* pOtherTranslator, SAFEARRAY* synchedRecordsGuid)
{
    if (!pOtherTranslator) return E_POINTER;
    finder_.reset();
    return run([&] {
        if (ofCategories_) throw com::Error(E_NOTIMPL);
        RecordStore& records = store(Step::Find);
        std::vector<MappedField> fields = mappedFields(syncTrMapGuid, pOtherTranslator, this);
        // A run has no images if one of the stores does not support them.
        if (!imagesAllowed_ || !com::Ptr(pOtherTranslator).tryAs<IImageSupport>())
            std::erase_if(fields, [](const MappedField& field) { return field.image; });
        KnownRecords known;
        for (std::u16string& id : com::textArray(synchedRecordsGuid)) known.insert(std::move(id));
        finder_.emplace(records, std::move(fields), std::move(known));
    });
}

HRESULT StoreTranslator::FindDuplicate(ITranslator* pOtherTranslator, BSTR recordIdOther, SAFEARRAY*, BSTR* pDuplicateRecordId)
{
    if (!pDuplicateRecordId) return E_POINTER;
    *pDuplicateRecordId = nullptr;
    if (!pOtherTranslator) return E_POINTER;
    return run([&] {
        if (!finder_) throw StoreError(Step::Find, "No search for equal records was started.");
        if (const auto id = finder_->take(pOtherTranslator, recordIdOther)) com::give(pDuplicateRecordId, platform::utf16(*id));
    });
}

HRESULT StoreTranslator::EndFindDuplicate()
{
    finder_.reset();
    return S_OK;
}

} // namespace mb::plugin
