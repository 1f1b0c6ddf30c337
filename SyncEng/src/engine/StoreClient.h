// The translator of one side, as the stages of a run use it. What a result code of a translator means is decided here once:
// - E_ABORT is the user's cancel. The client throws Cancelled, which ends the run; no stage has to pass E_ABORT on.
// - A failure that ends the run is thrown as RunFailure. A method that returns bool or an optional leaves the failure to its caller: false
//   or nullopt says that the translator failed.
// - A failure is never an absence: contains() answers Absent only for the codes that mean it.
// - A missing optional interface turns the feature off. A failed question about a feature leaves the feature as it was known.
// Not thread-safe: a run calls its translators on one thread.
#pragma once
#include "com.h"
#include "engine/RunFailure.h"
#include "interfaces.h"
#include "record_access.h"
#include <cstdint>
#include <optional>
#include <string>

namespace mb {

enum class Presence { Present, Absent, Failed };

// The size of an image in bytes; nothing where the translator could not tell.
using ImageSize = std::optional<std::int64_t>;

// The first and last name of a record.
struct RecordNames {
    std::u16string first, last;
};

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
    void initialize(ITrServices* services, HWND parent, VARIANT_BOOL reconfigure);
    void initializeWithProgress(ISyncEvents* sink, ITrServices* services, HWND parent, VARIANT_BOOL reconfigure);
    void initializeCategories(ITrServices* services, HWND parent, VARIANT_BOOL reconfigure);
    // A store that refuses the setting goes on with its own.
    void trySetAllowImages(bool allow);
    // Returns the number that follows the last one taken for a dynamic field.
    std::optional<LONG> loadDynamicFields(ITrServices* services, LONG next);
    // False, and both texts empty, where the store does not tell its name.
    bool syncParams(ITrServices* services, std::u16string& database, std::u16string& description);

    // ---- What the store can do
    // The bits of _TranslatorCaps; the last known ones where the question fails, nullopt where it never succeeded.
    std::optional<ULONG> caps();
    // A question about a field that fails is asked once more at once: a field without a type takes no part in the run.
    std::optional<LONG> fieldType(const GUID& field);
    std::optional<ULONG> fieldFlags(const GUID& field);
    std::optional<ULONG> fieldMaxLength(const GUID& field);
    std::optional<LONG> fieldCount();
    std::optional<GUID> fieldAt(LONG index);
    // The first field of the type; nullopt where the store has none.
    std::optional<GUID> fieldOfType(LONG type);
    // Empty where the store does not tell the name.
    std::u16string fieldName(const GUID& field);

    // ---- Records
    // Ends the run where the store cannot count its records.
    LONG count();
    // 0 where the store cannot count its records.
    LONG countOrZero();
    bool identifierAt(LONG index, com::Bstr& id);
    // `failure` receives the code of a failed question.
    Presence contains(BSTR id, HRESULT* failure = nullptr);
    Presence contains(std::u16string_view id, HRESULT* failure = nullptr);
    // The date of the last change, 0.0 for a store without dates; nullopt where it could not be read.
    std::optional<DATE> modified(BSTR id);
    // False only where the store says that the record is not verified.
    bool verified(BSTR id);

    // ---- Reading. Requires for read() and the images: beginRead(id) succeeded. One record at a time. `failure` receives the code of a
    // failed call.
    bool beginRead(BSTR id, HRESULT* failure = nullptr);
    // The same for the search for duplicates: false for E_ABORT, which only leaves the record out. Any other failure ends the run.
    bool beginReadForSearch(BSTR id);
    void endRead(BSTR id);
    bool read(BSTR id, const GUID& field, com::Variant& value, HRESULT* failure = nullptr);
    // The value as text; a value of another kind is the empty text.
    bool readText(BSTR id, const GUID& field, std::u16string& text, HRESULT* failure = nullptr);
    // Requires: hasImages().
    std::optional<bool> hasImage(BSTR id, const GUID& field);
    ImageSize imageSize(BSTR id, const GUID& field);
    // The names of a record that is not open, for the log. Nullopt where records have no such fields or the record cannot be opened. A name
    // that cannot be read is empty. E_ABORT is no cancel here: what only the log needs does not end the run.
    std::optional<RecordNames> names(const std::u16string& id);

    // Fails where the record cannot be written; an empty identifier asks for a new one. Requires: tellsAccess().
    void expectWritable(BSTR id);

    // ---- Writing. Requires: beginUpdate() succeeded.
    // Fails with E_FAIL where the store refuses to be written.
    void askToWrite(ITrServices* services, HWND parent, VARIANT_BOOL silent);
    // A store without batches answers E_NOTIMPL, which is success; no batch is open then.
    void beginUpdate();
    // After a failure or a cancel the batch is still open.
    void endUpdate();
    [[nodiscard]] bool batchOpen() const noexcept { return batchOpen_; }
    void beginAdd(com::Bstr& id);
    void beginEdit(BSTR id);
    void write(BSTR id, const GUID& field, const VARIANT& value);
    // For a value that the record can do without: a refusal is ignored.
    void tryWrite(BSTR id, const GUID& field, const VARIANT& value);
    void save(com::Bstr& id);
    void remove(BSTR id);

    // ---- Identifiers that the store changed by itself. Requires: hasUpdater().
    // False where the store could not tell. A store that renames nothing, or does not have the record, leaves `newId` empty.
    bool updatedId(BSTR id, com::Bstr& newId);
    // A store that does not save them tells them again in the next run.
    void trySaveUpdatedIds();

    // ---- The search for duplicates. Requires: hasFinder().
    bool beginFind(const GUID& map, ITranslator* other, SAFEARRAY* known);
    bool find(ITranslator* other, BSTR otherId, SAFEARRAY* known, com::Bstr& id);
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
    struct NameFields {
        std::optional<GUID> first, last;
        [[nodiscard]] bool known() const noexcept { return first && last; }
    };
    void findNameFields();

    std::optional<ULONG> caps_;
    NameFields nameFields_; // the fields of the records' names, once they were found
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

// A record that is open for reading, for as long as this lives. False where it could not be opened.
class OpenReading {
public:
    OpenReading(StoreClient& store, BSTR id) : store_(store), id_(id), open_(store.beginRead(id, &failure_)) {}
    OpenReading(const OpenReading&) = delete;
    OpenReading& operator=(const OpenReading&) = delete;
    ~OpenReading();
    [[nodiscard]] explicit operator bool() const noexcept { return open_; }
    // Why the record could not be opened; S_OK where it was.
    [[nodiscard]] HRESULT failure() const noexcept { return failure_; }
    // Ends the run where the record could not be opened.
    void require() const { mb::require(failure_); }

private:
    StoreClient& store_;
    BSTR id_;
    HRESULT failure_ = S_OK;
    bool open_;
};

} // namespace mb
