// The class Synchronizer, through which a host uses the engine. A host calls Initialize, runs Synchronize or Transfer, asks GetLastError
// after a failure, and calls Cleanup. The loop over maps and the flags that make a run start over are here; the run of one map is
// SyncOneMap's.
#pragma once
#include "com_events.h"
#include "engine/MapClient.h"
#include "engine/RunState.h"
#include "store/StoreLock.h"

namespace mb {

class CSynchronizer final : public com::EventSource<ISyncEvents, ISynchronizer, com::Dual<IReSynchronizer>> {
public:
    explicit CSynchronizer(IUnknown* outer);

    HRESULT STDMETHODCALLTYPE Initialize(HWND hwndParent, VARIANT_BOOL bReconfig) override;
    HRESULT STDMETHODCALLTYPE Synchronize(REFGUID guid, VARIANT_BOOL bSilent) override;
    HRESULT STDMETHODCALLTYPE Cleanup() override;
    HRESULT STDMETHODCALLTYPE Transfer(BSTR lpTransGUID, BSTR lpMBFile, BSTR lpMBPassword, SAFEARRAY* lpsaCardGUIDs,
                                       VARIANT_BOOL bReverse) override;
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2) override;
    HRESULT STDMETHODCALLTYPE ReSynchronize(REFGUID guid, VARIANT_BOOL bSilent) override;

private:
    void runMaps(const GUID& guid);
    // Requires: the map and its stores are locked.
    HRESULT runMap(const MapClient& client, const GUID& map);
    void lockMap(StoreLock& lock, const GUID& map);
    void transfer(const GUID& target, bool reverse);
    void runTransfer(const MapClient& client, const GUID& target, const GUID& id2, bool reverse);
    // Whether the history of the map that ran last links a record.
    bool linksAny(const GUID& map);
    static void removeMap(const GUID& map);
    HRESULT createFieldMap();
    // Runs the map until it need not be run again, and reports it as one run. `run` returns a result code; a failure of it is thrown.
    template <class Run> void runReported(const GUID& map, Run&& run);
    void forgetFailedSide();
    // Whether the same map has to be run again from an empty history.
    bool runsAgain(HRESULT hr);

    RunState run_;
};

} // namespace mb
