#include "engine/StoreClient.h"

namespace mb {
namespace {

constexpr HRESULT codeNotFound = static_cast<HRESULT>(0x80040207); // "finding a contact" in the translators' own codes

// The answers to FindRecord that mean that the record does not exist. Any other failure says nothing about the record.
bool meansAbsent(HRESULT hr) { return hr == codeNotFound || hr == E_FAIL; }

HRESULT unlessNotImplemented(HRESULT hr) { return hr == E_NOTIMPL ? S_OK : hr; }

template <class Ask> HRESULT askTwice(Ask&& ask)
{
    const HRESULT hr = ask();
    return SUCCEEDED(hr) ? hr : ask();
}

} // namespace

StoreClient::StoreClient(const com::Ptr<ITranslator>& translator)
    : translator_(translator), field_(translator.tryAs<IField>()), fieldList_(translator.tryAs<IFieldList>()),
      images_(translator.tryAs<IImageSupport>()), access_(translator.tryAs<IPIMUserAccess>()),
      recordAccess_(translator.tryAs<IRecordAccess>()), updater_(translator.tryAs<IRecordUpdater>()),
      verifier_(translator.tryAs<IRecordVerifier>()), categories_(translator.tryAs<ICategories>()),
      dynamicFields_(translator.tryAs<IDynamicFieldLoader>()), finder_(translator.tryAs<IDuplicateFinder>())
{
}

void StoreClient::cancel()
{
    cancelled_ = true;
    if (holds_ == 0) throw Cancelled{};
}

void StoreClient::throwIfCancelled() const
{
    if (cancelled_) throw Cancelled{};
}

template <class Object, class Method, class... Args> HRESULT StoreClient::call(const Object& object, Method method, Args&&... args)
{
    if (holds_ == 0) throwIfCancelled();
    const HRESULT hr = com::call(object, method, std::forward<Args>(args)...);
    if (hr == E_ABORT) cancel();
    return hr;
}

// ---- Starting

HRESULT StoreClient::initialize(ITrServices* services, HWND parent, VARIANT_BOOL reconfigure)
{
    return call(translator_, &ITranslator::Initialize, services, parent, reconfigure);
}

HRESULT StoreClient::initializeWithProgress(ISyncEvents* sink, ITrServices* services, HWND parent, VARIANT_BOOL reconfigure)
{
    return call(updater_, &IRecordUpdater::InitializeWithProgress, sink, services, parent, reconfigure);
}

HRESULT StoreClient::initializeCategories(ITrServices* services, HWND parent, VARIANT_BOOL reconfigure)
{
    return call(categories_, &ICategories::InitializeCategories, services, parent, reconfigure);
}

void StoreClient::setAllowImages(bool allow) { (void)call(images_, &IImageSupport::SetAllowImage, allow ? VARIANT_TRUE : VARIANT_FALSE); }

HRESULT StoreClient::loadDynamicFields(ITrServices* services, LONG next, LONG& after)
{
    return call(dynamicFields_, &IDynamicFieldLoader::LoadDynamicFields, services, next, &after);
}

HRESULT StoreClient::syncParams(ITrServices* services, std::u16string& database, std::u16string& description)
{
    com::Bstr toldDatabase, toldDescription;
    const HRESULT hr = call(translator_, &ITranslator::GetSyncParams, services, toldDatabase.put(), toldDescription.put());
    database = SUCCEEDED(hr) ? toldDatabase.text() : std::u16string();
    description = SUCCEEDED(hr) ? toldDescription.text() : std::u16string();
    return hr;
}

// ---- What the store can do

std::optional<ULONG> StoreClient::caps()
{
    ULONG told = 0;
    if (SUCCEEDED(askTwice([&] { return call(translator_, &ITranslator::GetTranslatorCaps, &told); }))) caps_ = told;
    return caps_;
}

HRESULT StoreClient::fieldType(const GUID& field, LONG& type)
{
    return askTwice([&] { return call(field_, &IField::GetFieldType, field, &type); });
}

HRESULT StoreClient::fieldFlags(const GUID& field, ULONG& flags)
{
    return askTwice([&] { return call(field_, &IField::GetFlags, field, &flags); });
}

HRESULT StoreClient::fieldMaxLength(const GUID& field, ULONG& length)
{
    return askTwice([&] { return call(field_, &IField::GetMaxLength, field, &length); });
}

HRESULT StoreClient::fieldName(const GUID& field, std::u16string& name)
{
    com::Bstr text;
    const HRESULT hr = call(field_, &IField::GetName, field, text.put());
    name = text.text();
    return hr;
}

HRESULT StoreClient::fieldCount(LONG& count)
{
    return askTwice([&] { return call(fieldList_, &IFieldList::GetCount, &count); });
}

HRESULT StoreClient::fieldAt(LONG index, GUID& field)
{
    return askTwice([&] { return call(fieldList_, &IFieldList::GetFieldByIndex, index, &field); });
}

// ---- Records

HRESULT StoreClient::count(LONG& count) { return call(translator_, &ITranslator::GetRecordCount, &count); }

HRESULT StoreClient::identifierAt(LONG index, com::Bstr& id) { return call(translator_, &ITranslator::GetRecordID, index, id.put()); }

Presence StoreClient::contains(BSTR id, HRESULT* failure)
{
    const HRESULT hr = call(translator_, &ITranslator::FindRecord, id);
    if (SUCCEEDED(hr)) return Presence::Present;
    if (meansAbsent(hr)) return Presence::Absent;
    if (failure) *failure = hr;
    return Presence::Failed;
}

Presence StoreClient::contains(std::u16string_view id, HRESULT* failure)
{
    const com::Bstr key(id);
    return contains(key.get(), failure);
}

std::optional<DATE> StoreClient::modified(BSTR id)
{
    DATE date = 0.0;
    return SUCCEEDED(call(translator_, &ITranslator::GetModifiedDate, id, &date)) ? std::optional(date) : std::nullopt;
}

bool StoreClient::verified(BSTR id)
{
    VARIANT_BOOL verified = VARIANT_TRUE;
    return FAILED(call(verifier_, &IRecordVerifier::RecordVerified, id, &verified)) || verified != VARIANT_FALSE;
}

// ---- Reading

HRESULT StoreClient::beginRead(BSTR id) { return call(translator_, &ITranslator::BeginReadRecord, id); }

HRESULT StoreClient::beginReadForSearch(BSTR id) noexcept { return com::call(translator_, &ITranslator::BeginReadRecord, id); }

void StoreClient::endRead(BSTR id) { (void)call(translator_, &ITranslator::EndReadRecord, id); }

HRESULT StoreClient::read(BSTR id, const GUID& field, com::Variant& value)
{
    return call(translator_, &ITranslator::ReadField, id, field, value.put());
}

HRESULT StoreClient::readText(BSTR id, const GUID& field, std::u16string& text)
{
    com::Variant value;
    const HRESULT hr = read(id, field, value);
    text = SUCCEEDED(hr) ? value.text() : std::u16string_view();
    return hr;
}

HRESULT StoreClient::hasImage(BSTR id, const GUID& field, bool& has)
{
    VARIANT_BOOL answer = VARIANT_FALSE;
    const HRESULT hr = call(images_, &IImageSupport::HasFieldValue, id, field, &answer);
    has = SUCCEEDED(hr) && answer != VARIANT_FALSE;
    return hr;
}

ImageSize StoreClient::imageSize(BSTR id, const GUID& field)
{
    if (FAILED(call(images_, &IImageSupport::BeginReadImageData, id, field))) return std::nullopt;
    LONGLONG size = -1;
    HRESULT hr = S_OK;
    {
        const CancelHold hold(*this); // so that the image data is closed
        hr = call(images_, &IImageSupport::GetImageDataSize, &size);
        (void)call(images_, &IImageSupport::EndReadImageData, id, field);
    }
    if (holds_ == 0) throwIfCancelled();
    return SUCCEEDED(hr) && size >= 0 ? ImageSize(size) : std::nullopt;
}

// ---- Writing

HRESULT StoreClient::askToWrite(ITrServices* services, HWND parent, VARIANT_BOOL silent)
{
    if (!access_) return S_OK;
    VARIANT_BOOL allowed = VARIANT_TRUE;
    const HRESULT hr = call(access_, &IPIMUserAccess::CanWrite, services, parent, silent, &allowed);
    return SUCCEEDED(hr) && allowed == VARIANT_FALSE ? E_FAIL : hr;
}

HRESULT StoreClient::expectWritable(BSTR id) { return call(recordAccess_, &IRecordAccess::ExpectWritable, id); }

HRESULT StoreClient::beginUpdate()
{
    const HRESULT hr = call(translator_, &ITranslator::BeginUpdate);
    batchOpen_ = SUCCEEDED(hr);
    return unlessNotImplemented(hr);
}

HRESULT StoreClient::endUpdate() noexcept
{
    const HRESULT hr = unlessNotImplemented(com::call(translator_, &ITranslator::EndUpdate, VARIANT_FALSE));
    if (SUCCEEDED(hr)) batchOpen_ = false;
    return hr;
}

HRESULT StoreClient::beginAdd(com::Bstr& id) { return call(translator_, &ITranslator::BeginAddRecord, id.put()); }

HRESULT StoreClient::beginEdit(BSTR id) { return call(translator_, &ITranslator::BeginEditRecord, id); }

HRESULT StoreClient::write(BSTR id, const GUID& field, const VARIANT& value)
{
    return call(translator_, &ITranslator::WriteField, id, field, value);
}

HRESULT StoreClient::save(com::Bstr& id) { return call(translator_, &ITranslator::SaveRecord, id.inOut()); }

HRESULT StoreClient::remove(BSTR id) { return call(translator_, &ITranslator::DeleteRecord, id); }

// ---- Identifiers that the store changed by itself

HRESULT StoreClient::updatedId(BSTR id, com::Bstr& newId)
{
    const HRESULT hr = call(updater_, &IRecordUpdater::GetUpdatedRecordId, id, newId.put());
    return hr == codeNotFound ? S_OK : unlessNotImplemented(hr);
}

void StoreClient::saveUpdatedIds() { (void)call(updater_, &IRecordUpdater::SaveUpdatedRecordIds); }

// ---- The search for duplicates

HRESULT StoreClient::beginFind(const GUID& map, ITranslator* other, SAFEARRAY* known)
{
    return call(finder_, &IDuplicateFinder::BeginFindDuplicate, map, other, known);
}

HRESULT StoreClient::find(ITranslator* other, BSTR otherId, SAFEARRAY* known, com::Bstr& id)
{
    return call(finder_, &IDuplicateFinder::FindDuplicate, other, otherId, known, id.put());
}

void StoreClient::endFind() noexcept
{
    if (com::call(finder_, &IDuplicateFinder::EndFindDuplicate) == E_ABORT) cancelled_ = true;
}

OpenReading::~OpenReading()
{
    if (FAILED(result_)) return;
    const CancelHold hold(store_); // a destructor must not throw; the next call to the store does
    store_.endRead(id_);
}

} // namespace mb
