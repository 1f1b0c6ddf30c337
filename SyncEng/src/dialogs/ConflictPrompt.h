// The two questions of the conflict stage, and where it puts them: to the dialogs, or to whoever was put in their place.
#pragma once
#include "interfaces.h"
#include "store/FieldData.h"

namespace mb {

// One side of a question: its translator, that translator's class, and the record. `name` is what the run calls the store; where it gives
// none, the translator's short name serves.
struct ConflictSide {
    ITranslator* translator = nullptr;
    GUID clsid{};
    std::u16string recordId{}, name{}, database{};
};

// A contact that was changed on both sides.
struct ConflictQuestion {
    ConflictSide side1, side2;
    FieldValueMap ChangeMap1, ChangeMap2; // read, and rewritten by a merge
    const FieldTypeMap* FieldTypes = nullptr;
    bool FieldMapChanged = false; // the conflict arises because the field map was changed
    bool FirstMeeting = false;    // neither side knew of the other's record: the two were found to be the same contact
    LONG ConflictIndex = 0, ConflictTotal = 0;
    bool SyncImages = false;
    HWND parent = nullptr;
    // The answer.
    LONG Resolution = croMerge; // may be preset
    bool ApplyToAll = false;
    bool Unanswered = false;                            // there was nobody to ask
    std::vector<LONG> ConflictFields1, ConflictFields2; // in step, the fields that the list of the question walked
};

// A contact that was changed on one side and deleted on the other.
struct DeleteConflictQuestion {
    ConflictSide survivor; // the side that still has it
    GUID deletedClsid{};   // the class of the other side's translator
    std::u16string deletedName{}, deletedDatabase{};
    _TransIds DeletedSide = idTrans1;
    LONG ConflictIndex = 0, ConflictTotal = 0;
    HWND parent = nullptr;
    LONG Resolution = croTrans1Wins;
    bool ApplyToAll = false;
    bool Unanswered = false; // there was nobody to ask
};

class ConflictPrompt {
public:
    virtual ~ConflictPrompt() = default;
    // False for any ending but OK.
    virtual bool ask(ConflictQuestion& question) = 0;
    virtual bool ask(DeleteConflictQuestion& question) = 0;
};

// Answers in place of the dialogs until it is taken away with null; the caller keeps it alive, and gets the former one.
ConflictPrompt* SetConflictPrompt(ConflictPrompt* prompt) noexcept;
bool AskConflict(ConflictQuestion& question);
bool AskConflict(DeleteConflictQuestion& question);

} // namespace mb
