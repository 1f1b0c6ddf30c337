#include "engine/StoreClient.h"

#include "translators/ReadText.h"

namespace mb {
namespace {

constexpr HRESULT codeNotFound = static_cast<HRESULT>(0x80040207); // "finding a contact" in the translators' own codes

// The answers to FindRecord that mean that the record does not exist. Any other failure says nothing about the record.
bool meansAbsent(HRESULT hr) { return hr == codeNotFound || hr == E_FAIL; }

HRESULT unlessNotImplemented(HRESULT hr) { return hr == E_NOTIMPL ? S_OK : hr; }

// Whether the call succeeded. `failure` receives the code of a failure.
bool succeeded(HRESULT hr, HRESULT* failure = nullptr)
{
    if (SUCCEEDED(hr)) return true;
    if (failure) *failure = hr;
    return false;
}

template <class Value, class Ask> std::optional<Value> askTwice(Ask&& ask)
{
    Value answer{};
    return succeeded(ask(&answer)) || succeeded(ask(&answer)) ? std::optional(answer) : std::nullopt;
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

void StoreClient::initialize(ITrServices* services, HWND parent, VARIANT_BOOL reconfigure)
{
    require(call(translator_, &ITranslator::Initialize, services, parent, reconfigure));
}

void StoreClient::initializeWithProgress(ISyncEvents* sink, ITrServices* services, HWND parent, VARIANT_BOOL reconfigure)
{
    require(call(updater_, &IRecordUpdater::InitializeWithProgress, sink, services, parent, reconfigure));
}

void StoreClient::initializeCategories(ITrServices* services, HWND parent, VARIANT_BOOL reconfigure)
{
    require(call(categories_, &ICategories::InitializeCategories, services, parent, reconfigure));
}

void StoreClient::trySetAllowImages(bool allow)
{
    (void)call(images_, &IImageSupport::SetAllowImage, allow ? VARIANT_TRUE : VARIANT_FALSE);
}

std::optional<LONG> StoreClient::loadDynamicFields(ITrServices* services, LONG next)
{
    LONG after = next;
    return succeeded(call(dynamicFields_, &IDynamicFieldLoader::LoadDynamicFields, services, next, &after)) ? std::optional(after)
                                                                                                            : std::nullopt;
}

bool StoreClient::syncParams(ITrServices* services, std::u16string& database, std::u16string& description)
{
    com::Bstr toldDatabase, toldDescription;
    const bool told = succeeded(call(translator_, &ITranslator::GetSyncParams, services, toldDatabase.put(), toldDescription.put()));
    database = told ? toldDatabase.text() : std::u16string();
    description = told ? toldDescription.text() : std::u16string();
    return told;
}

// ---- What the store can do

std::optional<ULONG> StoreClient::caps()
{
    if (const auto told = askTwice<ULONG>([&](ULONG* caps) { return call(translator_, &ITranslator::GetTranslatorCaps, caps); }))
        caps_ = told;
    return caps_;
}

std::optional<LONG> StoreClient::fieldType(const GUID& field)
{
    return askTwice<LONG>([&](LONG* type) { return call(field_, &IField::GetFieldType, field, type); });
}

std::optional<ULONG> StoreClient::fieldFlags(const GUID& field)
{
    return askTwice<ULONG>([&](ULONG* flags) { return call(field_, &IField::GetFlags, field, flags); });
}

std::optional<ULONG> StoreClient::fieldMaxLength(const GUID& field)
{
    return askTwice<ULONG>([&](ULONG* length) { return call(field_, &IField::GetMaxLength, field, length); });
}

std::optional<LONG> StoreClient::fieldCount()
{
    return askTwice<LONG>([&](LONG* count) { return call(fieldList_, &IFieldList::GetCount, count); });
}

std::optional<GUID> StoreClient::fieldAt(LONG index)
{
    return askTwice<GUID>([&](GUID* field) { return call(fieldList_, &IFieldList::GetFieldByIndex, index, field); });
}

std::optional<GUID> StoreClient::fieldOfType(LONG type)
{
    // From the end: the types that are asked for are high, and most stores list their fields by type.
    for (LONG i = fieldList_ && field_ ? fieldCount().value_or(0) : 0; i > 0; --i)
        if (const auto field = fieldAt(i - 1); field && fieldType(*field) == type) return field;
    return std::nullopt;
}

std::u16string StoreClient::fieldName(const GUID& field)
{
    com::Bstr text;
    (void)call(field_, &IField::GetName, field, text.put());
    return text.text();
}

// ---- Records

LONG StoreClient::count()
{
    LONG count = 0;
    require(call(translator_, &ITranslator::GetRecordCount, &count));
    return count;
}

LONG StoreClient::countOrZero()
{
    LONG count = 0;
    (void)call(translator_, &ITranslator::GetRecordCount, &count);
    return count;
}

bool StoreClient::identifierAt(LONG index, com::Bstr& id)
{
    return succeeded(call(translator_, &ITranslator::GetRecordID, index, id.put()));
}

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
    return succeeded(call(translator_, &ITranslator::GetModifiedDate, id, &date)) ? std::optional(date) : std::nullopt;
}

bool StoreClient::verified(BSTR id)
{
    VARIANT_BOOL verified = VARIANT_TRUE;
    return !succeeded(call(verifier_, &IRecordVerifier::RecordVerified, id, &verified)) || verified != VARIANT_FALSE;
}

// ---- Reading

bool StoreClient::beginRead(BSTR id, HRESULT* failure) { return succeeded(call(translator_, &ITranslator::BeginReadRecord, id), failure); }

bool StoreClient::beginReadForSearch(BSTR id)
{
    const HRESULT hr = com::call(translator_, &ITranslator::BeginReadRecord, id);
    if (hr == E_ABORT) return false;
    require(hr);
    return true;
}

void StoreClient::endRead(BSTR id) { (void)call(translator_, &ITranslator::EndReadRecord, id); }

bool StoreClient::read(BSTR id, const GUID& field, com::Variant& value, HRESULT* failure)
{
    return succeeded(call(translator_, &ITranslator::ReadField, id, field, value.put()), failure);
}

bool StoreClient::readText(BSTR id, const GUID& field, std::u16string& text, HRESULT* failure)
{
    com::Variant value;
    const bool isRead = read(id, field, value, failure);
    text = isRead ? value.text() : std::u16string_view();
    return isRead;
}

std::optional<bool> StoreClient::hasImage(BSTR id, const GUID& field)
{
    VARIANT_BOOL has = VARIANT_FALSE;
    return succeeded(call(images_, &IImageSupport::HasFieldValue, id, field, &has)) ? std::optional(has != VARIANT_FALSE) : std::nullopt;
}

ImageSize StoreClient::imageSize(BSTR id, const GUID& field)
{
    if (!succeeded(call(images_, &IImageSupport::BeginReadImageData, id, field))) return std::nullopt;
    LONGLONG size = -1;
    bool told = false;
    {
        const CancelHold hold(*this); // so that the image data is closed
        told = succeeded(call(images_, &IImageSupport::GetImageDataSize, &size));
        (void)call(images_, &IImageSupport::EndReadImageData, id, field);
    }
    if (holds_ == 0) throwIfCancelled();
    return told && size >= 0 ? ImageSize(size) : std::nullopt;
}

// The last field of each type counts.
void StoreClient::findNameFields()
{
    nameFields_ = {};
    LONG count = 0;
    if (!fieldList_ || !field_ || !succeeded(com::call(fieldList_, &IFieldList::GetCount, &count))) return;
    for (LONG i = 0; i < count; ++i) {
        GUID guid{};
        LONG type = 0;
        if (!succeeded(com::call(fieldList_, &IFieldList::GetFieldByIndex, i, &guid))) continue;
        if (!succeeded(com::call(field_, &IField::GetFieldType, guid, &type))) continue;
        if (type == ftFirstName) nameFields_.first = guid;
        if (type == ftLastName) nameFields_.last = guid;
    }
}

std::optional<RecordNames> StoreClient::names(const std::u16string& id)
{
    if (!nameFields_.known()) findNameFields();
    if (!nameFields_.known()) return std::nullopt;
    const com::Bstr key(id);
    if (!succeeded(com::call(translator_, &ITranslator::BeginReadRecord, key.get()))) return std::nullopt;
    RecordNames names;
    (void)mb::readText(translator_.get(), key.get(), *nameFields_.first, names.first);
    (void)mb::readText(translator_.get(), key.get(), *nameFields_.last, names.last);
    (void)com::call(translator_, &ITranslator::EndReadRecord, key.get());
    return names;
}

// ---- Writing

void StoreClient::askToWrite(ITrServices* services, HWND parent, VARIANT_BOOL silent)
{
    if (!access_) return;
    VARIANT_BOOL allowed = VARIANT_TRUE;
    require(call(access_, &IPIMUserAccess::CanWrite, services, parent, silent, &allowed));
    if (allowed == VARIANT_FALSE) throw RunFailure(E_FAIL);
}

void StoreClient::expectWritable(BSTR id) { require(call(recordAccess_, &IRecordAccess::ExpectWritable, id)); }

void StoreClient::beginUpdate()
{
    const HRESULT hr = call(translator_, &ITranslator::BeginUpdate);
    batchOpen_ = succeeded(hr);
    require(unlessNotImplemented(hr));
}

void StoreClient::endUpdate()
{
    require(unlessNotImplemented(com::call(translator_, &ITranslator::EndUpdate, VARIANT_FALSE)));
    batchOpen_ = false;
}

void StoreClient::beginAdd(com::Bstr& id) { require(call(translator_, &ITranslator::BeginAddRecord, id.put())); }

void StoreClient::beginEdit(BSTR id) { require(call(translator_, &ITranslator::BeginEditRecord, id)); }

void StoreClient::write(BSTR id, const GUID& field, const VARIANT& value)
{
    require(call(translator_, &ITranslator::WriteField, id, field, value));
}

void StoreClient::tryWrite(BSTR id, const GUID& field, const VARIANT& value)
{
    (void)call(translator_, &ITranslator::WriteField, id, field, value);
}

void StoreClient::save(com::Bstr& id) { require(call(translator_, &ITranslator::SaveRecord, id.inOut())); }

void StoreClient::remove(BSTR id) { require(call(translator_, &ITranslator::DeleteRecord, id)); }

// ---- Identifiers that the store changed by itself

bool StoreClient::updatedId(BSTR id, com::Bstr& newId)
{
    const HRESULT hr = call(updater_, &IRecordUpdater::GetUpdatedRecordId, id, newId.put());
    return hr == codeNotFound || succeeded(unlessNotImplemented(hr));
}

void StoreClient::trySaveUpdatedIds() { (void)call(updater_, &IRecordUpdater::SaveUpdatedRecordIds); }

// ---- The search for duplicates

bool StoreClient::beginFind(const GUID& map, ITranslator* other, SAFEARRAY* known)
{
    return succeeded(call(finder_, &IDuplicateFinder::BeginFindDuplicate, map, other, known));
}

bool StoreClient::find(ITranslator* other, BSTR otherId, SAFEARRAY* known, com::Bstr& id)
{
    return succeeded(call(finder_, &IDuplicateFinder::FindDuplicate, other, otherId, known, id.put()));
}

void StoreClient::endFind() noexcept
{
    if (com::call(finder_, &IDuplicateFinder::EndFindDuplicate) == E_ABORT) cancelled_ = true;
}

OpenReading::~OpenReading()
{
    if (!open_) return;
    const CancelHold hold(store_); // a destructor must not throw; the next call to the store does
    store_.endRead(id_);
}

} // namespace mb
