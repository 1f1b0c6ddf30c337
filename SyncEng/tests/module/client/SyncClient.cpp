// A host that uses only the generated header and the component runtime. Usage: sync_client FOLDER1 FOLDER2 [aloud]
// Syncs two folders of vCards and prints the progress events. With "aloud" the run is not silent, so the engine shows its windows.
#include <windows.h>

#include <ocidl.h>
#include <ole2.h>

#include "SyncEngLib.h"

#include <cstdio>

namespace {

const CLSID vCardClass = {0x86705195, 0xe5f6, 0x4fbc, {0xad, 0x43, 0xe8, 0x5e, 0xd5, 0x84, 0x3b, 0x9a}};

// Lives on the stack, so it has no reference count.
class Sink final : public ISyncEvents {
public:
    int calls = 0;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override
    {
        *out = riid == __uuidof(IUnknown) || riid == __uuidof(ISyncEvents) ? this : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress progress, DOUBLE percent) override
    {
        ++calls;
        std::printf("progress %d %.0f\n", static_cast<int>(progress), percent);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR label, DOUBLE) override
    {
        ++calls;
        std::printf("label %ls\n", label);
        return S_OK;
    }
};

HRESULT makeMap(ITrMap* maps, wchar_t** folders, GUID* map)
{
    HRESULT hr = maps->Create(vCardClass, vCardClass, map);
    for (int i = 0; i < 2 && SUCCEEDED(hr); ++i) {
        BSTR database = SysAllocString(folders[i]);
        hr = maps->SetDatabase(*map, i == 0 ? idTrans1 : idTrans2, database);
        SysFreeString(database);
    }
    return hr;
}

HRESULT run(ISynchronizer* synchronizer, const GUID& map, VARIANT_BOOL silent, Sink& sink)
{
    IConnectionPointContainer* container = nullptr;
    IConnectionPoint* point = nullptr;
    HRESULT hr = synchronizer->QueryInterface(__uuidof(IConnectionPointContainer), reinterpret_cast<void**>(&container));
    if (FAILED(hr)) return hr;
    hr = container->FindConnectionPoint(__uuidof(ISyncEvents), &point);
    container->Release();
    if (FAILED(hr)) return hr;
    DWORD cookie = 0;
    hr = point->Advise(&sink, &cookie);
    if (SUCCEEDED(hr)) hr = synchronizer->Initialize(nullptr, VARIANT_FALSE);
    if (SUCCEEDED(hr)) hr = synchronizer->Synchronize(map, silent);
    synchronizer->Cleanup();
    point->Unadvise(cookie);
    point->Release();
    return hr;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count < 3 || count > 4 || FAILED(CoInitialize(nullptr))) return 2;
    ITrMap* maps = nullptr;
    ISynchronizer* synchronizer = nullptr;
    GUID map{};
    HRESULT hr = CoCreateInstance(__uuidof(TrManager), nullptr, CLSCTX_ALL, __uuidof(ITrMap), reinterpret_cast<void**>(&maps));
    if (SUCCEEDED(hr)) hr = makeMap(maps, arguments + 1, &map);
    if (SUCCEEDED(hr))
        hr =
            CoCreateInstance(__uuidof(Synchronizer), nullptr, CLSCTX_ALL, __uuidof(ISynchronizer), reinterpret_cast<void**>(&synchronizer));
    Sink sink;
    if (SUCCEEDED(hr)) hr = run(synchronizer, map, count == 3 ? VARIANT_TRUE : VARIANT_FALSE, sink);
    if (synchronizer) synchronizer->Release();
    if (maps) maps->Release();
    std::printf("result %08lx after %d calls\n", static_cast<unsigned long>(hr), sink.calls);
    CoUninitialize();
    return SUCCEEDED(hr) ? 0 : 1;
}
