// The text that log and dialogs show for a record: its first and last name.
#pragma once
#include "engine/RecordTask.h"
#include "interfaces.h"
#include <optional>

namespace mb {

// The fields that a translator's records have their names in.
struct NameFields {
    std::optional<GUID> first, last;
    [[nodiscard]] bool known() const noexcept { return first && last; }
};

// From the values if both names are among them, else read from the translator; empty where there is neither.
// Wanted: the company takes no part, so a record with neither name has an empty description.
std::u16string DescribeRecord(const RecordValues* fields, ITranslator* translator, const std::u16string& recordId);
// The same for one of many records: the fields are looked for once.
std::u16string DescribeRecord(const RecordValues* fields, ITranslator* translator, NameFields& names, const std::u16string& recordId);

} // namespace mb
