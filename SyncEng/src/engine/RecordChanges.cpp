#include "engine/RecordChanges.h"

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

// In place of the type of a field whose type could not be asked.
constexpr LONG noFieldType = -1;

// One record open for comparison with its stored values.
class OpenRecord {
public:
    OpenRecord(PipelinePass& pass, Side side, const std::u16string& recordId, Past past = Past::Needed)
        : run_(pass.run), own_(pass.side(side)), id_(recordId)
    {
        if (FAILED(run_.history->ReadFieldData(sectionOf(side), recordId, stored)) && past == Past::Needed) return;
        reading_.emplace(own_.store, id_.get());
        failure = reading_->result();
    }
    OpenRecord(const OpenRecord&) = delete;
    OpenRecord& operator=(const OpenRecord&) = delete;
    ~OpenRecord() = default;
    explicit operator bool() const noexcept { return reading_ && SUCCEEDED(reading_->result()); }

    // False for a field that takes no part: its type is unknown, or it is the record status.
    bool typeOf(std::size_t i, LONG& type)
    {
        const bool known = SUCCEEDED(own_.fieldType(i, type));
        if (!known) unread.push_back(noFieldType);
        return known && type != ftRecordStatus;
    }
    // False for an image that takes no part in this run, or whose presence the translator does not tell.
    bool imagePresence(const GUID& field, LONG type, bool& has)
    {
        if (!run_.options.SyncImages || !own_.store.hasImages()) return false;
        // An older history cannot tell about images: the next run, whose history can, has to look.
        if (run_.imagesUsable() && SUCCEEDED(own_.store.hasImage(id_.get(), field, has))) return true;
        noteUnreadImage(type);
        return false;
    }
    // Nothing where the size cannot be read: the image is then neither equal nor different.
    ImageSize imageSize(const GUID& field, LONG type)
    {
        const ImageSize size = own_.store.imageSize(id_.get(), field);
        if (!size) noteUnreadImage(type);
        return size;
    }
    HRESULT text(const GUID& field, LONG type, std::u16string& value)
    {
        const HRESULT hr = own_.store.readText(id_.get(), field, value);
        if (FAILED(hr)) unread.push_back(type);
        if (SUCCEEDED(failure)) failure = hr;
        return hr;
    }

    FieldValueMap stored;
    HRESULT failure = S_OK; // the first of the translator's, but for images
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
    bool has = false;
    if (!record.imagePresence(field, type, has)) return false;
    if (!saysOne(storedText(record.stored, type))) return has;
    if (!has) {
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
    return SUCCEEDED(record.text(field, type, value)) && !sameValue(value, storedText(record.stored, type));
}

// What of an image is to be sent: a flag alone where it appeared with the size that is stored already.
void collectImageChange(OpenRecord& record, const GUID& field, LONG type, bool force, FieldValueMap& out)
{
    bool has = false;
    if (!record.imagePresence(field, type, has) || !has) return;
    const ImageSize size = record.imageSize(field, type);
    if (!saysOne(storedText(record.stored, type))) out[type] = u"1";
    if (!size) return;
    if (!force && *size == platform::toInt64(storedText(record.stored, sizeTypeOf(type)))) return;
    out[sizeTypeOf(type)] = imageSizeText(*size);
    out[type] = imageFlagText(has);
}

// Of a record that this run changes although a field of it could not be read.
void noteUnread(PassSide& side, const std::u16string& recordId, const std::vector<LONG>& types)
{
    std::vector<LONG>& noted = side.unread[recordId].fields;
    noted.insert(noted.end(), types.begin(), types.end());
}

// False where it gave up.
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
        if (FAILED(record.text(field, type, value))) {
            if (readErrors == ReadErrors::GiveUp) return false;
            continue;
        }
        if (force || !sameValue(value, storedText(record.stored, type))) out[type] = std::move(value);
    }
    return true;
}

} // namespace

Compared RecordChangedSinceHistory(PipelinePass& pass, Side side, const std::u16string& recordId, std::vector<LONG>& unread)
{
    unread.clear();
    if (!pass.side(side).store.hasFields()) return Compared::Changed;
    bool changed = false, storedFixed = false;
    FieldValueMap corrected;
    {
        OpenRecord record(pass, side, recordId);
        if (!record) return FAILED(record.failure) ? Compared::Unreadable : Compared::Changed;
        const auto fields = pass.fields(side);
        for (std::size_t i = 0; i < fields.size(); ++i) {
            LONG type = 0;
            if (!record.typeOf(i, type)) continue;
            const GUID& field = fields[i];
            changed = isImageType(type) ? imageChanged(record, field, type, storedFixed) : plainFieldChanged(record, field, type);
            if (changed) break;
        }
        corrected = std::move(record.stored);
        unread = std::move(record.unread);
    }
    if (!changed && storedFixed) (void)pass.run.history->WriteFieldData(sectionOf(side), recordId, corrected, false, false);
    return changed ? Compared::Changed : Compared::Same;
}

FieldValueMap ReadRecordChanges(PipelinePass& pass, Side side, const std::u16string& recordId, ReadErrors readErrors, bool force,
                                HRESULT* failure)
{
    if (!pass.side(side).store.hasFields()) return {};
    OpenRecord record(pass, side, recordId);
    FieldValueMap out;
    const bool complete = record && collectChanges(record, pass.fields(side), force, readErrors, out);
    if (failure) *failure = record.failure;
    if (record.imageUnread) noteUnread(pass.side(side), recordId, record.unread);
    return complete ? out : FieldValueMap();
}

FieldValueMap ReadAllFields(PipelinePass& pass, Side side, const std::u16string& recordId, HRESULT& failure)
{
    OpenRecord record(pass, side, recordId, Past::Optional);
    FieldValueMap out;
    if (record) (void)collectChanges(record, pass.fields(side), true, ReadErrors::SkipField, out);
    failure = record.failure;
    return out;
}

} // namespace mb
