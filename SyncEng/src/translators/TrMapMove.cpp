// Part of CTrManager: points a map at the new place of a moved store.
#include "translators/CTrManager.h"
#include "translators/HistorySide.h"
#include "translators/SideSettings.h"

namespace mb {
namespace {

constexpr HRESULT recordNotFound = static_cast<HRESULT>(0x80040207);

std::u16string_view lastPart(std::u16string_view path)
{
    const std::size_t at = path.find_last_of(u"/\\");
    return at == path.npos ? path : path.substr(at + 1);
}

std::u16string replaced(std::u16string_view text, std::size_t at, std::u16string_view old, std::u16string_view now)
{
    return std::u16string(text.substr(0, at)) + std::u16string(now) + std::u16string(text.substr(at + old.size()));
}

// Returns the identifier of a record after the move: replaces the store's path inside `id`, or else the store's file name at the start of
// `id`. Returns an empty text if `id` has neither.
std::u16string movedId(std::u16string_view id, std::u16string_view former, std::u16string_view now)
{
    if (const std::size_t at = former.empty() ? id.npos : id.find(former); at != id.npos) return replaced(id, at, former, now);
    const std::u16string_view file = lastPart(former);
    return !file.empty() && id.starts_with(file) ? replaced(id, 0, file, lastPart(now)) : std::u16string();
}

// One move. The store is open at its new place until this object is destroyed. The destructor restores the former place in the settings
// unless keep() succeeded.
class Move {
public:
    Move(CTrManager& manager, const GUID& map, _TransIds transId) : manager_(manager), map_(map), transId_(transId) {}
    Move(const Move&) = delete;
    Move& operator=(const Move&) = delete;
    ~Move()
    {
        if (!translator_) return;
        (void)com::call(translator_, &ITranslator::Cleanup);
        if (!kept_ && changed_) (void)com::call(translator_, &ITranslator::SetDatabase, services_.get(), com::Bstr(former_).get());
    }

    HRESULT open(BSTR database)
    {
        GUID id1{}, id2{};
        HRESULT hr = manager_.GetTranslators(map_, &id1, &id2);
        if (SUCCEEDED(hr)) hr = MakeServices(map_, transId_, services_);
        if (SUCCEEDED(hr)) hr = manager_.Load(transId_ == idTrans1 ? id1 : id2, translator_.put());
        if (SUCCEEDED(hr)) hr = askDatabase(former_);
        if (FAILED(hr)) return hr;
        changed_ = true;
        hr = com::call(translator_, &ITranslator::SetDatabase, services_.get(), database);
        if (SUCCEEDED(hr)) hr = com::call(translator_, &ITranslator::Initialize, services_.get(), nullptr, VARIANT_FALSE);
        if (SUCCEEDED(hr)) hr = askDatabase(now_);
        return hr;
    }

    // Sets `known` to the number of records in the history and `missing` to how many of them the store lacks. Remembers the records whose
    // identifier changed with the place.
    HRESULT compare(LONG& known, LONG& missing)
    {
        HRESULT hr = history_.Open(map_);
        std::vector<std::u16string> ids;
        if (SUCCEEDED(hr)) hr = history_.ListRecords(historySideOf(transId_), ids);
        if (FAILED(hr)) return hr;
        known = static_cast<LONG>(ids.size());
        for (const std::u16string& id : ids) {
            bool found = false;
            hr = contains(id, found);
            const std::u16string moved = found ? std::u16string() : movedId(id, former_, now_);
            if (SUCCEEDED(hr) && !moved.empty()) {
                hr = contains(moved, found);
                if (found) renamed_.emplace_back(id, moved);
            }
            if (FAILED(hr)) return hr;
            missing += !found;
        }
        return S_OK;
    }

    // If the contacts' history cannot be saved, the categories' history gets its former place back.
    HRESULT keep()
    {
        std::u16string former, undone;
        HRESULT hr = recordForCategories(now_, former);
        if (FAILED(hr)) return hr;
        hr = keepContacts();
        kept_ = SUCCEEDED(hr);
        if (!kept_ && !former.empty()) (void)recordForCategories(former, undone);
        return hr;
    }

    [[nodiscard]] std::u16string message() const
    {
        com::Variant code;
        com::Bstr message1, message2;
        const auto info = translator_.tryAs<ITranslatorInfo>();
        if (info) (void)com::call(info, &ITranslatorInfo::GetLastError, code.put(), message1.put(), message2.put());
        return message1.empty() ? history_.openFailure() : message1.text();
    }

private:
    HRESULT keepContacts()
    {
        HRESULT hr = S_OK;
        SaveScope scope(history_.store());
        for (const auto& [before, now] : renamed_) {
            hr = rename(before, now);
            if (FAILED(hr)) return hr;
        }
        std::u16string recorded;
        if (SUCCEEDED(history_.GetDatabase(section(), recorded))) (void)history_.SetDatabase(section(), now_);
        return scope.finish();
    }

    [[nodiscard]] std::u16string section() const { return historySideOf(transId_); }

    HRESULT askDatabase(std::u16string& database)
    {
        com::Bstr text, description;
        const HRESULT hr = com::call(translator_, &ITranslator::GetSyncParams, services_.get(), text.put(), description.put());
        if (SUCCEEDED(hr)) database = text.text();
        return hr;
    }

    HRESULT contains(const std::u16string& id, bool& found)
    {
        const HRESULT hr = com::call(translator_, &ITranslator::FindRecord, com::Bstr(id).get());
        found = SUCCEEDED(hr);
        return hr == recordNotFound || hr == E_FAIL ? S_OK : hr;
    }

    HRESULT rename(const std::u16string& before, const std::u16string& now)
    {
        HistoryEntry entry, partner;
        entry.Id = before;
        HRESULT hr = history_.ReadEntry(section(), entry, false);
        if (SUCCEEDED(hr)) hr = history_.RenameEntry(section(), entry, now, false);
        if (FAILED(hr)) return hr;
        partner.Id = entry.MappedId;
        const std::u16string other = historySideOf(transId_ == idTrans1 ? idTrans2 : idTrans1);
        return SUCCEEDED(history_.ReadEntry(other, partner, false)) ? history_.SetMappedId(other, partner, now, false) : S_OK;
    }

    // Categories are identified by name, which a move does not change; only the store's place is recorded. Sets `former` to the place that
    // was recorded before; empty if none was, and then none is recorded now.
    HRESULT recordForCategories(const std::u16string& place, std::u16string& former)
    {
        GUID categories{};
        if (FAILED(manager_.GetCategoryGuid(map_, &categories))) return S_OK;
        CSyncHistory history(nullptr);
        std::u16string recorded;
        HRESULT hr = history.Open(categories);
        if (SUCCEEDED(hr) && SUCCEEDED(history.GetDatabase(section(), recorded))) {
            hr = history.SetDatabase(section(), place);
            former = recorded;
        }
        return hr;
    }

    CTrManager& manager_;
    GUID map_;
    _TransIds transId_;
    com::Ptr<ITrServices> services_;
    com::Ptr<ITranslator> translator_;
    CSyncHistory history_{nullptr};
    std::u16string former_, now_;                                    // the store's place, as the translator reports it
    std::vector<std::pair<std::u16string, std::u16string>> renamed_; // former and new identifiers
    bool changed_ = false, kept_ = false;
};

} // namespace

HRESULT STDMETHODCALLTYPE CTrManager::MoveStore(REFGUID guid, _TransIds transId, BSTR lpDatabase, VARIANT_BOOL force, LONG* pKnown,
                                                LONG* pMissing, BSTR* ppMessage)
{
    if (!pKnown || !pMissing || !ppMessage) return E_POINTER;
    *pKnown = *pMissing = 0;
    *ppMessage = nullptr;
    return com::guarded([&] {
        StoreLock lock; // a run at the same time would overwrite the history
        HRESULT hr = lock.takeMap(guid);
        if (FAILED(hr)) {
            com::give(ppMessage, lock.failure());
            return hr;
        }
        Move move(*this, guid, transId);
        hr = move.open(lpDatabase);
        if (SUCCEEDED(hr)) hr = move.compare(*pKnown, *pMissing);
        if (SUCCEEDED(hr) && *pMissing > 0 && force == VARIANT_FALSE) return S_FALSE;
        if (SUCCEEDED(hr)) hr = move.keep();
        if (FAILED(hr)) com::give(ppMessage, move.message());
        return hr;
    });
}

} // namespace mb
