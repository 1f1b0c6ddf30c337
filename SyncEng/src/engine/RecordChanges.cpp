#include "engine/RecordChanges.h"

#include "foundation/FieldValue.h"
#include "text.h"
#include "translators/ImageFields.h"
#include "translators/ReadText.h"

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

// One record open for comparison with its stored values.
class OpenRecord {
public:
    OpenRecord(PipelinePass& pass, Side side, const std::u16string& recordId, Past past = Past::Needed)
        : run_(pass.run), own_(pass.side(side)), id_(recordId), images_(own_.translator.tryAs<IImageSupport>())
    {
        if (FAILED(run_.History->ReadFieldData(sectionOf(side), recordId, stored)) && past == Past::Needed) return;
        failure = com::call(own_.translator, &ITranslator::BeginReadRecord, id_.get());
        open_ = SUCCEEDED(failure);
    }
    OpenRecord(const OpenRecord&) = delete;
    OpenRecord& operator=(const OpenRecord&) = delete;
    ~OpenRecord()
    {
        if (open_) (void)com::call(own_.translator, &ITranslator::EndReadRecord, id_.get());
    }
    explicit operator bool() const noexcept { return open_; }

    // False for a field that takes no part: its type is unknown, or it is the record status.
    bool typeOf(std::size_t i, LONG& type) const { return SUCCEEDED(own_.fieldType(i, type)) && type != ftRecordStatus; }
    // False for an image that takes no part in this run, or whose presence the translator does not tell.
    bool imagePresence(const GUID& field, bool& has)
    {
        if (!run_.imagesUsable() || !images_) return false;
        const HRESULT hr = hasImage(images_.get(), id_.get(), field, has);
        if (FAILED(hr)) imageUnread = true;
        return SUCCEEDED(hr);
    }
    std::int64_t imageSize(const GUID& field) const { return readImageSize(images_.get(), id_.get(), field); }
    HRESULT text(const GUID& field, std::u16string& value)
    {
        const HRESULT hr = readText(own_.translator.get(), id_.get(), field, value);
        if (SUCCEEDED(failure)) failure = hr;
        return hr;
    }

    FieldValueMap stored;
    HRESULT failure = S_OK; // the first of the translator's, but for images
    bool imageUnread = false;

private:
    RunState& run_;
    PassSide& own_;
    com::Bstr id_;
    com::Ptr<IImageSupport> images_;
    bool open_ = false;
};

bool imageChanged(OpenRecord& record, const GUID& field, LONG type, bool& storedFixed)
{
    bool has = false;
    if (!record.imagePresence(field, has)) return false;
    if (!saysOne(storedText(record.stored, type))) return has;
    if (!has) {
        record.stored[type] = u"0";
        storedFixed = true;
        return false;
    }
    return record.imageSize(field) != platform::toInt64(storedText(record.stored, sizeTypeOf(type)));
}

bool plainFieldChanged(OpenRecord& record, const GUID& field, LONG type)
{
    std::u16string value;
    return SUCCEEDED(record.text(field, value)) && !sameValue(value, storedText(record.stored, type));
}

// What of an image is to be sent: a flag alone where it appeared with the size that is stored already.
void collectImageChange(OpenRecord& record, const GUID& field, LONG type, bool force, FieldValueMap& out)
{
    bool has = false;
    if (!record.imagePresence(field, has) || !has) return;
    if (!saysOne(storedText(record.stored, type))) out[type] = u"1";
    const std::int64_t size = record.imageSize(field);
    if (!force && size == platform::toInt64(storedText(record.stored, sizeTypeOf(type)))) return;
    out[sizeTypeOf(type)] = imageSizeText(size);
    out[type] = imageFlagText(has);
}

// False where it gave up.
bool collectChanges(OpenRecord& record, std::span<const GUID> fields, bool force, ReadErrors readErrors, FieldValueMap& out)
{
    for (std::size_t i = 0; i < fields.size(); ++i) {
        LONG type = 0;
        if (!record.typeOf(i, type)) continue;
        const GUID& field = fields[i];
        if (isImageType(type)) {
            collectImageChange(record, field, type, force, out);
            if (record.imageUnread && readErrors == ReadErrors::GiveUp) return false;
            continue;
        }
        std::u16string value;
        if (FAILED(record.text(field, value))) {
            if (readErrors == ReadErrors::GiveUp) return false;
            continue;
        }
        if (force || !sameValue(value, storedText(record.stored, type))) out[type] = std::move(value);
    }
    return true;
}

} // namespace

bool RecordChangedSinceHistory(PipelinePass& pass, Side side, const std::u16string& recordId, bool& unread)
{
    unread = false;
    if (!pass.side(side).field) return true;
    bool changed = false, storedFixed = false;
    FieldValueMap corrected;
    {
        OpenRecord record(pass, side, recordId);
        if (!record) return true;
        const auto fields = pass.fields(side);
        for (std::size_t i = 0; i < fields.size(); ++i) {
            LONG type = 0;
            if (!record.typeOf(i, type)) continue;
            const GUID& field = fields[i];
            changed = isImageType(type) ? imageChanged(record, field, type, storedFixed) : plainFieldChanged(record, field, type);
            if (changed) break;
        }
        corrected = std::move(record.stored);
        unread = FAILED(record.failure) || record.imageUnread;
    }
    if (!changed && storedFixed) (void)pass.run.History->WriteFieldData(sectionOf(side), recordId, corrected, false, false);
    return changed;
}

FieldValueMap ReadRecordChanges(PipelinePass& pass, Side side, const std::u16string& recordId, ReadErrors readErrors, bool force,
                                HRESULT* failure)
{
    if (!pass.side(side).field) return {};
    OpenRecord record(pass, side, recordId);
    FieldValueMap out;
    const bool complete = record && collectChanges(record, pass.fields(side), force, readErrors, out);
    if (failure) *failure = record.failure;
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
