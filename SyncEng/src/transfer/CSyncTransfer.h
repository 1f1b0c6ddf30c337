// The class SyncTransfer, which copies selected records one way between the host's card file and another store, the target. It lists the
// targets and keeps a hidden map for each; a Synchronizer copies the records.
#pragma once
#include "com_events.h"
#include "interfaces.h"

namespace mb {

class CSyncTransfer final : public com::EventSource<ISyncEvents, com::Dual<ISyncTransfer>> {
public:
    explicit CSyncTransfer(IUnknown* outer);

    HRESULT STDMETHODCALLTYPE GetTranslators(SAFEARRAY** ppsaGUIDs, SAFEARRAY** ppsaNames, SAFEARRAY** ppsaPaths,
                                             SAFEARRAY** ppsaConfigurable) override;
    HRESULT STDMETHODCALLTYPE Transfer(LONG lHWND, BSTR lpTransGUID, BSTR lpMBFile, BSTR lpMBPassword, SAFEARRAY* lpsaCardGUIDs,
                                       VARIANT_BOOL bReverse) override;
    HRESULT STDMETHODCALLTYPE ConfigureTranslator(LONG lHWND, BSTR lpTransGUID) override;
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2) override;
    HRESULT STDMETHODCALLTYPE ConfigureFieldMapping(LONG lHWND, BSTR lpTransGUID) override;
    HRESULT STDMETHODCALLTYPE GetSyncImages(BSTR lpTransGUID, VARIANT_BOOL* bSyncImages) override;
    HRESULT STDMETHODCALLTYPE SetSyncImages(BSTR lpTransGUID, VARIANT_BOOL bSyncImages) override;
    HRESULT STDMETHODCALLTYPE GetTranslatorsEx(SAFEARRAY** ppsaGUIDs, SAFEARRAY** ppsaNames, SAFEARRAY** ppsaPaths,
                                               SAFEARRAY** ppsaConfigurable, SAFEARRAY** ppsaSupportImages) override;

private:
    static bool createsNotesTranslator();
    void findNotesTranslator();
    void forgetLastError();

    std::u16string NotesTranslatorPath; // of its library; set only if this object had to register it
    bool LotusNotesAvailable = false;
    com::Variant LastErrorCode;
    std::u16string LastErrorMessage1, LastErrorMessage2;
};

} // namespace mb
