#include "engine/DescribeRecord.h"

#include "engine/ReadText.h"
#include <optional>

namespace mb {
namespace {

std::u16string joined(const std::u16string& first, const std::u16string& last) { return first.empty() ? last : first + u" " + last; }

struct NameFields {
    std::optional<GUID> first, last;
};

// The last field of each type counts.
NameFields findNameFields(const com::Ptr<IFieldList>& list, const com::Ptr<IField>& field)
{
    NameFields found;
    LONG count = 0;
    if (FAILED(com::call(list, &IFieldList::GetCount, &count))) return found;
    for (LONG i = 0; i < count; ++i) {
        GUID guid{};
        LONG type = 0;
        if (FAILED(com::call(list, &IFieldList::GetFieldByIndex, i, &guid))) continue;
        if (FAILED(com::call(field, &IField::GetFieldType, guid, &type))) continue;
        if (type == ftFirstName) found.first = guid;
        if (type == ftLastName) found.last = guid;
    }
    return found;
}

} // namespace

std::u16string DescribeRecord(const FieldValueMap* fields, ITranslator* translator, const std::u16string& recordId)
{
    if (fields) {
        const auto first = fields->find(ftFirstName), last = fields->find(ftLastName);
        if (first != fields->end() && last != fields->end()) return joined(first->second, last->second);
    }
    const com::Ptr<ITranslator> held(translator);
    const auto list = held.tryAs<IFieldList>();
    const auto field = held.tryAs<IField>();
    if (!list || !field) return {};
    const NameFields names = findNameFields(list, field);
    if (!names.first || !names.last) return {};
    const com::Bstr id(recordId);
    if (FAILED(com::call(translator, &ITranslator::BeginReadRecord, id.get()))) return {};
    std::u16string first, last;
    (void)readText(translator, id.get(), *names.first, first);
    (void)readText(translator, id.get(), *names.last, last);
    (void)com::call(translator, &ITranslator::EndReadRecord, id.get());
    return joined(first, last);
}

} // namespace mb
