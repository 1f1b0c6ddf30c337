// Compares one record field by field with what the history stored of it at the last run.
// Values compare as trimmed text, whatever their type, and case does not count. Images compare by presence and size.
#pragma once
#include "engine/PipelinePass.h"

namespace mb {

enum class Compared { Same, Changed, Unreadable, DetailsAlone };

// Changed at the first field that differs, and where the history has nothing to compare with; Unreadable where the translator cannot open
// the record. An image that is gone is not a change: the history is corrected instead.
// DetailsAlone: the fields are the same, and the history has no base of the record's details. This is no edit of the user.
// `unread` receives the types of the fields that could not be read: Same says nothing about those.
Compared RecordChangedSinceHistory(PipelinePass& pass, Side side, const std::u16string& recordId, std::vector<LONG>& unread);

// The same for a record that was not edited since the last run, by its date. A text that differs is one that the translator reads in
// another way than it did then: the history takes it over, and it is no change. Images are not compared. DetailsAlone also if the record
// has a value in a field that the map did not have yet and that was offered to this run.
Compared CompareUnedited(PipelinePass& pass, Side side, const std::u16string& recordId, std::vector<LONG>& unread);

enum class ReadErrors { SkipField, GiveUp };

// The first failure of the translator while a record was read, images excluded.
using ReadFailure = std::optional<RunFailure>;

// Returns the fields that differ, with the values as they were read; with `force` all plain fields. Empty where nothing can be read.
// Details that differ or cannot be read are ftDetails with an empty text.
// `failure`, unless it is null, receives the translator's failure.
FieldValueMap ReadRecordChanges(PipelinePass& pass, Side side, const std::u16string& recordId, ReadErrors readErrors, bool force,
                                ReadFailure* failure = nullptr);

// Returns all values of the record, whatever the history knows of it.
FieldValueMap ReadAllFields(PipelinePass& pass, Side side, const std::u16string& recordId, ReadFailure& failure);

} // namespace mb
