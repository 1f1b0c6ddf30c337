// The translator of one side, as the stages of a run use it. What a result code of a translator means stands here once:
// - E_ABORT is the user's cancel. The client throws Cancelled, which ends the run; no stage has to pass E_ABORT on.
// - A failure is never an absence: contains() answers Absent only for the codes that mean it.
// - A missing optional interface turns the feature off. A failed question about a feature leaves the feature as it was known.
// Not thread-safe: a run calls its translators on one thread.
#pragma once
#include "com.h"
#include "interfaces.h"
#include "record_access.h"
#include "translators/Cancelled.h"
#include <cstdint>
#include <optional>
#include <string>

namespace mb {

enum class Presence { Present, Absent, Failed };

// The size of an image in bytes; nothing where the translator could not tell.
using ImageSize = std::optional<std::int64_t>;

class StoreClient {
public:
    StoreClient() = default;
    explicit StoreClient(const com::Ptr<ITranslator>& translator);

    // For code that talks to a translator by itself: the dialogs, duplicate finders of other translators, names for the log.
    [[nodiscard]] ITranslator* translator() const noexcept { return translator_.get(); }
    [[nodiscard]] bool hasFields() const noexcept { return static_cast<bool>(field_); }
    [[nodiscard]] bool hasFieldList() const noexcept { return static_cast<bool>(fieldList_); }
    [[nodiscard]] bool hasImages() const noexcept { return static_cast<bool>(images_); }
    [[nodiscard]] bool hasUpdater() const noexcept { return static_cast<bool>(updater_); }
    [[nodiscard]] bool hasVerifier() const noexcept { return static_cast<bool>(verifier_); }
    [[nodiscard]] bool hasCategories() const noexcept { return static_cast<bool>(categories_); }
    [[nodiscard]] bool hasFinder() const noexcept { return static_cast<bool>(finder_); }
    [[nodiscard]] bool tellsAccess() const noexcept { return static_cast<bool>(recordAccess_); }
    [[nodiscard]] bool hasDynamicFields() const noexcept { return static_cast<bool>(dynamicFields_); }

    // ---- Starting
    HRESULT initialize(ITrServices* services, HWND parent, VARIANT_BOOL reconfigure);
    HRESULT initializeWithProgress(ISyncEvents* sink, ITrServices* services, HWND parent, VARIANT_BOOL reconfigure);
    HRESULT initializeCategories(ITrServices* services, HWND parent, VARIANT_BOOL reconfigure);
    void setAllowImages(bool allow);
    HRESULT loadDynamicFields(ITrServices* services, LONG next, LONG& after);
    HRESULT syncParams(ITrServices* services, std::u16string& database, std::u16string& description);

    // ---- What the store can do
    // The bits of _TranslatorCaps; the last known ones where the question fails, nothing where it never succeeded.
    std::optional<ULONG> caps();
    // A question about a field that fails is asked once more at once: a field without a type takes no part in the run.
    HRESULT fieldType(const GUID& field, LONG& type);
    HRESULT fieldFlags(const GUID& field, ULONG& flags);
    HRESULT fieldMaxLength(const GUID& field, ULONG& length);
    HRESULT fieldName(const GUID& field, std::u16string& name);
    HRESULT fieldCount(LONG& count);
    HRESULT fieldAt(LONG index, GUID& field);

    // ---- Records
    HRESULT count(LONG& count);
    HRESULT identifierAt(LONG index, com::Bstr& id);
    // `failure` receives the code of a failed question.
    Presence contains(BSTR id, HRESULT* failure = nullptr);
    Presence contains(std::u16string_view id, HRESULT* failure = nullptr);
    // The date of the last change, 0.0 for a store without dates; nothing where it could not be read.
    std::optional<DATE> modified(BSTR id);
    // False only where the store says that the record is not verified.
    bool verified(BSTR id);

    // ---- Reading. Requires for read() and the images: beginRead(id) succeeded. One record at a time.
    HRESULT beginRead(BSTR id);
    // The same for the search for duplicates, where E_ABORT only leaves the record out.
    HRESULT beginReadForSearch(BSTR id) noexcept;
    void endRead(BSTR id);
    HRESULT read(BSTR id, const GUID& field, com::Variant& value);
    // The value as text; a value of another kind is the empty text.
    HRESULT readText(BSTR id, const GUID& field, std::u16string& text);
    // Requires: hasImages().
    HRESULT hasImage(BSTR id, const GUID& field, bool& has);
    ImageSize imageSize(BSTR id, const GUID& field);

    // Fails where the record cannot be written; an empty identifier asks for a new one. Requires: tellsAccess().
    HRESULT expectWritable(BSTR id);

    // ---- Writing. Requires: beginUpdate() succeeded.
    // E_FAIL where the store refuses to be written.
    HRESULT askToWrite(ITrServices* services, HWND parent, VARIANT_BOOL silent);
    // A store without batches answers E_NOTIMPL, which is success; no batch is open then.
    HRESULT beginUpdate();
    // Answers E_ABORT instead of throwing: what it means for the batch is the caller's to decide.
    HRESULT endUpdate() noexcept;
    [[nodiscard]] bool batchOpen() const noexcept { return batchOpen_; }
    HRESULT beginAdd(com::Bstr& id);
    HRESULT beginEdit(BSTR id);
    HRESULT write(BSTR id, const GUID& field, const VARIANT& value);
    HRESULT save(com::Bstr& id);
    HRESULT remove(BSTR id);

    // ---- Identifiers that the store changed by itself. Requires: hasUpdater().
    // A failure says that the store could not tell; a store that renames nothing, or does not have the record, succeeds without a new one.
    HRESULT updatedId(BSTR id, com::Bstr& newId);
    void saveUpdatedIds();

    // ---- The search for duplicates. Requires: hasFinder().
    HRESULT beginFind(const GUID& map, ITranslator* other, SAFEARRAY* known);
    HRESULT find(ITranslator* other, BSTR otherId, SAFEARRAY* known, com::Bstr& id);
    void endFind() noexcept;

    // Throws Cancelled if a cancel was held back.
    void throwIfCancelled() const;

private:
    friend class CancelHold;
    template <class Object, class Method, class... Args> HRESULT call(const Object& object, Method method, Args&&... args);
    void cancel();

    com::Ptr<ITranslator> translator_;
    com::Ptr<IField> field_;
    com::Ptr<IFieldList> fieldList_;
    com::Ptr<IImageSupport> images_;
    com::Ptr<IPIMUserAccess> access_;
    com::Ptr<IRecordAccess> recordAccess_;
    com::Ptr<IRecordUpdater> updater_;
    com::Ptr<IRecordVerifier> verifier_;
    com::Ptr<ICategories> categories_;
    com::Ptr<IDynamicFieldLoader> dynamicFields_;
    com::Ptr<IDuplicateFinder> finder_;
    std::optional<ULONG> caps_;
    bool batchOpen_ = false;
    bool cancelled_ = false;
    int holds_ = 0;
};

// While it lives, a cancel from the store is noted and not thrown: what was written is linked before the run ends.
class CancelHold {
public:
    explicit CancelHold(StoreClient& store) noexcept : store_(store) { ++store_.holds_; }
    CancelHold(const CancelHold&) = delete;
    CancelHold& operator=(const CancelHold&) = delete;
    ~CancelHold() { --store_.holds_; }

private:
    StoreClient& store_;
};

// From the save of a record until its history links it: a cancel of either store waits.
class LinkGuard {
public:
    LinkGuard(StoreClient& source, StoreClient& target) noexcept : source_(source), target_(target) {}
    void engage()
    {
        sourceHold_.emplace(source_);
        targetHold_.emplace(target_);
    }

private:
    StoreClient &source_, &target_;
    std::optional<CancelHold> sourceHold_, targetHold_;
};

// A record that is open for reading, for as long as this lives.
class OpenReading {
public:
    OpenReading(StoreClient& store, BSTR id) : store_(store), id_(id), result_(store.beginRead(id)) {}
    OpenReading(const OpenReading&) = delete;
    OpenReading& operator=(const OpenReading&) = delete;
    ~OpenReading();
    [[nodiscard]] HRESULT result() const noexcept { return result_; }

private:
    StoreClient& store_;
    BSTR id_;
    HRESULT result_;
};

} // namespace mb
