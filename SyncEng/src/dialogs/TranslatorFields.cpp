#include "dialogs/TranslatorFields.h"

#include "translators/Cancelled.h"
#include "translators/ReadText.h"

namespace mb {

RecordReading::RecordReading(const TranslatorFields& fields, std::u16string_view recordId) : fields_(fields), id_(recordId)
{
    ITranslator* translator = fields.translator();
    open_ = translator && SUCCEEDED(unlessCancelled(com::call(translator, &ITranslator::BeginReadRecord, id_.get())));
}

void RecordReading::end() noexcept
{
    if (!std::exchange(open_, false)) return;
    if (com::call(fields_.translator(), &ITranslator::EndReadRecord, id_.get()) == E_ABORT) fields_.cancelled_ = true;
}

TranslatorFields::TranslatorFields(ITranslator* translator) : translator_(translator)
{
    const com::Ptr<ITranslator> held(translator);
    list_ = held.tryAs<IFieldList>();
    field_ = held.tryAs<IField>();
    LONG count = 0;
    if (!usable() || FAILED(unlessCancelled(com::call(list_, &IFieldList::GetCount, &count)))) return;
    for (LONG i = 0; i < count; ++i) {
        Item item;
        if (FAILED(unlessCancelled(com::call(list_, &IFieldList::GetFieldByIndex, i, &item.guid)))) continue;
        if (FAILED(unlessCancelled(com::call(field_, &IField::GetFieldType, item.guid, &item.type)))) continue;
        items_.push_back(item);
        byType_[item.type] = item.guid;
    }
}

const GUID* TranslatorFields::ofType(LONG type) const noexcept
{
    const auto at = byType_.find(type);
    return at == byType_.end() ? nullptr : &at->second;
}

std::u16string TranslatorFields::nameOf(const GUID& field) const
{
    com::Bstr name;
    return field_ && SUCCEEDED(unlessCancelled(com::call(field_, &IField::GetName, field, name.put()))) ? name.text() : std::u16string();
}

std::u16string TranslatorFields::nameOfType(LONG type) const
{
    const GUID* field = ofType(type);
    return field ? nameOf(*field) : std::u16string();
}

HRESULT TranslatorFields::read(const RecordReading& record, LONG type, std::u16string& text) const
{
    text.clear();
    const GUID* field = ofType(type);
    return field ? read(record, *field, text) : E_FAIL;
}

HRESULT TranslatorFields::read(const RecordReading& record, REFGUID field, std::u16string& text) const
{
    throwIfCancelled();
    return unlessCancelled(readText(translator_, record.id(), field, text));
}

void TranslatorFields::throwIfCancelled() const
{
    if (cancelled_) throw Cancelled{};
}

} // namespace mb
