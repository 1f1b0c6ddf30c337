#include "FakeObject.h"

#include "text.h"
#include "whole_details.h"

namespace mbtest {
namespace {

using com::guarded;

std::string printable(std::u16string_view text) { return platform::utf8(text); }

} // namespace

HRESULT createFake(const FakeSide& side, IUnknown* outer, REFIID riid, void** out) noexcept
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return guarded([&] {
        auto translator = com::make<FakeTranslator>();
        translator->side = side;
        return translator->QueryInterface(riid, out);
    });
}

// ---- Logging and checking of each call

void FakeTranslator::note(const char* method, BSTR id, const std::string& more) const
{
    const std::string first = id ? printable(com::viewOf(id)) : std::string();
    side.log->note(side.name, method, first.empty() || more.empty() ? first + more : first + " " + more);
}

void FakeTranslator::noteOpen(const char* method, BSTR id, const std::string& more) const
{
    if (state_ != State::Open) {
        expect(false, (method + std::string(" on a translator that is not open")).c_str());
        throw com::Error(E_FAIL);
    }
    note(method, id, more);
}

void FakeTranslator::expect(bool held, const char* broken) const
{
    if (!held) side.log->violations.push_back(side.name + " " + broken);
}

void FakeTranslator::expectBatch(const char* method) const
{
    if (!batch_ && options().batches) expect(false, (method + std::string(" outside of a batch")).c_str());
    if (options().userAccess) expect(writeGranted_, "a write that CanWrite was not asked for");
}

const FakeRecord& FakeTranslator::record(BSTR id) const
{
    const auto at = records().find(com::viewOf(id));
    if (at == records().end()) throw com::Error(static_cast<HRESULT>(0x80040207));
    return at->second;
}

// ---- Opening and closing

HRESULT FakeTranslator::open(const char* method, VARIANT_BOOL reconfigure, bool categories)
{
    return guarded([&] {
        note(method, nullptr, reconfigure ? "reconfigure" : "");
        expect(state_ == State::Made, "a translator is opened once and never again after Cleanup");
        state_ = State::Open;
        categoryMode_ = categories;
    });
}

void FakeTranslator::tellLeftOut(ITrServices* services)
{
    const auto report = com::Ptr<ITrServices>(services).tryAs<ITranslatorReport>();
    if (report && !options().leavesOut.empty()) com::check(report->LeftOut(com::Bstr(options().leavesOut).get()));
    const auto notes = com::Ptr<ITrServices>(services).tryAs<ITranslatorNotes>();
    if (notes && !options().notes.empty()) com::check(notes->Note(com::Bstr(options().notes).get()));
}

HRESULT STDMETHODCALLTYPE FakeTranslator::Initialize(ITrServices* pServices, HWND, VARIANT_BOOL bReconfig)
{
    tellLeftOut(pServices);
    return open("Initialize", bReconfig, false);
}

HRESULT STDMETHODCALLTYPE FakeTranslator::InitializeWithProgress(ISyncEvents*, ITrServices*, HWND, VARIANT_BOOL bReconfig)
{
    return open("InitializeWithProgress", bReconfig, false);
}

HRESULT STDMETHODCALLTYPE FakeTranslator::InitializeCategories(ITrServices* pServices, HWND, VARIANT_BOOL bReconfig)
{
    tellLeftOut(pServices);
    return open("InitializeCategories", bReconfig, true);
}

HRESULT STDMETHODCALLTYPE FakeTranslator::InitializeDatabase(BSTR dataBase, BSTR, BSTR)
{
    return guarded([&] {
        com::check(open("InitializeDatabase", VARIANT_FALSE, false));
        options().database = com::textOf(dataBase);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::InitializeDatabaseEx(ITrServices*, BSTR dataBase, BSTR, BSTR)
{
    return guarded([&] {
        com::check(open("InitializeDatabaseEx", VARIANT_FALSE, false));
        options().database = com::textOf(dataBase);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetSyncParams(ITrServices*, BSTR* lpDatabase, BSTR* lpDescription)
{
    if (!lpDatabase || !lpDescription) return E_POINTER;
    *lpDatabase = *lpDescription = nullptr;
    return guarded([&] {
        note("GetSyncParams");
        com::Bstr database(options().database);
        com::give(lpDescription, options().description);
        *lpDatabase = database.detach();
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetTranslatorCaps(ULONG* pCaps)
{
    if (!pCaps) return E_POINTER;
    return guarded([&] {
        note("GetTranslatorCaps");
        *pCaps = options().caps;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::SetDatabase(ITrServices*, BSTR lpDatabase)
{
    return guarded([&] {
        note("SetDatabase");
        options().database = com::textOf(lpDatabase);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::Cleanup()
{
    return guarded([&] {
        // Allowed on a translator that could not be opened. The object is closed even if the log makes Cleanup fail.
        expect(state_ != State::Closed, "Cleanup twice");
        if (!side.log->failed()) {
            expect(!reading_, "Cleanup while a record is being read");
            expect(!writing_, "Cleanup while a record is being written");
        }
        state_ = State::Closed;
        reading_.reset();
        writing_.reset();
        note("Cleanup");
    });
}

// ---- Listing

HRESULT STDMETHODCALLTYPE FakeTranslator::GetRecordCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    return guarded([&] {
        noteOpen("GetRecordCount");
        *pCount = static_cast<LONG>(ids().size());
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetRecordID(LONG nIndex, BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    return guarded([&] {
        noteOpen("GetRecordID");
        if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= ids().size()) throw com::Error(E_INVALIDARG);
        com::give(lpRecID, ids()[static_cast<std::size_t>(nIndex)]);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetCreateDate(BSTR lpRecID, DATE* lpCreateDate)
{
    if (!lpCreateDate) return E_POINTER;
    return guarded([&] {
        noteOpen("GetCreateDate", lpRecID);
        *lpCreateDate = record(lpRecID).created;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::GetModifiedDate(BSTR lpRecID, DATE* lpModDate)
{
    if (!lpModDate) return E_POINTER;
    return guarded([&] {
        noteOpen("GetModifiedDate", lpRecID);
        const DATE modified = record(lpRecID).modified;
        *lpModDate = options().dates ? modified : 0.0;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::FindRecord(BSTR strRecID)
{
    return guarded([&] {
        noteOpen("FindRecord", strRecID);
        (void)record(strRecID);
    });
}

// ---- Reading

HRESULT STDMETHODCALLTYPE FakeTranslator::BeginReadRecord(BSTR lpRecID)
{
    return guarded([&] {
        noteOpen("BeginReadRecord", lpRecID);
        (void)record(lpRecID);
        expect(!reading_, "BeginReadRecord while a record is being read");
        reading_ = com::textOf(lpRecID);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::EndReadRecord(BSTR lpRecID)
{
    return guarded([&] {
        noteOpen("EndReadRecord", lpRecID);
        expect(reading_ && *reading_ == com::viewOf(lpRecID), "EndReadRecord of a record that is not being read");
        reading_.reset();
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::ReadField(BSTR lpRecID, REFGUID rField, VARIANT* lpvarValue)
{
    if (!lpvarValue) return E_POINTER;
    VariantInit(lpvarValue);
    return guarded([&] {
        if (givesWholeDetails(rField)) {
            noteOpen("ReadField", lpRecID, "whole details");
            expect(reading_ && *reading_ == com::viewOf(lpRecID), "ReadField of a record that is not being read");
            if (options().unreadable.contains(fakeWholeDetails)) throw com::Error(E_FAIL);
            *lpvarValue = com::Variant(side.store->get(com::viewOf(lpRecID), ftDetails)).detach();
            return;
        }
        const FakeField& field = fieldOf(rField);
        noteOpen("ReadField", lpRecID, printable(field.name));
        const std::u16string_view id = com::viewOf(lpRecID);
        const bool isWritten = writing_ && writing_->id == id;
        const bool isRead = reading_ && *reading_ == id;
        expect(isRead || isWritten, "ReadField of a record that is neither being read nor written");
        const LONG key = field.key();
        if (options().unreadable.contains(key)) throw com::Error(E_FAIL);
        if (field.dataType == dtImage && !imagesAllowed_) return;
        if (isWritten)
            if (const auto at = writing_->values.find(key); at != writing_->values.end()) {
                *lpvarValue = com::Variant(at->second).detach();
                return;
            }
        if (isWritten && writing_->isNew) return;
        const FakeValues& values = record(lpRecID).values;
        const auto at = values.find(key);
        if (at == values.end()) return; // VT_EMPTY means an empty text
        const bool isFile = field.dataType == dtImage && imagesAreFiles();
        const bool hashes = key == ftDetails && options().hashesFiles;
        *lpvarValue = com::Variant(isFile ? imageCopy(at->second) : hashes ? withHashes(at->second) : at->second).detach();
    });
}

// ---- Writing

HRESULT STDMETHODCALLTYPE FakeTranslator::BeginUpdate()
{
    return guarded([&] {
        noteOpen("BeginUpdate");
        if (!options().batches) throw com::Error(E_NOTIMPL);
        expect(!batch_, "BeginUpdate twice");
        batch_ = true;
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::EndUpdate(VARIANT_BOOL bAbort)
{
    return guarded([&] {
        noteOpen("EndUpdate", nullptr, bAbort ? "abort" : "");
        if (!options().batches) throw com::Error(E_NOTIMPL);
        batch_ = false; // no check for an open batch: a run that is cancelled before BeginUpdate still calls EndUpdate
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::BeginAddRecord(BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    return guarded([&] {
        noteOpen("BeginAddRecord");
        expectBatch("BeginAddRecord");
        expect(!writing_, "BeginAddRecord while a record is being written");
        writing_ = Writing{(categoryMode_ ? u"C" : u"") + side.store->newId(), true, {}};
        com::give(lpRecID, writing_->id);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::BeginEditRecord(BSTR lpRecID)
{
    return guarded([&] {
        noteOpen("BeginEditRecord", lpRecID);
        expectBatch("BeginEditRecord");
        (void)record(lpRecID);
        expect(!writing_, "BeginEditRecord while a record is being written");
        writing_ = Writing{com::textOf(lpRecID), false, {}};
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::WriteField(BSTR lpRecID, REFGUID rField, VARIANT varValue)
{
    return guarded([&] {
        const FakeField& field = fieldOf(rField);
        const std::u16string_view text = varValue.vt == VT_BSTR ? com::viewOf(varValue.bstrVal) : std::u16string_view{};
        const bool isImage = field.dataType == dtImage;
        noteOpen("WriteField", lpRecID, printable(field.name) + "=" + (isImage ? "image" : printable(text)));
        if (!writing_ || writing_->id != com::viewOf(lpRecID)) {
            expect(false, "WriteField of a record that is not being written");
            throw com::Error(static_cast<HRESULT>(0x8004020C));
        }
        if (options().unwritable.contains(field.key())) throw com::Error(static_cast<HRESULT>(0x8004020C));
        if (isImage && !imagesAllowed_) return;
        if (field.key() == ftDetails && options().hashesFiles) {
            const std::u16string held = writing_->isNew ? std::u16string() : side.store->get(writing_->id, ftDetails);
            writing_->values[ftDetails] = withFiles(text, held);
            return;
        }
        writing_->values[field.key()] = isImage && imagesAreFiles() ? imageCopy(std::u16string(text)) : std::u16string(text);
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::SaveRecord(BSTR* ppRecID)
{
    if (!ppRecID) return E_POINTER;
    return guarded([&] {
        noteOpen("SaveRecord", *ppRecID);
        if (!writing_ || writing_->id != com::viewOf(*ppRecID)) {
            expect(false, "SaveRecord of a record that is not being written");
            throw com::Error(static_cast<HRESULT>(0x8004020D));
        }
        Writing saved = std::move(*writing_);
        writing_.reset();
        side.store->put(categoryMode_, saved.id, std::move(saved.values));
        if (!(saved.isNew ? options().newIdOnAdd : options().newIdOnSave)) return;
        com::Bstr renamed(side.store->newId());
        side.store->rename(categoryMode_, saved.id, renamed.text());
        const com::Bstr former = com::Bstr::attach(*ppRecID);
        *ppRecID = renamed.detach();
    });
}

HRESULT STDMETHODCALLTYPE FakeTranslator::DeleteRecord(BSTR lpRecID)
{
    return guarded([&] {
        noteOpen("DeleteRecord", lpRecID);
        expectBatch("DeleteRecord");
        (void)record(lpRecID);
        side.store->erase(categoryMode_, com::viewOf(lpRecID));
    });
}

} // namespace mbtest
