#include "engine/DescribeRecord.h"

#include "foundation/FieldValue.h"
#include "translators/ReadText.h"

namespace mb {
namespace {

// In one line: a name with line breaks could pass for other lines of the log.
std::u16string joined(const std::u16string& first, const std::u16string& last)
{
    return ReplaceLineBreaks(first.empty() ? last : first + u" " + last);
}

// The last field of each type counts.
NameFields findNameFields(const com::Ptr<ITranslator>& translator)
{
    NameFields found;
    const auto list = translator.tryAs<IFieldList>();
    const auto field = translator.tryAs<IField>();
    if (!list || !field) return found;
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

std::u16string DescribeRecord(const RecordValues* fields, ITranslator* translator, const std::u16string& recordId)
{
    NameFields names;
    return DescribeRecord(fields, translator, names, recordId);
}

std::u16string DescribeRecord(const RecordValues* fields, ITranslator* translator, NameFields& names, const std::u16string& recordId)
{
    if (fields) {
        const auto first = fields->find(ftFirstName), last = fields->find(ftLastName);
        if (first && last) return joined(std::u16string(*first), std::u16string(*last));
    }
    if (!names.known()) names = findNameFields(com::Ptr<ITranslator>(translator));
    if (!names.known()) return {};
    const com::Bstr id(recordId);
    if (FAILED(com::call(translator, &ITranslator::BeginReadRecord, id.get()))) return {};
    std::u16string first, last;
    (void)readText(translator, id.get(), *names.first, first);
    (void)readText(translator, id.get(), *names.last, last);
    (void)com::call(translator, &ITranslator::EndReadRecord, id.get());
    return joined(first, last);
}

} // namespace mb
