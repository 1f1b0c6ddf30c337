// The two questions of the conflict stage. The dialogs answer them, or a ConflictPrompt that was installed in place of the dialogs.
#pragma once
#include "interfaces.h"
#include "store/FieldData.h"

namespace mb {

// One side of a question: the translator, its class and the record. `name` is the run's name for the store; if it is empty, the
// translator's short name is shown.
struct ConflictSide {
    ITranslator* translator = nullptr;
    GUID clsid{};
    std::u16string recordId{}, name{}, database{};
};

// A contact that was changed on both sides.
struct ConflictQuestion {
    ConflictSide side1, side2;
    FieldValueMap ChangeMap1, ChangeMap2; // the changes that each side made; rewritten by a merge
    const FieldTypeMap* FieldTypes = nullptr;
    bool FieldMapChanged = false; // the field map was changed since the last run
    bool FirstMeeting = false;    // both records are new, and were found to be the same contact
    LONG ConflictIndex = 0, ConflictTotal = 0;
    bool SyncImages = false;
    HWND parent = nullptr;
    // The answer.
    LONG Resolution = croMerge; // the preselected answer on entry
    bool ApplyToAll = false;
    bool Unanswered = false;                            // nobody could be asked
    std::vector<LONG> ConflictFields1, ConflictFields2; // parallel lists of the fields that both sides changed
};

// A contact that was changed on one side and deleted on the other.
struct DeleteConflictQuestion {
    ConflictSide survivor; // the side that still has the contact
    GUID deletedClsid{};   // the class of the other side's translator
    std::u16string deletedName{}, deletedDatabase{};
    _TransIds DeletedSide = idTrans1;
    LONG ConflictIndex = 0, ConflictTotal = 0;
    HWND parent = nullptr;
    LONG Resolution = croTrans1Wins;
    bool ApplyToAll = false;
    bool Unanswered = false; // nobody could be asked
};

class ConflictPrompt {
public:
    virtual ~ConflictPrompt() = default;
    // Returns false unless the user answered with OK.
    virtual bool ask(ConflictQuestion& question) = 0;
    virtual bool ask(DeleteConflictQuestion& question) = 0;
};

// Installs a prompt in place of the dialogs; null restores the dialogs. Returns the former prompt. Requires: `prompt` lives until it is
// replaced.
ConflictPrompt* SetConflictPrompt(ConflictPrompt* prompt) noexcept;
bool AskConflict(ConflictQuestion& question);
bool AskConflict(DeleteConflictQuestion& question);

} // namespace mb
