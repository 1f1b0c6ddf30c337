// The text that the log and the dialogs show for a record: its first and last name.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// From the values if both names are among them, otherwise read from the store; empty where there is neither.
// Quirk kept on purpose: the company takes no part, so a record with neither name has an empty description.
std::u16string DescribeRecord(const RecordValues* values, StoreClient& store, const std::u16string& recordId);

} // namespace mb
