#include "dialogs/DialogTexts.h"

#include "foundation/ClassTable.h"
#include "foundation/FieldValue.h"
#include "foundation/RegisteredClass.h"
#include "text.h"

namespace mb {

std::u16string ShortNameOf(REFCLSID clsid)
{
    com::Ptr<ITrMap> maps;
    com::Bstr name;
    if (FAILED(createClass(__uuidof(TrManager), maps)) || !maps) return GetRegisteredClassName(clsid);
    (void)com::call(maps, &ITrMap::GetName, clsid, VARIANT_FALSE, name.put());
    return name.text();
}

std::u16string StoreNameOf(const std::u16string& name, REFCLSID clsid) { return name.empty() ? ShortNameOf(clsid) : name; }

std::u16string CellText(std::u16string_view value) { return ReplaceLineBreaks(TruncateText(value, 100, true)); }

std::u16string ContactName::joined() const { return first.empty() || last.empty() ? first + last : first + u" " + last; }

std::u16string ContactName::shortened() const { return ContactName{TruncateText(first, 20, true), TruncateText(last, 20, true)}.joined(); }

bool ContactName::sameAs(const ContactName& other) const
{
    return platform::equalNoCase(last, other.last) && platform::equalNoCase(first, other.first);
}

ContactName ReadContactName(const TranslatorFields& fields, std::u16string_view recordId, LONG firstType, LONG lastType)
{
    ContactName name;
    const RecordReading record(fields, recordId);
    if (!record) return name;
    (void)fields.read(record, firstType, name.first);
    (void)fields.read(record, lastType, name.last);
    return name;
}

} // namespace mb
