// Part of CTrManager: keeps lists of record identifiers for hosts, one list for each file name.
#include "error_text.h"
#include "translators/CTrManager.h"

namespace mb {

HRESULT STDMETHODCALLTYPE CTrManager::OpenStore()
{
    return com::guarded([&] {
        (void)CloseStore();
        auto opened = std::make_unique<FilterStore>();
        const HRESULT hr = opened->open();
        if (SUCCEEDED(hr))
            filter_ = std::move(opened);
        else
            platform::leaveErrorText(opened->openFailure());
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::AddEntry(BSTR lpFile, BSTR lpRecID)
{
    if (!filter_ || !lpFile || !lpRecID) return E_POINTER;
    return com::guarded([&] { return filter_->add(com::viewOf(lpFile), com::viewOf(lpRecID)); });
}

HRESULT STDMETHODCALLTYPE CTrManager::EnumerateEntries(BSTR lpFile, ULONG ulIndex, BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    if (!filter_) return E_POINTER;
    return com::guarded([&] {
        std::u16string id;
        const HRESULT hr = filter_->at(com::viewOf(lpFile), ulIndex, id);
        if (SUCCEEDED(hr)) com::give(lpRecID, id);
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::DeleteEntry(BSTR lpFile, BSTR lpRecID)
{
    if (!filter_) return E_POINTER;
    return com::guarded([&] {
        if (!lpFile) return filter_->removeAll();
        return lpRecID ? filter_->remove(com::viewOf(lpFile), com::viewOf(lpRecID)) : filter_->removeFile(com::viewOf(lpFile));
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::CloseStore()
{
    return com::guarded([&] {
        if (filter_) (void)filter_->close();
        filter_.reset();
    });
}

} // namespace mb
