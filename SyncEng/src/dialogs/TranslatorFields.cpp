#include "dialogs/TranslatorFields.h"

#include "translators/ReadText.h"

namespace mb {

RecordReading::RecordReading(ITranslator* translator, std::u16string_view recordId) : translator_(translator), id_(recordId)
{
    open_ = translator_ && SUCCEEDED(com::call(translator_, &ITranslator::BeginReadRecord, id_.get()));
}

void RecordReading::end() noexcept
{
    if (std::exchange(open_, false)) (void)com::call(translator_, &ITranslator::EndReadRecord, id_.get());
}

TranslatorFields::TranslatorFields(ITranslator* translator) : translator_(translator)
{
    const com::Ptr<ITranslator> held(translator);
    list_ = held.tryAs<IFieldList>();
    field_ = held.tryAs<IField>();
    LONG count = 0;
    if (!usable() || FAILED(com::call(list_, &IFieldList::GetCount, &count))) return;
    for (LONG i = 0; i < count; ++i) {
        Item item;
        if (FAILED(com::call(list_, &IFieldList::GetFieldByIndex, i, &item.guid))) continue;
        if (FAILED(com::call(field_, &IField::GetFieldType, item.guid, &item.type))) continue;
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
    return field_ && SUCCEEDED(com::call(field_, &IField::GetName, field, name.put())) ? name.text() : std::u16string();
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
    return field ? readText(translator_, record.id(), *field, text) : E_FAIL;
}

} // namespace mb
