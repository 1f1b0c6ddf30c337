// Compares one record field by field with what the history stored of it at the last run.
// Values compare as trimmed text, whatever their type, and case does not count. Images compare by presence and size.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

// True at the first field that differs, and where there is nothing to compare with. An image that is gone is not a change:
// the history is corrected instead.
bool RecordChangedSinceHistory(PipelinePass& pass, Side side, const std::u16string& recordId);

enum class ReadErrors { SkipField, GiveUp };

// The fields that differ, with the values as they were read; with force all plain fields. Empty where nothing can be read.
FieldValueMap ReadRecordChanges(PipelinePass& pass, Side side, const std::u16string& recordId, ReadErrors readErrors, bool force);

} // namespace mb
