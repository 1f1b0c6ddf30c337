#include "translators/BridgeFields.h"

#include "foundation/Format.h"
#include "store/ConfigStore.h"
#include "text.h"
#include <optional>

namespace mb {
namespace {

constexpr char16_t typeKey[] = u"FieldIDType", countKey[] = u"FieldIDCount", fieldKey[] = u"FieldID%d";
constexpr LONG mostFields = 65536; // a larger count is damaged data
constexpr LCID userLocale = 1024;

std::optional<LONG> numberOf(IDataStream* settings, const char16_t* key)
{
    LONG value = 0;
    if (FAILED(settings->GetInt(com::Bstr(key).get(), &value)) || value == 0) return std::nullopt;
    return value;
}

std::u16string textAt(IDataStream* settings, LONG index)
{
    com::Bstr text;
    (void)settings->GetString(com::Bstr(Format(fieldKey, index)).get(), text.put());
    return text.text();
}

bool sameId(const VARIANT& a, const VARIANT& b) noexcept
{
    if (a.vt != b.vt) return false;
    if (a.vt == VT_NULL) return true;
    return VarCmp(const_cast<VARIANT*>(&a), const_cast<VARIANT*>(&b), userLocale, 0) == VARCMP_EQ;
}

} // namespace

void BridgeFields::load(IDataStream* settings, IOldFieldList* list)
{
    if (!read(settings)) make(settings, list);
}

bool BridgeFields::read(IDataStream* settings)
{
    const auto kind = numberOf(settings, typeKey), count = numberOf(settings, countKey);
    if (!kind || !count) return false;
    for (LONG i = 0; i < std::min(*count, mostFields); ++i) {
        const std::u16string text = textAt(settings, i);
        const std::size_t brace = text.find(u'}');
        GUID guid{};
        if (brace == std::u16string::npos || FAILED(com::parseGuid(text.substr(0, brace + 1), &guid))) continue;
        const std::u16string id = text.substr(brace + 1);
        if (*kind == VT_I4) add(guid, com::Variant(static_cast<LONG>(platform::toInt(id))));
        if (*kind == VT_BSTR) add(guid, com::Variant(std::u16string_view(id)));
    }
    return true;
}

void BridgeFields::make(IDataStream* settings, IOldFieldList* list)
{
    LONG count = 0;
    if (FAILED(com::call(list, &IOldFieldList::GetCount, &count))) return;
    SaveScope scope(ConfigStore()); // one save for all fields
    (void)settings->SetInt(com::Bstr(countKey).get(), count);
    for (LONG i = 0; i < std::min(count, mostFields); ++i) {
        com::Variant id, text;
        if (FAILED(com::call(list, &IOldFieldList::GetFieldByIndex, i, id.put()))) continue;
        if (FAILED(VariantChangeType(&text, &id, 0, VT_BSTR))) continue;
        const GUID guid = com::newGuid();
        const std::u16string entry = com::guidText(guid) + std::u16string(text.text());
        (void)settings->SetInt(com::Bstr(typeKey).get(), id.vt == VT_BSTR ? VT_BSTR : VT_I4);
        (void)settings->SetString(com::Bstr(Format(fieldKey, i)).get(), com::Bstr(entry).get());
        add(guid, std::move(id));
    }
}

void BridgeFields::add(const GUID& guid, com::Variant id)
{
    const auto [at, isNew] = places_.try_emplace(guid, fields_.size());
    if (isNew)
        fields_.push_back({guid, std::move(id)});
    else
        fields_[at->second].id = std::move(id);
}

const VARIANT* BridgeFields::idOf(REFGUID guid) const noexcept
{
    const auto at = places_.find(guid);
    return at == places_.end() ? nullptr : &fields_[at->second].id;
}

const GUID* BridgeFields::guidOf(const VARIANT& id, LONG index) const noexcept
{
    if (index >= 0 && index < count() && sameId(fields_[static_cast<std::size_t>(index)].id, id))
        return &fields_[static_cast<std::size_t>(index)].guid;
    const auto at = std::ranges::find_if(fields_, [&](const Field& field) { return sameId(field.id, id); });
    return at == fields_.end() ? nullptr : &at->guid;
}

} // namespace mb
