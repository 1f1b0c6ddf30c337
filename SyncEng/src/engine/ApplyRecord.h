// Copies one record from its side to the other one: creates or edits the target record, writes the mapped fields, saves, and stores
// in the history what each side now holds. The target's values are stored as read back, not as sent: a store that rewrites
// values does not seem changed at the next run.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// No target identifier means a new record; on return it is the identifier under which the target saved the record. `guard` is engaged once
// the target has saved the record: from then on nothing is thrown, and the caller has to link the record.
// `writtenFields` receives the mapped pairs whose field was written, by their index, in the order in which they were written.
void ApplyRecord(PipelinePass& pass, Side source, const std::u16string& recordId, const RecordTask& task,
                 std::optional<std::u16string>& targetId, LinkGuard& guard, std::vector<std::size_t>& writtenFields);

} // namespace mb
