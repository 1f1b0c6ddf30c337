// The class FieldMap, which keeps field maps in the configuration store. Each entry of a field map names a field of translator 1 and the
// corresponding field of translator 2.
#pragma once
#include "interfaces.h"

namespace mb {

class CFieldMap : public com::Object<IFieldMap> {
public:
    explicit CFieldMap(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT STDMETHODCALLTYPE Create(REFGUID clsId1, REFGUID clsID2, GUID* pGuid) override;
    HRESULT STDMETHODCALLTYPE CreateDefaultMap(REFGUID guid) override;
    HRESULT STDMETHODCALLTYPE GetTranslators(REFGUID guid, GUID* pTrans1, GUID* pTrans2) override;
    HRESULT STDMETHODCALLTYPE AddMapEntry(REFGUID guid, REFGUID gField1, REFGUID gField2) override;
    HRESULT STDMETHODCALLTYPE EnumerateEntries(REFGUID guid, LONG* pCount, GUID** ppGuids1, GUID** ppGuids2) override;
    HRESULT STDMETHODCALLTYPE DeleteMap(REFGUID guid) override;
    HRESULT STDMETHODCALLTYPE SetNextAvailableFieldType(REFGUID guid, LONG nextAvailableType) override;
    HRESULT STDMETHODCALLTYPE GetNextAvailableFieldType(REFGUID guid, LONG* nextAvailableType) override;
    HRESULT STDMETHODCALLTYPE MapEntryExist(REFGUID guid, REFGUID gField1, REFGUID gField2, VARIANT_BOOL* entryExist) override;
    HRESULT STDMETHODCALLTYPE SetFieldMapUpdated(REFGUID guid, LONG fieldMapUpdated) override;
    HRESULT STDMETHODCALLTYPE GetFieldMapUpdated(REFGUID guid, LONG* fieldMapUpdated) override;
    HRESULT STDMETHODCALLTYPE EnumerateEntriesEx(REFGUID guid, ITranslator* pTrans1, ITranslator* pTrans2, LONG* pCount, GUID** ppGuids1,
                                                 GUID** ppGuids2) override;
    HRESULT STDMETHODCALLTYPE EnumerateEntriesExSafeArray(REFGUID guid, ITranslator* pTrans1, ITranslator* pTrans2, LONG* pCount,
                                                          SAFEARRAY** ppsaGuids1, SAFEARRAY** ppsaGuids2) override;
    HRESULT STDMETHODCALLTYPE EnumerateEntriesExValidate(REFGUID trMapGuid, REFGUID guid, ITranslator* pTrans1, ITranslator* pTrans2,
                                                         LONG* pCount, GUID** ppGuids1, GUID** ppGuids2) override;
};

} // namespace mb
