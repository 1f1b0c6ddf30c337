#include "transfer/CSyncTransfer.h"

#include "foundation/ClassTable.h"
#include "foundation/NotesTranslator.h"
#include "transfer/HiddenMap.h"
#include "transfer/InstallChecks.h"
#include "transfer/TargetList.h"
#include "store/FindMap.h"
#include "translators/TranslatorIds.h"
#include "ui.h"

namespace mb {
namespace {

// A translator returns this code after it was configured or its dialog was cancelled. The host gets S_OK.
constexpr HRESULT codeConfigured = static_cast<HRESULT>(0x80040212);

HRESULT unlessConfigured(HRESULT hr) { return hr == codeConfigured ? S_OK : hr; }

// A window handle is passed as 32 bits; the full handle is its sign extension.
HWND windowOf(LONG handle) { return reinterpret_cast<HWND>(static_cast<std::intptr_t>(handle)); }

// Quirk kept on purpose: the variant has a value but no type. SetOption reads only the value.
VARIANT flagValue(VARIANT_BOOL flag)
{
    VARIANT value;
    VariantInit(&value);
    value.boolVal = flag;
    return value;
}

class OwnedArray {
public:
    OwnedArray() noexcept = default;
    explicit OwnedArray(SAFEARRAY* array) noexcept : array_(array) {}
    OwnedArray(OwnedArray&& o) noexcept : array_(o.detach()) {}
    OwnedArray& operator=(OwnedArray o) noexcept
    {
        std::swap(array_, o.array_);
        return *this;
    }
    ~OwnedArray()
    {
        if (array_) (void)SafeArrayDestroy(array_);
    }
    [[nodiscard]] SAFEARRAY* detach() noexcept { return std::exchange(array_, nullptr); }

private:
    SAFEARRAY* array_ = nullptr;
};

OwnedArray textsOf(const std::vector<TransferTarget>& targets, std::u16string TransferTarget::*which)
{
    std::vector<std::u16string> texts;
    for (const TransferTarget& target : targets) texts.push_back(target.*which);
    return OwnedArray(com::makeTextArray(texts));
}

OwnedArray flagsOf(const std::vector<TransferTarget>& targets, bool TransferTarget::*which)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_BOOL, 0, static_cast<ULONG>(targets.size()));
    if (!array) throw std::bad_alloc();
    OwnedArray owned(array);
    void* data = nullptr;
    com::check(SafeArrayAccessData(array, &data));
    auto* flags = static_cast<VARIANT_BOOL*>(data);
    for (const TransferTarget& target : targets) *flags++ = target.*which ? VARIANT_TRUE : VARIANT_FALSE;
    (void)SafeArrayUnaccessData(array);
    return owned;
}

// The out arguments of both listings; `images` is null for GetTranslators.
struct TargetArrays {
    SAFEARRAY **guids, **names, **paths, **configurable, **images;
};

HRESULT giveTargets(const TargetArrays& out, const std::u16string& notesTranslatorPath)
{
    *out.guids = *out.names = *out.paths = *out.configurable = nullptr;
    if (out.images) *out.images = nullptr;
    return com::guarded([&] {
        std::vector<TransferTarget> targets;
        const HRESULT hr = ListTargets(out.images != nullptr, notesTranslatorPath, targets);
        if (FAILED(hr)) return hr;
        OwnedArray guids = textsOf(targets, &TransferTarget::guid), names = textsOf(targets, &TransferTarget::name),
                   paths = textsOf(targets, &TransferTarget::path), configurable = flagsOf(targets, &TransferTarget::configurable), images;
        if (out.images) images = flagsOf(targets, &TransferTarget::images);
        *out.guids = guids.detach();
        *out.names = names.detach();
        *out.paths = paths.detach();
        *out.configurable = configurable.detach();
        if (out.images) *out.images = images.detach();
        return hr;
    });
}

// Forwards a synchronizer's progress to the sink while this object lives.
class ForwardedProgress {
public:
    ForwardedProgress(const com::Ptr<ISynchronizer>& synchronizer, ISyncEvents* sink)
    {
        const auto container = sink ? synchronizer.tryAs<IConnectionPointContainer>() : nullptr;
        if (!container ||
            FAILED(com::call(container, &IConnectionPointContainer::FindConnectionPoint, __uuidof(ISyncEvents), point_.put())))
            return;
        if (FAILED(com::call(point_, &IConnectionPoint::Advise, sink, &cookie_))) cookie_ = 0;
    }
    ForwardedProgress(const ForwardedProgress&) = delete;
    ForwardedProgress& operator=(const ForwardedProgress&) = delete;
    ~ForwardedProgress()
    {
        if (cookie_ != 0) (void)com::call(point_, &IConnectionPoint::Unadvise, cookie_);
    }

private:
    com::Ptr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

} // namespace

CSyncTransfer::CSyncTransfer(IUnknown* outer) : EventSource(outer)
{
    platform::silenceSystemErrorBoxes();
    (void)com::guarded([&] { findNotesTranslator(); });
}

bool CSyncTransfer::createsNotesTranslator()
{
    com::Ptr<ITranslator> translator;
    if (SUCCEEDED(createClass(lotusNotesTranslator, translator))) return static_cast<bool>(translator);
    (void)translator.detach();
    return false;
}

void CSyncTransfer::findNotesTranslator()
{
    LotusNotesAvailable = createsNotesTranslator();
    if (LotusNotesAvailable) return;
    AddNotesFolderToPath();
    LotusNotesAvailable = createsNotesTranslator();
    if (LotusNotesAvailable) return;
    NotesTranslatorPath = RegisterNotesTranslator();
    LotusNotesAvailable = createsNotesTranslator();
}

void CSyncTransfer::forgetLastError()
{
    LastErrorCode = com::Variant();
    LastErrorMessage1.clear();
    LastErrorMessage2.clear();
}

HRESULT STDMETHODCALLTYPE CSyncTransfer::GetTranslators(SAFEARRAY** ppsaGUIDs, SAFEARRAY** ppsaNames, SAFEARRAY** ppsaPaths,
                                                        SAFEARRAY** ppsaConfigurable)
{
    if (!ppsaGUIDs || !ppsaNames || !ppsaPaths || !ppsaConfigurable) return E_POINTER;
    return giveTargets({ppsaGUIDs, ppsaNames, ppsaPaths, ppsaConfigurable, nullptr}, NotesTranslatorPath);
}

HRESULT STDMETHODCALLTYPE CSyncTransfer::GetTranslatorsEx(SAFEARRAY** ppsaGUIDs, SAFEARRAY** ppsaNames, SAFEARRAY** ppsaPaths,
                                                          SAFEARRAY** ppsaConfigurable, SAFEARRAY** ppsaSupportImages)
{
    if (!ppsaGUIDs || !ppsaNames || !ppsaPaths || !ppsaConfigurable || !ppsaSupportImages) return E_POINTER;
    return giveTargets({ppsaGUIDs, ppsaNames, ppsaPaths, ppsaConfigurable, ppsaSupportImages}, NotesTranslatorPath);
}

HRESULT STDMETHODCALLTYPE CSyncTransfer::Transfer(LONG lHWND, BSTR lpTransGUID, BSTR lpMBFile, BSTR lpMBPassword, SAFEARRAY* lpsaCardGUIDs,
                                                  VARIANT_BOOL bReverse)
{
    forgetLastError();
    return com::guarded([&] {
        com::Ptr<ISynchronizer> synchronizer;
        HRESULT hr = createClass(__uuidof(Synchronizer), synchronizer);
        if (SUCCEEDED(hr)) hr = com::call(synchronizer, &ISynchronizer::Initialize, windowOf(lHWND), VARIANT_FALSE);
        if (FAILED(hr)) return hr;
        const ForwardedProgress progress(synchronizer, firstSink());
        hr = com::call(synchronizer, &ISynchronizer::Transfer, lpTransGUID, lpMBFile, lpMBPassword, lpsaCardGUIDs, bReverse);
        if (FAILED(hr)) {
            com::Bstr message1, message2;
            (void)com::call(synchronizer, &ISynchronizer::GetLastError, LastErrorCode.put(), message1.put(), message2.put());
            LastErrorMessage1 = message1.text();
            LastErrorMessage2 = message2.text();
        }
        (void)com::call(synchronizer, &ISynchronizer::Cleanup);
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CSyncTransfer::ConfigureTranslator(LONG lHWND, BSTR lpTransGUID)
{
    forgetLastError();
    return com::guarded([&]() -> HRESULT {
        GUID target{};
        HRESULT hr = ParseTarget(lpTransGUID, target);
        if (FAILED(hr)) return hr;
        if (InstallCheck check = CheckTranslatorInstalled(target, LotusNotesAvailable); !check.installed) {
            LastErrorMessage1 = std::move(check.text);
            return E_FAIL;
        }
        com::Ptr<ITrMap> maps;
        hr = EnsureHiddenMap(target, maps);
        if (FAILED(hr)) return hr;
        com::Bstr database, message1, message2;
        hr = com::call(maps, &ITrMap::ConfigureTranslator2, target, idTrans2, windowOf(lHWND), database.put(), LastErrorCode.put(),
                       message1.put(), message2.put());
        LastErrorMessage1 = message1.text();
        LastErrorMessage2 = message2.text();
        return unlessConfigured(hr);
    });
}

// Leaves an out argument unchanged if there is no value for it.
HRESULT STDMETHODCALLTYPE CSyncTransfer::GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2)
{
    if (!lpvtCode || !ppMessage1 || !ppMessage2) return E_POINTER;
    return com::guarded([&] {
        if (LastErrorCode.vt != VT_EMPTY) {
            (void)VariantClear(lpvtCode);
            *lpvtCode = LastErrorCode.detach();
        }
        if (!LastErrorMessage1.empty()) com::give(ppMessage1, std::exchange(LastErrorMessage1, {}));
        if (!LastErrorMessage2.empty()) com::give(ppMessage2, std::exchange(LastErrorMessage2, {}));
    });
}

HRESULT STDMETHODCALLTYPE CSyncTransfer::ConfigureFieldMapping(LONG lHWND, BSTR lpTransGUID)
{
    forgetLastError();
    return com::guarded([&] {
        GUID target{};
        com::Ptr<ITrMap> maps;
        HRESULT hr = ParseTarget(lpTransGUID, target);
        if (SUCCEEDED(hr)) hr = EnsureHiddenMap(target, maps);
        if (SUCCEEDED(hr)) hr = com::call(maps, &ITrMap::ConfigureFieldMapping, windowOf(lHWND), target, VARIANT_TRUE);
        return unlessConfigured(hr);
    });
}

HRESULT STDMETHODCALLTYPE CSyncTransfer::GetSyncImages(BSTR lpTransGUID, VARIANT_BOOL* bSyncImages)
{
    if (!bSyncImages) return E_POINTER;
    forgetLastError();
    *bSyncImages = VARIANT_TRUE;
    (void)com::guarded([&] {
        GUID target{};
        com::Ptr<ITrMap> maps;
        com::check(ParseTarget(lpTransGUID, target));
        com::check(createClass(__uuidof(TrManager), maps));
        std::optional<MapTranslators> found;
        com::check(FindMap(maps.get(), target, found));
        com::Variant stored;
        if (found && SUCCEEDED(com::call(maps, &ITrMap::GetOption, target, LONG{soSyncImages}, stored.put())))
            *bSyncImages = stored.boolVal;
    });
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CSyncTransfer::SetSyncImages(BSTR lpTransGUID, VARIANT_BOOL bSyncImages)
{
    forgetLastError();
    (void)com::guarded([&] {
        GUID target{};
        com::Ptr<ITrMap> maps;
        com::check(ParseTarget(lpTransGUID, target));
        com::check(EnsureHiddenMap(target, maps));
        const auto option = [&](LONG id, VARIANT_BOOL unread) {
            com::Variant value;
            return SUCCEEDED(com::call(maps, &ITrMap::GetOption, target, id, value.put())) ? value.boolVal : unread;
        };
        const auto setOption = [&](LONG id, VARIANT_BOOL flag) { (void)com::call(maps, &ITrMap::SetOption, target, id, flagValue(flag)); };
        const VARIANT_BOOL before = option(soSyncImages, VARIANT_TRUE);
        if (option(soSyncImageOptionChanged, VARIANT_FALSE) == VARIANT_FALSE && before != bSyncImages)
            setOption(soSyncImageOptionChanged, VARIANT_TRUE);
        setOption(soSyncImages, bSyncImages);
    });
    return S_OK;
}

} // namespace mb
