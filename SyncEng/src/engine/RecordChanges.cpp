#include "engine/RecordChanges.h"

#include "engine/details/SyncDetails.h"
#include "foundation/FieldValue.h"
#include "text.h"
#include "translators/ImageFields.h"

namespace mb {
namespace {

bool saysOne(std::u16string_view text) { return text == u"1"; }

std::u16string_view storedText(const FieldValueMap& stored, LONG type)
{
    const auto at = stored.find(type);
    return at == stored.end() ? std::u16string_view() : std::u16string_view(at->second);
}

bool sameValue(std::u16string_view a, std::u16string_view b)
{
    return a == b || platform::compareNoCase(TrimFieldValue(a), TrimFieldValue(b)) == 0;
}

enum class Past { Needed, Optional };

// Stands for the type of a field whose type could not be asked.
constexpr LONG noFieldType = -1;

// One record open for comparison with its stored values.
class OpenRecord {
public:
    OpenRecord(PipelinePass& pass, Side side, const std::u16string& recordId, Past past = Past::Needed)
        : run_(pass.run), own_(pass.side(side)), id_(recordId)
    {
        if (!run_.history.readFieldData(side, recordId, stored) && past == Past::Needed) return;
        reading_.emplace(own_.store, id_.get());
        if (!*reading_) failure.emplace(reading_->failure());
    }
    OpenRecord(const OpenRecord&) = delete;
    OpenRecord& operator=(const OpenRecord&) = delete;
    ~OpenRecord() = default;
    explicit operator bool() const noexcept { return reading_ && *reading_; }

    // False for a field that takes no part: its type is unknown, or it is the record status.
    bool typeOf(std::size_t i, LONG& type)
    {
        const auto known = own_.fieldType(i);
        if (!known) unread.push_back(noFieldType);
        type = known.value_or(noFieldType);
        return known && type != ftRecordStatus;
    }
    // Whether the record has the image; nullopt for an image that takes no part in this run, or whose presence the translator does not
    // tell.
    std::optional<bool> imagePresence(const GUID& field, LONG type)
    {
        if (!run_.options.SyncImages || !own_.store.hasImages()) return std::nullopt;
        // An older history holds no image data: the image is compared in the next run, whose history does.
        const auto has = run_.imagesUsable() ? own_.store.hasImage(id_.get(), field) : std::nullopt;
        if (!has) noteUnreadImage(type);
        return has;
    }
    // Nullopt where the size cannot be read: the image is then neither equal nor different.
    ImageSize imageSize(const GUID& field, LONG type)
    {
        const ImageSize size = own_.store.imageSize(id_.get(), field);
        if (!size) noteUnreadImage(type);
        return size;
    }
    // Same where they cannot be read, and in a pass without details.
    DetailsCompared details(PipelinePass& pass, Side side)
    {
        if (!pass.details) return DetailsCompared::Same;
        const auto held = ReadDetails(pass, side, id_);
        if (!held) unread.push_back(ftDetails);
        return held ? CompareDetails(pass, side, *held, stored) : DetailsCompared::Same;
    }
    // False where the value could not be read.
    bool text(const GUID& field, LONG type, std::u16string& value)
    {
        HRESULT code = S_OK;
        if (own_.store.readText(id_.get(), field, value, &code)) return true;
        unread.push_back(type);
        if (!failure) failure.emplace(code);
        return false;
    }

    FieldValueMap stored;
    ReadFailure failure;
    bool imageUnread = false;
    std::vector<LONG> unread; // the types of the fields that could not be read

private:
    void noteUnreadImage(LONG type)
    {
        imageUnread = true;
        unread.push_back(type);
    }

    RunState& run_;
    PassSide& own_;
    com::Bstr id_;
    std::optional<OpenReading> reading_;
};

bool imageChanged(OpenRecord& record, const GUID& field, LONG type, bool& storedFixed)
{
    const auto has = record.imagePresence(field, type);
    if (!has) return false;
    if (!saysOne(storedText(record.stored, type))) return *has;
    if (!*has) {
        record.stored[type] = u"0";
        storedFixed = true;
        return false;
    }
    const ImageSize size = record.imageSize(field, type);
    return size && *size != platform::toInt64(storedText(record.stored, sizeTypeOf(type)));
}

bool plainFieldChanged(OpenRecord& record, const GUID& field, LONG type)
{
    std::u16string value;
    return record.text(field, type, value) && !sameValue(value, storedText(record.stored, type));
}

// Collects what is to be sent of an image: the flag alone where an image appeared whose size is stored already.
void collectImageChange(OpenRecord& record, const GUID& field, LONG type, bool force, FieldValueMap& out)
{
    if (!record.imagePresence(field, type).value_or(false)) return;
    const ImageSize size = record.imageSize(field, type);
    if (!saysOne(storedText(record.stored, type))) out[type] = u"1";
    if (!size) return;
    if (!force && *size == platform::toInt64(storedText(record.stored, sizeTypeOf(type)))) return;
    out[sizeTypeOf(type)] = imageSizeText(*size);
    out[type] = imageFlagText(true);
}

// Notes the unread fields of a record that this run changes nevertheless.
void noteUnread(PassSide& side, const std::u16string& recordId, const std::vector<LONG>& types)
{
    std::vector<LONG>& noted = side.unread[recordId].fields;
    noted.insert(noted.end(), types.begin(), types.end());
}

// False where a field could not be read and ReadErrors::GiveUp is asked for.
bool collectChanges(OpenRecord& record, std::span<const GUID> fields, bool force, ReadErrors readErrors, FieldValueMap& out)
{
    for (std::size_t i = 0; i < fields.size(); ++i) {
        LONG type = 0;
        if (!record.typeOf(i, type)) continue;
        const GUID& field = fields[i];
        if (isImageType(type)) {
            collectImageChange(record, field, type, force, out); // an unread image stays out, or it would be written unseen
            continue;
        }
        std::u16string value;
        if (!record.text(field, type, value)) {
            if (readErrors == ReadErrors::GiveUp) return false;
            continue;
        }
        if (force || !sameValue(value, storedText(record.stored, type))) out[type] = std::move(value);
    }
    return true;
}

// Details that cannot be read are named too: an empty change set would write all fields.
void collectDetails(OpenRecord& record, PipelinePass& pass, Side side, bool force, FieldValueMap& out)
{
    if (!pass.details) return;
    const std::size_t unread = record.unread.size();
    if (force || record.details(pass, side) != DetailsCompared::Same || record.unread.size() != unread) out[ftDetails];
}

} // namespace

Compared RecordChangedSinceHistory(PipelinePass& pass, Side side, const std::u16string& recordId, std::vector<LONG>& unread)
{
    unread.clear();
    if (!pass.side(side).store.hasFields()) return Compared::Changed;
    bool changed = false, storedFixed = false;
    DetailsCompared details = DetailsCompared::Same;
    FieldValueMap corrected;
    {
        OpenRecord record(pass, side, recordId);
        if (!record) return record.failure ? Compared::Unreadable : Compared::Changed;
        const auto fields = pass.fields(side);
        for (std::size_t i = 0; i < fields.size(); ++i) {
            LONG type = 0;
            if (!record.typeOf(i, type)) continue;
            const GUID& field = fields[i];
            changed = isImageType(type) ? imageChanged(record, field, type, storedFixed) : plainFieldChanged(record, field, type);
            if (changed) break;
        }
        if (!changed) details = record.details(pass, side);
        corrected = std::move(record.stored);
        unread = std::move(record.unread);
    }
    if (!changed && storedFixed) pass.run.history.tryWriteFieldData(side, recordId, corrected);
    if (changed || details == DetailsCompared::Changed) return Compared::Changed;
    return details == DetailsCompared::FirstMeeting ? Compared::DetailsAlone : Compared::Same;
}

namespace {

enum class UneditedText { Same, TakenOver, Offered };

UneditedText compareUneditedText(const PipelinePass& pass, OpenRecord& record, const GUID& field, LONG type)
{
    const auto stored = record.stored.find(type);
    const bool isStored = stored != record.stored.end();
    // A field that the map got since the last run has no past. It travels with the next edit of the record.
    if (!isStored && !pass.isOffered(type)) return UneditedText::Same;
    std::u16string value;
    if (!record.text(field, type, value)) return UneditedText::Same;
    if (!isStored) return sameValue(value, {}) ? UneditedText::Same : UneditedText::Offered;
    if (sameValue(value, stored->second)) return UneditedText::Same;
    record.stored[type] = std::move(value);
    return UneditedText::TakenOver;
}

} // namespace

Compared CompareUnedited(PipelinePass& pass, Side side, const std::u16string& recordId, std::vector<LONG>& unread)
{
    unread.clear();
    bool takenOver = false, offered = false;
    DetailsCompared details = DetailsCompared::Same;
    FieldValueMap values;
    {
        OpenRecord record(pass, side, recordId);
        if (!record) return record.failure ? Compared::Unreadable : Compared::Changed;
        const auto fields = pass.fields(side);
        for (std::size_t i = 0; i < fields.size(); ++i) {
            LONG type = 0;
            if (!record.typeOf(i, type) || isImageType(type)) continue;
            const UneditedText found = compareUneditedText(pass, record, fields[i], type);
            takenOver = takenOver || found == UneditedText::TakenOver;
            offered = offered || found == UneditedText::Offered;
        }
        details = record.details(pass, side);
        values = std::move(record.stored);
        unread = std::move(record.unread);
    }
    if (takenOver) pass.run.history.tryWriteFieldData(side, recordId, values);
    if (details == DetailsCompared::Changed) return Compared::Changed;
    return offered || details == DetailsCompared::FirstMeeting ? Compared::DetailsAlone : Compared::Same;
}

FieldValueMap ReadRecordChanges(PipelinePass& pass, Side side, const std::u16string& recordId, ReadErrors readErrors, bool force,
                                ReadFailure* failure)
{
    if (!pass.side(side).store.hasFields()) return {};
    OpenRecord record(pass, side, recordId);
    FieldValueMap out;
    const bool complete = record && collectChanges(record, pass.fields(side), force, readErrors, out);
    if (complete) collectDetails(record, pass, side, force, out);
    if (failure) *failure = record.failure;
    if (record.imageUnread) noteUnread(pass.side(side), recordId, record.unread);
    return complete ? out : FieldValueMap();
}

FieldValueMap ReadAllFields(PipelinePass& pass, Side side, const std::u16string& recordId, ReadFailure& failure)
{
    OpenRecord record(pass, side, recordId, Past::Optional);
    FieldValueMap out;
    if (record) {
        collectChanges(record, pass.fields(side), true, ReadErrors::SkipField, out);
        collectDetails(record, pass, side, true, out);
    }
    failure = record.failure;
    return out;
}

} // namespace mb
