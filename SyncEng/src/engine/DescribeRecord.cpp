#include "engine/DescribeRecord.h"

#include "foundation/FieldValue.h"

namespace mb {
namespace {

// In one line: a name with line breaks could pass for other lines of the log.
std::u16string joined(const std::u16string& first, const std::u16string& last)
{
    return ReplaceLineBreaks(first.empty() ? last : first + u" " + last);
}

} // namespace

std::u16string DescribeRecord(const RecordValues* values, StoreClient& store, const std::u16string& recordId)
{
    if (values) {
        const auto first = values->find(ftFirstName), last = values->find(ftLastName);
        if (first && last) return joined(std::u16string(*first), std::u16string(*last));
    }
    const auto names = store.names(recordId);
    return names ? joined(names->first, names->last) : std::u16string();
}

} // namespace mb
